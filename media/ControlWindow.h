#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
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

    /// Posts what a frame reports of a subject, such as a port or a window; each message has its own. At most
    /// kMostEvents of these wait in the window's queue, and none that says what the one before it, of the
    /// same subject, has said: the last one is always what holds. So the queue of a host that is slow to
    /// listen stays free for what matters more. False when it was dropped because there are too many.
    bool PostEvent(ControlMessage message, std::uint32_t subject, std::uintptr_t wParam,
                   std::intptr_t lParam) {
        const Event event{message, subject, wParam, lParam};
        {
            std::lock_guard<std::mutex> lock(m_lock);
            for (std::size_t i = m_eventCount; i-- > 0;) {
                if (m_events[i].message != message || m_events[i].subject != subject) continue;
                if (m_events[i] == event) return true;
                break;
            }
            if (m_eventCount == kMostEvents) return false;
            m_events[m_eventCount++] = event;
        }
        if (platform::PostToWindow(Get(), message, wParam, lParam)) return true;
        TakeEvent(message, wParam, lParam);
        return false;
    }
    /// The window's thread has taken a message out of its queue. Any other message than one of those changes
    /// nothing.
    void TakeEvent(std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam) {
        std::lock_guard<std::mutex> lock(m_lock);
        const auto end = m_events.begin() + static_cast<std::ptrdiff_t>(m_eventCount);
        // The oldest, as the queue gives it. Those behind it stay in their order.
        const auto found = std::find_if(m_events.begin(), end, [&](const Event& event) {
            return event.message == message && event.wParam == wParam && event.lParam == lParam;
        });
        if (found == end) return;
        std::move(found + 1, end, found);
        --m_eventCount;
    }
    void ForgetEvents() {
        std::lock_guard<std::mutex> lock(m_lock);
        m_eventCount = 0;
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

    /// The same for a worker that can do without an answer: it goes on after so long. True when the message
    /// was handled in time.
    bool SendWithin(std::uint32_t milliseconds, ControlMessage message, const void* wParam,
                    const void* lParam) {
        const Announcement announcement(*this, {message, wParam, lParam});
        return announcement && platform::SendToWindowWithin(milliseconds, Get(), message,
                                                            reinterpret_cast<std::uintptr_t>(wParam),
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
    std::vector<EConnectStatus> m_unposted;       // guarded by m_lock

    static constexpr std::size_t kMostEvents = 64;
    struct Event {
        std::uint32_t message = 0;
        std::uint32_t subject = 0;
        std::uintptr_t wParam = 0;
        std::intptr_t lParam = 0;
        bool operator==(const Event&) const = default;
    };
    std::array<Event, kMostEvents> m_events;  // guarded by m_lock, as the next: in the window's queue
    std::size_t m_eventCount = 0;
};

}  // namespace norix
