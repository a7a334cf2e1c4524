#include "audio/G711.h"

#include <array>

namespace norix {
namespace {

// ITU-T G.711: a byte is sent inverted and holds sign, three bits of exponent and four of mantissa. The
// encoder adds a bias of 33 to 14-bit samples, which is 132 in 16 bits.
constexpr std::int32_t kBias = 132;

constexpr std::int16_t Expand(std::uint8_t coded) {
    const std::uint32_t bits = coded ^ 0xFFu;
    const std::uint32_t exponent = bits >> 4 & 7u;
    const std::uint32_t mantissa = bits & 15u;
    const auto magnitude = static_cast<std::int32_t>(((mantissa << 3) + kBias) << exponent) - kBias;
    return static_cast<std::int16_t>((bits & 0x80u) ? -magnitude : magnitude);
}

constexpr std::array<std::int16_t, 256> MakeTable() {
    std::array<std::int16_t, 256> table{};
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = Expand(static_cast<std::uint8_t>(i));
    return table;
}

constexpr std::array<std::int16_t, 256> kTable = MakeTable();

}  // namespace

void ExpandMuLaw(const std::uint8_t* coded, std::size_t count, std::int16_t* samples) noexcept {
    for (std::size_t i = 0; i < count; ++i)
        samples[i] = kTable[coded[i]];
}

}  // namespace norix
