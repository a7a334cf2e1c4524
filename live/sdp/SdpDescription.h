#pragma once

// A session description (RFC 4566), as far as receiving needs it. Pure: text in, values out.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace live::sdp {

/// a=range: seconds of normal play time, or absolute times as the server wrote them. An open end is 0 or
/// empty.
struct PlayRange {
    double start = 0;
    double end = 0;
    std::string absoluteStart;
    std::string absoluteEnd;
};

/// "npt=...", "clock=..."; nothing when it is neither or malformed. Also the value of RTSP's Range header.
std::optional<PlayRange> parseRange(std::string_view text);

struct Media {
    std::string
        problem;  // why it can't be received, whatever else it says; "" when nothing is known against it
    std::string medium;  // "video", "audio", ...
    std::uint16_t port = 0;
    std::string protocol;  // "RTP" for RTP/AVP and RTP/AVPF, otherwise as written
    unsigned payloadType = 0;
    std::string codec;  // in capitals; empty when nobody says
    unsigned clockRate = 0;
    unsigned channels = 1;
    std::string control;
    std::string connection;  // the address of c=, the session's where the medium has none
    std::string source;      // a=source-filter
    std::vector<std::pair<std::string, std::string>> attributes;  // of a=fmtp; names in small letters
    std::optional<PlayRange> range;
    unsigned width = 0;
    unsigned height = 0;
    double framesPerSecond = 0;
};

struct Description {
    std::string name;
    std::string type;
    std::string control;
    std::optional<PlayRange> range;
    std::vector<Media> media;
};

inline constexpr std::size_t kMaxMedia = 32;
inline constexpr std::size_t kMaxAttributes = 64;

/// Nothing when the text is no session description or is out of bounds; `error` then says why. What is wrong
/// with a medium costs that medium only; lines that can't be read are left out, and so are media beyond
/// kMaxMedia.
std::optional<Description> parseSdp(std::string_view text, std::string& error);

}  // namespace live::sdp
