#pragma once

#include <cstddef>
#include <cstdint>

namespace util {

/// Reads big-endian bit fields from memory. Reading beyond the end gives zeros and makes Overrun() true, so a
/// parser may read a whole header and ask once. The memory is the caller's.
class BitReader {
  public:
    BitReader(const std::uint8_t* data, std::size_t size) : m_data(data), m_bits(size * 8) {}

    /// `count` bits, 0 to 32.
    std::uint32_t Read(int count) {
        std::uint32_t value = 0;
        for (int i = 0; i < count; ++i, ++m_at) {
            const std::uint32_t bit = m_at < m_bits ? (m_data[m_at / 8] >> (7 - m_at % 8)) & 1u : 0u;
            value = value << 1 | bit;
        }
        return value;
    }

    bool ReadFlag() { return Read(1) != 0; }
    void Skip(std::size_t count) { m_at += count; }
    /// Bits read and skipped so far.
    std::size_t Position() const { return m_at; }
    bool Overrun() const { return m_at > m_bits; }

  private:
    const std::uint8_t* m_data;
    std::size_t m_bits;
    std::size_t m_at = 0;
};

}  // namespace util
