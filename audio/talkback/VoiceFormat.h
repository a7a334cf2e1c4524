#pragma once

// How the operator's voice travels. Pure.

#include <cstdint>
#include <optional>
#include <string>

namespace norix {

/// The numbers are those of EAudioCodecType.
enum class VoiceCodec { Pcmu = 1, Aac = 2, Pcm = 3 };

struct VoiceFormat {
    VoiceCodec codec = VoiceCodec::Pcmu;
    std::uint32_t sampleRate = 8000;  // Hz

    bool operator==(const VoiceFormat&) const = default;
};

inline constexpr std::uint32_t kLowestVoiceRate = 8000;
inline constexpr std::uint32_t kHighestVoiceRate = 48000;

/// What a host asks for by its numbers; 0 for either means the default. Nothing for an unknown codec and a
/// rate outside of 8000 to 48000 Hz.
std::optional<VoiceFormat> ParseVoiceFormat(int codec, long sampleRate);

/// The value of the Content-type line. 8000 Hz is what audio/pcmu means without a rate (RFC 4856).
std::string ContentTypeOf(const VoiceFormat& format);

}  // namespace norix
