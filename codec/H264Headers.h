#pragma once

#include "codec/NalHeaders.h"

namespace codec {

/// Reads the H.264 set (ITU-T H.264, 7.3.2.1) whose NAL header byte is at `nal`; see ParseSps.
Status ParseH264Sps(const std::uint8_t* nal, std::size_t size, NalSps* sps);

}  // namespace codec
