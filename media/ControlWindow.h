#pragma once

#include <array>
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
    /// A worker has one message under way at a time; if there were more workers than kMostSenders, the last
    /// ones' messages would be dropped.
    void Send(ControlMessage message, const void* wParam, const void* lParam) {
        const Announcement announcement(*this, {message, wParam, lParam});
        if (!announcement) return;
        platform::SendToWindow(Get(), message, reinterpret_cast<std::uintptr_t>(wParam),
                               reinterpret_cast<std::intptr_t>(lParam));
    }

    /// Whether a worker is sending this message just now. Window thread: any program of the user's session
    /// can send the same numbers, with pointers to anything.
    bool IsBeingSent(std::uint32_t message, const void* wParam, const void* lParam) const {
        const std::lock_guard<std::mutex> lock(m_lock);
        const Sending wanted{message, wParam, lParam};
        for (const Sending& sending : m_sending)
            if (sending == wanted) return true;
        return false;
    }

  private:
    static constexpr std::size_t kMostSenders = 16;
    struct Sending {
        std::uint32_t message = 0;
        const void* wParam = nullptr;
        const void* lParam = nullptr;
        bool operator==(const Sending&) const = default;
    };

    class Announcement {
      public:
        Announcement(ControlWindow& owner, const Sending& sending) : m_owner(owner) {
            const std::lock_guard<std::mutex> lock(owner.m_lock);
            for (Sending& place : owner.m_sending) {
                if (place.message != 0) continue;
                place = sending;
                m_place = &place;
                return;
            }
        }
        ~Announcement() {
            const std::lock_guard<std::mutex> lock(m_owner.m_lock);
            if (m_place != nullptr) *m_place = {};
        }
        Announcement(const Announcement&) = delete;
        Announcement& operator=(const Announcement&) = delete;
        explicit operator bool() const { return m_place != nullptr; }

      private:
        ControlWindow& m_owner;
        Sending* m_place = nullptr;
    };

    Shared<WindowHandle> m_window{nullptr};
    mutable std::mutex m_lock;
    std::array<Sending, kMostSenders> m_sending;  // guarded by m_lock; message 0: free
    std::vector<EConnectStatus> m_unposted;  // guarded by m_lock
};

}  // namespace norix
