#pragma once

#include <atomic>
#include <cstdint>

#include "media/ControlMessages.h"
#include "media/MediaPlatform.h"
#include "media/Shared.h"

namespace norix {

// The control's window as its workers see it: a place to send messages to. Any thread; without a window all
// messages vanish.
//
// A worker that is to be stopped must not be caught waiting for the very thread that stops it. So whoever
// stops workers calls FinishSends first, on the window's thread.
class ControlWindow {
  public:
    void Set(WindowHandle window) { m_window.Set(window); }
    WindowHandle Get() const { return m_window.Get(); }

    void Post(ControlMessage message, std::uintptr_t wParam, std::intptr_t lParam) const {
        platform::PostToWindow(Get(), message, wParam, lParam);
    }

    // For messages of workers that carry pointers: returns when the window thread has handled the message, or
    // at once after FinishSends. Never called with a lock held.
    void Send(ControlMessage message, const void* wParam, const void* lParam);

    // Window thread: answers sends under way until there are none; later ones do nothing until Reopen. False
    // when one is still under way after that time.
    bool FinishSends(std::uint32_t milliseconds);
    void Reopen() { m_closed.store(false); }

  private:
    Shared<WindowHandle> m_window{nullptr};
    std::atomic<bool> m_closed{false};
    std::atomic<int> m_sending{0};
};

}  // namespace norix
