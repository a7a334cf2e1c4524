#pragma once

#include <windows.h>

#include "render/present/KeptPicture.h"
#include "render/present/PictureView.h"
#include "render/present/Presenter.h"

namespace norix {

/// Draws the last picture into any device context, as `window` shows it: at its size and in the view as it is
/// now, with the regions that were drawn over it and all else that lies over pictures. False when there is
/// none. `smooth`: as for PicturePainter. From memory, whatever the presenter does meanwhile. Window thread.
bool DrawKept(KeptPicture& kept, const PictureView& view, OverlayPainter* overlays, HWND window, bool smooth,
              HDC dc, const RECT& target);

}  // namespace norix
