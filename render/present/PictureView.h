#pragma once

// How the viewer wants the picture: the part of it that fills the window, its rotation, caption and border.
//
// One object per decoder, shared with its presenters, so that a change from DirectDraw to GDI in the middle
// of a stream keeps the view. The window thread sets, the display thread takes a copy per picture; a call
// holds the lock only while it copies.

#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "media/FrameInfo.h"
#include "render/present/Geometry.h"

namespace norix {

class PictureView {
  public:
    using RegionNames = std::array<std::wstring, kRegionCount>;

    struct Settings {
        PixelRect source;                             // picture coordinates, usable as it stands
        Rotation rotation = Rotation::k0;             // drawn by the GDI presenter only
        std::shared_ptr<const std::wstring> caption;  // null: no caption
        bool border = false;
        std::shared_ptr<const RegionNames> regionNames;  // null: none is known
    };

    // ---- Any thread.

    /// The part of the picture that digital PTZ shows. 0, or E_INVALIDARG with the previous part kept:
    /// negative left or top, all four zero, or a rectangle that leaves the current picture.
    std::int32_t SetSourceRect(int left, int top, int right, int bottom);

    /// Off: the whole picture is shown, and is where the next switching on starts from.
    void EnableDigitalPtz(bool enable);
    bool IsDigitalPtzEnabled() const;

    /// How the last picture lies in the window.
    struct Layout {
        PixelSize picture;  // empty before the first one
        PixelRect source;   // the part of it that fills the window
        Rotation rotation = Rotation::k0;
    };
    Layout CurrentLayout() const;

    void SetRotation(Rotation rotation);

    /// An empty text shows no caption.
    void SetCaption(const std::wstring& text);
    void SetCaptionShown(bool shown);
    void SetBorderShown(bool shown);
    /// What is written at the regions beside their level.
    void SetRegionNames(const RegionNames& names);

    /// The part that digital PTZ shows stays the same part of a picture of another size.
    /// Decode thread, at each change of size, before the presenter is initialised for it.
    void SetPictureSize(PixelSize size);

    /// Display thread, once per picture; allocates nothing.
    Settings Current(PixelSize picture);

    /// The same for a picture that was shown before, in the view as it is now. Any thread.
    Settings Peek(PixelSize picture) const;

  private:
    void Adopt(PixelSize picture);
    Settings SettingsFor(const PixelRect& source, PixelSize picture) const;

    mutable std::mutex m_lock;
    // guarded by m_lock
    PixelSize m_picture;
    bool m_digitalPtz = false;
    PixelRect m_source;
    Rotation m_rotation = Rotation::k0;
    std::shared_ptr<const std::wstring> m_caption;
    bool m_captionShown = true;
    bool m_borderShown = false;
    std::shared_ptr<const RegionNames> m_regionNames;
};

}  // namespace norix
