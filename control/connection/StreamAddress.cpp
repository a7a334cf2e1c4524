#include "control/connection/StreamAddress.h"

#include "protocol/Origin.h"
#include "protocol/Url.h"

namespace norix {

std::string BuildStreamUri(const StreamRequest& request) {
    const std::string rtsp = "rtsp://" + protocol::hostInUrl(request.server) + ":";
    std::string uri;
    switch (request.protocol) {
        case ecpUDP:
        case ecpTCP:
            uri = rtsp + std::to_string(request.rtspPort) + "/udpstream";
            break;
        case ecpHTTP:
            uri = rtsp + std::to_string(request.httpPort) + "/kest-cgi/udpstream";
            break;
        case ecpMulticast:
            uri = rtsp + std::to_string(request.rtspPort) + "/multicaststream";
            break;
        default:
            return {};
    }
    if (request.channel != 0) uri += "_ch" + std::to_string(request.channel);
    if (request.stream != 0) uri += "_stream" + std::to_string(request.stream);
    if (request.codec == VideoCodec::H264) uri += "_h264";
    if (request.codec == VideoCodec::Mjpeg) uri += "_mjpg";
    return uri;
}

EConnectProtocol ChooseProtocol(short videoProtocol, std::uint32_t protocolOption) {
    if (videoProtocol != ecpNone) return static_cast<EConnectProtocol>(videoProtocol);
    switch (protocolOption) {
        case 1:
            return ecpTCP;
        case 2:
            return ecpHTTP;
        case 3:
            return ecpMulticast;
        default:
            return ecpUDP;
    }
}

bool StreamsOverHttp(EConnectProtocol protocol, VideoCodec codec) {
    return protocol == ecpHTTP && codec == VideoCodec::Mjpeg;
}

MediaType ChooseMedia(short mediaType) {
    if (mediaType == static_cast<short>(MediaType::Video)) return MediaType::Video;
    if (mediaType == static_cast<short>(MediaType::Audio)) return MediaType::Audio;
    return MediaType::AudioVideo;
}

std::string ConnectionCaption(std::string_view cameraName, MediaType media, EConnectProtocol protocol) {
    std::string caption(cameraName);
    switch (media) {
        case MediaType::AudioVideo:
            caption += "(AV-";
            break;
        case MediaType::Video:
            caption += "(V-";
            break;
        case MediaType::Audio:
            caption += "(A-";
            break;
    }
    switch (protocol) {
        case ecpUDP:
            return caption + "UDP)";
        case ecpTCP:
            return caption + "TCP)";
        case ecpHTTP:
            return caption + "HTTP)";
        case ecpMulticast:
            return caption + "Multicast)";
        case ecpMulticastPush:
            return caption + "MulticastPush)";
        default:
            return caption;
    }
}

std::optional<CameraLocation> LocateCamera(std::string_view streamUri, std::string_view mediaServiceUri) {
    const auto url = protocol::parseUrl(streamUri.empty() ? mediaServiceUri : streamUri);
    if (!url) return std::nullopt;
    CameraLocation location{url->host, std::nullopt, url->user, url->password};
    if (url->scheme == "http") location.httpPort = url->port;
    return location;
}

}  // namespace norix
