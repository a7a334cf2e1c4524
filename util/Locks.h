#pragma once

// Two locks for std::lock_guard and std::unique_lock. Neither throws.

#include <windows.h>

namespace util {

/// A recursive lock: the same thread may take it again.
class CriticalSection {
  public:
    CriticalSection() noexcept { InitializeCriticalSection(&m_section); }
    ~CriticalSection() { DeleteCriticalSection(&m_section); }
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    void lock() noexcept { EnterCriticalSection(&m_section); }
    bool try_lock() noexcept { return TryEnterCriticalSection(&m_section) != FALSE; }
    void unlock() noexcept { LeaveCriticalSection(&m_section); }

  private:
    CRITICAL_SECTION m_section;
};

/// The size of a pointer, not recursive, constant-initialised and without a destructor: for static objects.
class SlimLock {
  public:
    constexpr SlimLock() noexcept = default;
    SlimLock(const SlimLock&) = delete;
    SlimLock& operator=(const SlimLock&) = delete;

    void lock() noexcept { AcquireSRWLockExclusive(&m_lock); }
    bool try_lock() noexcept { return TryAcquireSRWLockExclusive(&m_lock) != FALSE; }
    void unlock() noexcept { ReleaseSRWLockExclusive(&m_lock); }

  private:
    SRWLOCK m_lock = SRWLOCK_INIT;
};

}  // namespace util
