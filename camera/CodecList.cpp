#include "camera/CodecList.h"

#include <algorithm>
#include <array>

#include "protocol/Text.h"

namespace norix {
namespace {

using protocol::take;
using protocol::trim;

constexpr std::uint8_t Bit(VideoCodec codec) {
    return static_cast<std::uint8_t>(codec);
}

struct CodecName {
    std::string_view name;
    VideoCodec codec;
};
constexpr CodecName kNames[] = {
    {"h264", VideoCodec::H264},   {"h265", VideoCodec::H265},   {"hevc", VideoCodec::H265},
    {"mp4v", VideoCodec::Mpeg4},  {"mpeg4", VideoCodec::Mpeg4}, {"mjpg", VideoCodec::Mjpeg},
    {"mjpeg", VideoCodec::Mjpeg}, {"jpeg", VideoCodec::Mjpeg},
};
constexpr std::array kPreference{VideoCodec::H264, VideoCodec::H265, VideoCodec::Mpeg4, VideoCodec::Mjpeg};
constexpr std::uint8_t kAllCodecs =
    Bit(VideoCodec::H264) | Bit(VideoCodec::H265) | Bit(VideoCodec::Mpeg4) | Bit(VideoCodec::Mjpeg);

std::uint8_t ParseCodec(std::string_view text) {
    for (const CodecName& known : kNames) {
        if (protocol::equalsIgnoringCase(text, known.name)) return Bit(known.codec);
    }
    return static_cast<std::uint8_t>(protocol::parseNumber(text, kAllCodecs).value_or(0));
}

std::uint8_t ParseStream(std::string_view text) {
    std::uint8_t codecs = 0;
    while (!text.empty())
        codecs |= ParseCodec(trim(take(text, '|')));
    return codecs;
}

std::vector<std::uint8_t> ParseChannel(std::string_view text) {
    std::vector<std::uint8_t> streams;
    do {
        streams.push_back(ParseStream(take(text, ',')));
        text = trim(text);
    } while (!text.empty() && streams.size() < CodecList::kMaxStreams);
    return streams;
}

// 1 to count, as an index.
std::size_t IndexOf(std::int32_t number, std::size_t count) {
    return static_cast<std::size_t>(std::clamp(number, 1, static_cast<std::int32_t>(count))) - 1;
}

}  // namespace

std::optional<CodecList> ParseCodecList(std::string_view value) {
    CodecList list;
    bool known = false;
    value = trim(value);
    while (!value.empty() && list.channels.size() < CodecList::kMaxChannels) {
        list.channels.push_back(ParseChannel(trim(take(value, ';'))));
        const auto& streams = list.channels.back();
        known = known || std::any_of(streams.begin(), streams.end(), [](auto codecs) { return codecs != 0; });
        value = trim(value);
    }
    if (!known) return std::nullopt;
    return list;
}

StreamSelection SelectStream(const CodecList& list, StreamSelection wanted) {
    if (list.channels.empty()) return wanted;
    const std::size_t channel = IndexOf(wanted.channel, list.channels.size());
    const std::vector<std::uint8_t>& streams = list.channels[channel];
    const std::size_t stream = IndexOf(wanted.stream, streams.size());
    const std::uint8_t offered = streams[stream];
    StreamSelection chosen{static_cast<std::int32_t>(channel) + 1, static_cast<std::int32_t>(stream) + 1,
                           wanted.codec};
    if ((offered & Bit(wanted.codec)) != 0) return chosen;
    const auto first = std::find_if(kPreference.begin(), kPreference.end(),
                                    [offered](VideoCodec codec) { return (offered & Bit(codec)) != 0; });
    if (first != kPreference.end()) chosen.codec = *first;
    return chosen;
}

}  // namespace norix
