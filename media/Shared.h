#pragma once

// Values that one thread sets and others read.

#include <atomic>
#include <mutex>
#include <utility>

namespace norix {

/// A small value. Orders nothing but itself: what a reader does with it must not depend on anything else that
/// the writer wrote before.
template <class T>
class Shared {
  public:
    constexpr explicit Shared(T value = T()) noexcept : m_value(value) {}
    void Set(T value) noexcept { m_value.store(value, std::memory_order_relaxed); }
    T Get() const noexcept { return m_value.load(std::memory_order_relaxed); }
    /// Sets and returns what was there before.
    T Exchange(T value) noexcept { return m_value.exchange(value, std::memory_order_relaxed); }

  private:
    static_assert(std::atomic<T>::is_always_lock_free);
    std::atomic<T> m_value;
};

/// A larger value, copied in and out under its own lock. What it replaces is destroyed after the lock is let
/// go.
template <class T>
class Guarded {
  public:
    void Set(T value) {
        std::lock_guard<std::mutex> lock(m_lock);
        std::swap(m_value, value);
    }
    T Get() const {
        std::lock_guard<std::mutex> lock(m_lock);
        return m_value;
    }

  private:
    mutable std::mutex m_lock;
    T m_value{};  // guarded by m_lock
};

}  // namespace norix
