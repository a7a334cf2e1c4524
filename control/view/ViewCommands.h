#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "control/view/ViewCoordinates.h"
#include "control/view/ViewHost.h"
#include "render/present/Geometry.h"

namespace norix {

/// The host's commands on the view: sizes and coordinates, rotation, decode speed, digital PTZ. Window
/// thread. What acts on the decoder answers E_POINTER while no connection has one.
class ViewCommands {
  public:
    explicit ViewCommands(ViewHost& host) : m_host(host) {}

    /// Fixes the size that coordinates refer to, in pixels of the video; 0 x 0 goes back to the picture's
    /// own size. E_INVALIDARG for negative values.
    long SetVideoSize(long width, long height);
    /// Converts between pixels of the video and of the control's window. Empty when either size is not
    /// known.
    std::wstring ConvertCoordinateInJSON(long x, long y, bool videoToWindow) const;
    /// A multiple of 90 degrees, or E_INVALIDARG.
    long RotateVideo(long angle);
    /// 0 (everything) to 7 (fastest); other values are limited to these.
    long ChangeDecodeSpeed(long speed);
    void EnableDigitalPTZ(bool enable);
    /// The user's hand on the picture while digital PTZ is on: the wheel zooms about the pointer, dragging
    /// moves the picture, a double click shows all of it.
    void OnPointer(UINT message, WPARAM wParam, LPARAM lParam);

    /// From pixels of the video to those of the window; nothing when either size is not known.
    std::optional<ViewPoint> ToWindow(ViewPoint point) const;
    std::optional<ViewBox> ToWindow(const ViewBox& box) const;
    std::optional<ViewBox> ToVideo(const ViewBox& box) const;
    /// As the host has fixed it, else the picture's.
    ViewSize VideoSize() const;

    /// What of this a new connection's decoder starts with.
    Rotation CurrentRotation() const { return m_rotation; }
    bool IsDigitalPtzEnabled() const { return m_digitalPtz; }

    /// The tick of kTimerDeferredView.
    void OnDeferredViewTimer();

  private:
    ViewSize WindowSize() const;
    ViewMapping Mapping() const;
    void Request(const PixelRect& source, PixelSize picture);
    void HandOver();

    ViewHost& m_host;
    ViewSize m_configuredSize;
    Rotation m_rotation = Rotation::k0;
    bool m_digitalPtz = false;

    /// A part of a picture of this size.
    struct Part {
        PixelRect source;
        PixelSize picture;
    };
    std::optional<Part> m_pending;  // what the hand asked for last
    struct Drag {
        POINT from;
        Part part;
    };
    std::optional<Drag> m_drag;  // while the button is down
    int m_wheel = 0;             // turned, and not zoomed yet
};

}  // namespace norix
