#pragma once

// What the view's commands and the mouse need of the control, and nothing else of it.

#include <windows.h>

#include <memory>

#include "framework/Event.h"

namespace norix {

class CCtrlParam;
class CDecoder;

/// Window thread.
class ViewHost {
  public:
    /// Null while there is no window.
    virtual HWND Window() const = 0;
    virtual CCtrlParam& Param() = 0;
    /// The connection's decoder; shared, or none.
    virtual std::shared_ptr<CDecoder> Decoder() = 0;
    /// Pictures are drawn by GDI from now on, as if the host had asked for it.
    virtual void DrawByGdi() = 0;
    /// The picture is to look otherwise than before.
    virtual void ViewChanged() = 0;
    /// Something over the picture has changed: it is to be seen even while no pictures come.
    virtual void OverlaysChanged() = 0;
    /// Digital PTZ shows another part of the picture.
    virtual void OnViewMoved() = 0;
    /// What it asks for is to be handed over with the timer's tick at the latest.
    virtual void StartDeferredViewTimer() = 0;
    virtual void StopDeferredViewTimer() = 0;

  protected:
    ~ViewHost() = default;
};

/// Window thread. The host may do anything inside an event.
class MouseHost {
  public:
    virtual HWND Window() const = 0;
    virtual void Fire(const framework::Event<long, long>& event, long x, long y) = 0;
    virtual void FireWheel(long delta, long x, long y) = 0;

  protected:
    ~MouseHost() = default;
};

}  // namespace norix
