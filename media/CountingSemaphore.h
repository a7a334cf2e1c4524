#pragma once

#include <cstdint>
#ifndef _WIN32
#include <condition_variable>
#include <mutex>
#endif

namespace norix {

/// A counting semaphore with a timed wait, any thread. Own class because the C++ library's timed waits on
/// this platform follow the wall clock: setting the system time back would stretch a wait of 10 ms to hours.
class CountingSemaphore {
  public:
    explicit CountingSemaphore(std::uint32_t maximum);
    ~CountingSemaphore();
    CountingSemaphore(const CountingSemaphore&) = delete;
    CountingSemaphore& operator=(const CountingSemaphore&) = delete;

    /// Adds one; false at the maximum.
    bool Release() noexcept;

    /// Takes one, waiting for it at most so long; 0 only looks. False when there was none.
    bool Acquire(std::uint32_t milliseconds) noexcept;

  private:
#ifdef _WIN32
    void* m_handle;
#else
    std::mutex m_lock;
    std::condition_variable m_released;
    std::uint32_t m_count = 0;  // guarded by m_lock
    const std::uint32_t m_maximum;
#endif
};

}  // namespace norix
