#include "control/connection/KeyFrameRequests.h"

#include <exception>
#include <utility>

#include "util/Log.h"

namespace norix {

void KeyFrameRequests::Ask(ConnectionMeans& means, std::function<void()> request) {
    {
        const std::lock_guard lock(m_lock);
        std::swap(m_next, request);  // the older one ends outside of the lock
        if (std::exchange(m_asking, true)) return;
    }
    const bool started = means.RunBeside([self = shared_from_this()] {
        while (const auto next = self->TakeNext()) {
            try {
                next();
            } catch (const std::exception& error) {
                NORIX_LOG("KeyFrameRequests::Ask", 1, "%s", error.what());
            }
        }
    });
    if (!started) Forget();
}

void KeyFrameRequests::Forget() {
    const std::lock_guard lock(m_lock);
    m_next = nullptr;
    m_asking = false;
}

/// What is to be done now; none ends the thread's work.
std::function<void()> KeyFrameRequests::TakeNext() {
    const std::lock_guard lock(m_lock);
    if (!m_next) m_asking = false;
    return std::exchange(m_next, nullptr);
}

}  // namespace norix
