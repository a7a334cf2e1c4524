#pragma once

#include <cstddef>
#include <cstdint>

namespace norix {

/// Expands G.711 mu-law: each of the `count` bytes becomes one 16-bit sample.
void ExpandMuLaw(const std::uint8_t* coded, std::size_t count, std::int16_t* samples) noexcept;

/// Compresses to G.711 mu-law: each of the `count` 16-bit samples becomes one byte.
void CompressMuLaw(const std::int16_t* samples, std::size_t count, std::uint8_t* coded) noexcept;

}  // namespace norix
