#include "control/view/StatusView.h"

#include "render/overlay/PictureDecoration.h"

namespace norix {

void StatusView::Draw(HDC dc, const RECT& bounds, bool showCaption, bool showBorder) const {
    DrawStatusPicture(dc, bounds, m_picture);
    if (showCaption && !m_caption.empty()) DrawCaption(dc, bounds, m_caption);
    if (showBorder) DrawBorder(dc, bounds);
}

}  // namespace norix
