#pragma once

// What the camera's streams can be encoded as ("Codec list" in docs/camera-interface.md), and the choice of a
// stream from it. Pure; any thread.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "media/MediaTypes.h"

namespace norix {

struct CodecList {
    static constexpr std::size_t kMaxChannels = 64;
    static constexpr std::size_t kMaxStreams = 16;

    /// Per channel and stream, the sum of the numbers of VideoCodec that it offers; 0 when none is known.
    /// Every channel has at least one stream.
    std::vector<std::vector<std::uint8_t>> channels;
};

/// Nothing when the text names no known codec.
std::optional<CodecList> ParseCodecList(std::string_view value);

/// Channel and stream count from 1.
struct StreamSelection {
    std::int32_t channel = 1;
    std::int32_t stream = 1;
    VideoCodec codec = VideoCodec::None;

    bool operator==(const StreamSelection&) const = default;
};

/// The nearest selection that the camera has: channel and stream within its numbers; the codec if the stream
/// offers it, else the first of H.264, H.265, MPEG-4, Motion JPEG. Where no codec is known, it stays.
StreamSelection SelectStream(const CodecList& list, StreamSelection wanted);

}  // namespace norix
