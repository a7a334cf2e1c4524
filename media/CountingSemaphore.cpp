#include "media/CountingSemaphore.h"

#include <limits>

#ifdef _WIN32
#include <windows.h>
#else
#include <chrono>
#endif

namespace norix {

#ifdef _WIN32

CountingSemaphore::CountingSemaphore(std::uint32_t maximum) {
    constexpr std::uint32_t kMost = static_cast<std::uint32_t>(std::numeric_limits<LONG>::max());
    const LONG limit = static_cast<LONG>(maximum == 0 ? 1 : maximum > kMost ? kMost : maximum);
    m_handle = CreateSemaphoreW(nullptr, 0, limit, nullptr);
}

CountingSemaphore::~CountingSemaphore() {
    if (m_handle) CloseHandle(m_handle);
}

bool CountingSemaphore::Release() noexcept {
    return ReleaseSemaphore(m_handle, 1, nullptr) != FALSE;
}

bool CountingSemaphore::Acquire(std::uint32_t milliseconds) noexcept {
    return WaitForSingleObject(m_handle, milliseconds) == WAIT_OBJECT_0;
}

#else

CountingSemaphore::CountingSemaphore(std::uint32_t maximum) : m_maximum(maximum) {}

CountingSemaphore::~CountingSemaphore() = default;

bool CountingSemaphore::Release() noexcept {
    {
        std::lock_guard<std::mutex> lock(m_lock);
        if (m_count >= m_maximum) return false;
        ++m_count;
    }
    m_released.notify_one();
    return true;
}

bool CountingSemaphore::Acquire(std::uint32_t milliseconds) noexcept {
    std::unique_lock<std::mutex> lock(m_lock);
    if (milliseconds == 0 && m_count == 0) return false;  // a wait until now would still be one
    // The deadline is given explicitly so that the wait follows the steady clock.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    if (!m_released.wait_until(lock, deadline, [this] { return m_count > 0; })) return false;
    --m_count;
    return true;
}

#endif

}  // namespace norix
