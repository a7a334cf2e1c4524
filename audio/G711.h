#pragma once

#include <cstddef>
#include <cstdint>

namespace norix {

/// Expands G.711 mu-law: each of the `count` bytes becomes one 16-bit sample.
void ExpandMuLaw(const std::uint8_t* coded, std::size_t count, std::int16_t* samples) noexcept;

}  // namespace norix
