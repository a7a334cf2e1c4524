#pragma once

#include <cstdint>
#include <mutex>
#include <utility>
#include <vector>

#include "media/ControlMessages.h"
#include "media/MediaPlatform.h"
#include "media/MediaTypes.h"
#include "media/Shared.h"

namespace norix {

/// The control's window as its workers see it: a place to send messages to. Any thread; without a window all
/// messages vanish.
class ControlWindow {
  public:
    void Set(WindowHandle window) { m_window.Set(window); }
    WindowHandle Get() const { return m_window.Get(); }

    void Post(ControlMessage message, std::uintptr_t wParam, std::intptr_t lParam) const {
        platform::PostToWindow(Get(), message, wParam, lParam);
    }

    /// Posts a connection's status. One that a full queue does not take is kept for the
    /// window's thread, which looks for such while there is a connection.
    void Report(EConnectStatus status) {
        if (platform::PostToWindow(Get(), WM_OnConnectStatus, static_cast<std::uintptr_t>(status), 0)) return;
        std::lock_guard<std::mutex> lock(m_lock);
        m_unposted.push_back(status);
    }
    std::vector<EConnectStatus> TakeUnposted() {
        std::lock_guard<std::mutex> lock(m_lock);
        return std::exchange(m_unposted, {});
    }

    /// For messages that carry pointers: returns when the window thread has handled the message. Never called
    /// with a lock held. While that thread stops a worker it answers, so a worker may be inside a send then.
    void Send(ControlMessage message, const void* wParam, const void* lParam) const {
        platform::SendToWindow(Get(), message, reinterpret_cast<std::uintptr_t>(wParam),
                               reinterpret_cast<std::intptr_t>(lParam));
    }

  private:
    Shared<WindowHandle> m_window{nullptr};
    std::mutex m_lock;
    std::vector<EConnectStatus> m_unposted;  // guarded by m_lock
};

}  // namespace norix
