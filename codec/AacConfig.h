#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "codec/Status.h"

namespace codec {

/// An AudioSpecificConfig (ISO/IEC 14496-3), as far as AAC-LC needs it. Internal to codec/.
struct AacConfig {
    int sampleRate = 0;
    int channels = 0;
};

/// Reads the configuration. Where it announces band replication, what is described is the AAC-LC core
/// beneath. See AacDecoder::Initialise for what is refused.
Status ParseAacConfig(const std::uint8_t* data, std::size_t size, AacConfig* config);

/// The configuration of the same core with the explicit remark that there is no band replication, which keeps
/// a decoder from switching it on, and its rate to the double, when it meets such data in the stream.
inline constexpr std::size_t kPlainAacConfigMax = 8;
std::size_t WritePlainAacConfig(const AacConfig& config, std::array<std::uint8_t, kPlainAacConfigMax>* bytes);

}  // namespace codec
