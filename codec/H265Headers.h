#pragma once

#include "codec/NalHeaders.h"

namespace codec {

/// Reads the H.265 set (ITU-T H.265, 7.3.2.2) whose NAL header is at `nal`; see ParseSps.
Status ParseH265Sps(const std::uint8_t* nal, std::size_t size, NalSps* sps);

}  // namespace codec
