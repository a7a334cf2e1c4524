#pragma once

// The bytes of an AVI file before its frames. The form is RIFF "AVI ", as Microsoft's
// AVI RIFF File Reference and vfw.h describe it. Pure.

#include <cstdint>
#include <optional>
#include <vector>

#include "media/MediaTypes.h"
#include "record/FrameRate.h"

namespace norix {

struct AviVideo {
    VideoCodec codec = VideoCodec::H264;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    FrameRate rate;  // as first assumed
    bool operator==(const AviVideo&) const = default;
};

struct AviAudio {
    AudioCodec codec = AudioCodec::Pcmu;
    std::uint32_t sampleRate = 8000;
    std::uint32_t channels = 1;
    std::vector<std::uint8_t> config;  // AAC: its AudioSpecificConfig
    bool operator==(const AviAudio&) const = default;
};

/// What streams a file has; at least one.
struct AviDescription {
    std::optional<AviVideo> video;
    std::optional<AviAudio> audio;
    bool operator==(const AviDescription&) const = default;
};

/// What is known only later. The header's length does not depend on it: it is written over in place.
struct AviCounts {
    std::uint32_t riffSize = 0;
    std::uint32_t moviSize = 0;
    std::uint32_t videoChunks = 0;
    std::uint32_t audioLength = 0;  // G.711: samples; AAC: frames
    FrameRate rate;
};

/// AAC-LC: samples per frame and channel, and the most bytes of one (ISO/IEC 14496-3).
inline constexpr std::uint32_t kAacFrameSamples = 1024;
inline constexpr std::uint32_t kAacFrameBytesPerChannel = 768;

inline constexpr std::uint32_t kAviIndexEntrySize = 16;
inline constexpr std::uint32_t kAviKeyFrame = 0x10;  // AVIIF_KEYFRAME

/// Everything up to and with "movi"; the first chunk follows. Replaces what `header` holds.
void WriteAviHeader(const AviDescription& file, const AviCounts& counts, std::vector<std::uint8_t>& header);

/// Little-endian, appended.
void Append32(std::vector<std::uint8_t>& bytes, std::uint32_t value);

/// A chunk's four characters as the number that they are in the file.
constexpr std::uint32_t FourCc(const char (&text)[5]) {
    std::uint32_t value = 0;
    for (int i = 3; i >= 0; --i)
        value = value << 8 | static_cast<std::uint8_t>(text[i]);
    return value;
}

}  // namespace norix
