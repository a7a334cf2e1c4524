#pragma once

#include "live/rtp/ByteReader.h"

namespace live::rtp {

/// Reads fields of up to 32 bits, most significant bit first; past the end it gives zeros and ok() is false.
class BitReader {
  public:
    BitReader(Bytes bytes, std::size_t bits) : m_bytes(bytes), m_end(bits) {
        m_ok = bits <= bytes.size() * 8;
    }

    bool ok() const { return m_ok; }
    std::size_t left() const { return m_ok ? m_end - m_at : 0; }

    std::uint32_t take(unsigned bits) {
        if (bits > left()) {
            m_ok = false;
            return 0;
        }
        std::uint64_t value = 0;
        for (; bits > 0; --bits, ++m_at)
            value = value << 1 | (m_bytes[m_at / 8] >> (7 - m_at % 8) & 1u);
        return static_cast<std::uint32_t>(value);
    }

  private:
    Bytes m_bytes;
    std::size_t m_end;
    std::size_t m_at = 0;
    bool m_ok = true;
};

}  // namespace live::rtp
