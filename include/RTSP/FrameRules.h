#pragma once

// What the sink reads out of frames and format parameters. Pure.

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace norix {

using ByteView = std::span<const std::uint8_t>;

/// The coding type (0 I, 1 P, 2 B, 3 S) of the first MPEG-4 picture in the frame; 0 when it holds none, as
/// JPEG frames do.
int VopCodingType(ByteView frame);

/// Whether an MPEG-4 frame brings the header (video object layer) without which no decoder can begin.
bool HasVolHeader(ByteView frame);

/// The bytes that a "config" parameter writes as pairs of hexadecimal digits. The result has one byte per
/// character of the text: what is beyond the pairs is 0, which decoders take for padding. A pair that isn't
/// hexadecimal gives 0.
std::vector<std::uint8_t> AacConfigFromText(std::string_view text);

/// A position in seconds as a timestamp in milliseconds, which wraps.
std::uint32_t PtsFromSeconds(double seconds);

}  // namespace norix
