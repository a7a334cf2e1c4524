#include "audio/G711.h"

#include <algorithm>
#include <array>
#include <bit>

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

// Louder samples than the largest that there is a code for are as loud as that.
constexpr std::int32_t kLoudest = 32635;

constexpr std::uint8_t Compress(std::int16_t sample) {
    const std::int32_t magnitude =
        std::min(sample < 0 ? -std::int32_t{sample} : std::int32_t{sample}, kLoudest);
    const auto biased = static_cast<std::uint32_t>(magnitude + kBias);
    const auto exponent = static_cast<std::uint32_t>(std::bit_width(biased)) - 8u;
    const std::uint32_t mantissa = biased >> (exponent + 3) & 15u;
    const std::uint32_t sign = sample < 0 ? 0x80u : 0u;
    return static_cast<std::uint8_t>(~(sign | exponent << 4 | mantissa));
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

void CompressMuLaw(const std::int16_t* samples, std::size_t count, std::uint8_t* coded) noexcept {
    std::transform(samples, samples + count, coded, Compress);
}

}  // namespace norix
