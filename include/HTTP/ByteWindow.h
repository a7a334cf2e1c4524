#pragma once

// The bytes of a stream that are being looked at: appended at the end, consumed at the front, in one piece
// of memory that grows with what has to be looked at in one piece, up to a bound.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <utility>

#include "include/HTTP/ReplyHead.h"

namespace norix::http {

class ByteWindow {
  public:
    /// The memory isn't cleared: what no frame reaches costs nothing. It begins with `capacity` bytes and
    /// grows to `most`.
    explicit ByteWindow(std::size_t capacity, std::size_t most = 0)
        : m_capacity(capacity),
          m_most(std::max(capacity, most)),
          m_memory(std::make_unique_for_overwrite<std::uint8_t[]>(capacity)) {}

    /// Valid until the next Append.
    Bytes Data() const { return {m_memory.get() + m_begin, m_end - m_begin}; }

    /// Takes from the front of `bytes` what there is room for; no room is no progress. May throw
    /// std::bad_alloc while it grows.
    void Append(Bytes& bytes) {
        Drop(bytes);
        if (bytes.size() > m_capacity - m_end && m_begin != 0) {
            std::memmove(m_memory.get(), m_memory.get() + m_begin, m_end - m_begin);
            m_end -= m_begin;
            m_begin = 0;
        }
        if (bytes.size() > m_capacity - m_end && m_capacity < m_most) Grow(m_end + bytes.size());
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
    void Grow(std::size_t needed) {
        const std::size_t capacity = std::min(std::max(2 * m_capacity, needed), m_most);
        auto memory = std::make_unique_for_overwrite<std::uint8_t[]>(capacity);
        if (m_end != 0) std::memcpy(memory.get(), m_memory.get(), m_end);
        m_memory = std::move(memory);
        m_capacity = capacity;
    }

    void Drop(Bytes& bytes) {
        const std::size_t dropped = std::min(bytes.size(), m_toDrop);
        bytes = bytes.subspan(dropped);
        m_toDrop -= dropped;
    }

    std::size_t m_capacity;
    const std::size_t m_most;
    std::unique_ptr<std::uint8_t[]> m_memory;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    std::size_t m_toDrop = 0;  // consumed before they came
};

}  // namespace norix::http
