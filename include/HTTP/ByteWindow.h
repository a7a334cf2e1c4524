#pragma once

// The bytes of a stream that are being looked at: appended at the end, consumed at the front, in one piece
// of memory that is allocated once.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>

#include "include/HTTP/ReplyHead.h"

namespace norix::http {

class ByteWindow {
  public:
    /// The memory isn't cleared: what no frame reaches costs nothing.
    explicit ByteWindow(std::size_t capacity)
        : m_capacity(capacity), m_memory(std::make_unique_for_overwrite<std::uint8_t[]>(capacity)) {}

    /// Valid until the next Append.
    Bytes Data() const { return {m_memory.get() + m_begin, m_end - m_begin}; }

    /// Takes from the front of `bytes` what there is room for; no room is no progress.
    void Append(Bytes& bytes) {
        Drop(bytes);
        if (bytes.size() > m_capacity - m_end && m_begin != 0) {
            std::memmove(m_memory.get(), m_memory.get() + m_begin, m_end - m_begin);
            m_end -= m_begin;
            m_begin = 0;
        }
        const std::size_t taken = std::min(bytes.size(), m_capacity - m_end);
        if (taken != 0) std::memcpy(m_memory.get() + m_end, bytes.data(), taken);
        m_end += taken;
        bytes = bytes.subspan(taken);
    }

    /// Gives up the next `count` bytes, whether they are here already or not.
    void Consume(std::size_t count) {
        const std::size_t here = std::min(count, m_end - m_begin);
        m_begin += here;
        m_toDrop += count - here;
        if (m_begin == m_end) m_begin = m_end = 0;
    }

  private:
    void Drop(Bytes& bytes) {
        const std::size_t dropped = std::min(bytes.size(), m_toDrop);
        bytes = bytes.subspan(dropped);
        m_toDrop -= dropped;
    }

    const std::size_t m_capacity;
    const std::unique_ptr<std::uint8_t[]> m_memory;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    std::size_t m_toDrop = 0;  // consumed before they came
};

}  // namespace norix::http
