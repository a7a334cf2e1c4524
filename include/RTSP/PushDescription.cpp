#include "include/RTSP/PushDescription.h"

#include <string_view>

namespace norix {
namespace {

struct PayloadFormat {
    int type;
    std::string_view encoding;  // with clock rate and what follows it
};

PayloadFormat VideoFormat(VideoCodec codec) {
    switch (codec) {
        case VideoCodec::H264:
            return {97, "H264/90000"};
        case VideoCodec::H265:
            return {98, "H265/90000"};
        case VideoCodec::Mjpeg:
            return {26, "JPEG/90000"};
        default:
            return {96, "MP4V-ES/90000"};
    }
}

std::string Medium(std::string_view name, const MulticastAddress& where, const PayloadFormat& format,
                   std::string_view track) {
    // A line end in the host's text must not begin a line of its own.
    const std::string group = where.group.substr(0, where.group.find_first_of("\r\n"));
    const std::string type = std::to_string(format.type);
    std::string text = "m=" + std::string(name) + " " + std::to_string(where.port) + " RTP/AVP " + type +
                       "\r\nc=IN IP4 " + group + "\r\na=rtpmap:" + type + " ";
    text += format.encoding;
    text += "\r\na=control:";
    text += track;
    return text + "\r\n";
}

}  // namespace

std::string PushDescription(const MulticastInfo& multicast, VideoCodec videoCodec) {
    constexpr PayloadFormat kMuLaw{0, "PCMU/8000/1"};
    std::string text = "v=0\r\na=type:broadcast\r\na=control:*\r\n";
    const MulticastAddress& video = multicast[MulticastStream::Video];
    const MulticastAddress& audio = multicast[MulticastStream::Audio];
    if (!video.group.empty()) text += Medium("video", video, VideoFormat(videoCodec), "track1");
    if (!audio.group.empty()) text += Medium("audio", audio, kMuLaw, "track2");
    return text;
}

}  // namespace norix
