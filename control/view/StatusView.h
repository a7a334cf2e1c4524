#pragma once

#include <windows.h>

#include <string>

#include "render/present/StatusPicture.h"

namespace norix {

/// What the control shows while no video plays: a status picture with a caption over it. Window thread.
class StatusView {
  public:
    void SetPicture(StatusPicture picture) { m_picture = picture; }
    void SetCaption(const wchar_t* caption) { m_caption = caption; }
    const std::wstring& Caption() const { return m_caption; }

    /// Fills `bounds` of any device context.
    void Draw(HDC dc, const RECT& bounds, bool showCaption, bool showBorder) const;

  private:
    StatusPicture m_picture = StatusPicture::Disconnect;
    std::wstring m_caption;
};

}  // namespace norix
