#pragma once

// Reads big-endian fields of a packet. Reading past the end gives zeros and makes ok() false, so that a
// parser checks once per structure.

#include <cstddef>
#include <cstdint>
#include <span>

namespace live::rtp {

using Bytes = std::span<const unsigned char>;

class ByteReader {
  public:
    explicit ByteReader(Bytes bytes) : m_rest(bytes) {}

    bool ok() const { return m_ok; }
    std::size_t left() const { return m_rest.size(); }
    Bytes rest() const { return m_rest; }

    std::uint8_t u8() { return static_cast<std::uint8_t>(number(1)); }
    std::uint16_t u16() { return static_cast<std::uint16_t>(number(2)); }
    std::uint32_t u24() { return number(3); }
    std::uint32_t u32() { return number(4); }

    Bytes take(std::size_t size) {
        if (size > m_rest.size()) {
            m_ok = false;
            m_rest = {};
            return {};
        }
        const Bytes taken = m_rest.first(size);
        m_rest = m_rest.subspan(size);
        return taken;
    }
    void skip(std::size_t size) { take(size); }

  private:
    std::uint32_t number(std::size_t size) {
        std::uint32_t value = 0;
        for (const unsigned char byte : take(size))
            value = value << 8 | byte;
        return value;
    }

    Bytes m_rest;
    bool m_ok = true;
};

}  // namespace live::rtp
