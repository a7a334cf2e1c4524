#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

#include "media/CountingSemaphore.h"

namespace norix {

/// How long a take waits for an entry, everywhere: this bounds how late a thread notices that it is to stop.
inline constexpr std::uint32_t kQueueWaitMs = 10;

/// An ordered list of record pointers with a fixed capacity, for any number of threads. It owns no records.
///
/// A taker first waits for the semaphore, whose count is the number of entries, and only then locks: nobody
/// ever waits while holding the lock. Nothing is allocated after construction.
template <class T>
class FrameQueue {
  public:
    explicit FrameQueue(std::size_t capacity)
        : m_filled(static_cast<std::uint32_t>(capacity)), m_ring(capacity) {}
    FrameQueue(const FrameQueue&) = delete;
    FrameQueue& operator=(const FrameQueue&) = delete;

    /// The oldest entry, or null when none came within the time.
    T* Take(std::uint32_t waitMs = kQueueWaitMs) {
        if (!m_filled.Acquire(waitMs)) return nullptr;
        std::lock_guard<std::mutex> lock(m_lock);
        if (m_size == 0) return nullptr;
        T* const record = m_ring[m_head];
        m_head = Next(m_head);
        --m_size;
        return record;
    }

    /// Last or first in line; false for null, or when the queue is full (which means that a record was put
    /// twice).
    bool PutTail(T* record) { return Put(record, false); }
    bool PutHead(T* record) { return Put(record, true); }

    std::size_t Size() const {
        std::lock_guard<std::mutex> lock(m_lock);
        return m_size;
    }

    /// Forgets all entries.
    void Clear() {
        while (Take(0)) {
        }
    }

  private:
    std::size_t Next(std::size_t index) const { return index + 1 == m_ring.size() ? 0 : index + 1; }

    bool Put(T* record, bool atHead) {
        if (!record) return false;
        std::lock_guard<std::mutex> lock(m_lock);
        if (m_size == m_ring.size()) return false;
        if (atHead) {
            m_head = (m_head == 0 ? m_ring.size() : m_head) - 1;
            m_ring[m_head] = record;
        } else {
            m_ring[(m_head + m_size) % m_ring.size()] = record;
        }
        ++m_size;
        m_filled.Release();
        return true;
    }

    CountingSemaphore m_filled;

    mutable std::mutex m_lock;
    // guarded by m_lock
    std::vector<T*> m_ring;
    std::size_t m_head = 0;
    std::size_t m_size = 0;
};

}  // namespace norix
