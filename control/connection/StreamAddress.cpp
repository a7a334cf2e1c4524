#include "control/connection/StreamAddress.h"

#include <algorithm>

#include "control/trust/Trust.h"
#include "protocol/Origin.h"
#include "protocol/Text.h"
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
    if (request.codec == VideoCodec::H265) uri += "_h265";
    if (request.codec == VideoCodec::Mjpeg) uri += "_mjpg";
    return uri;
}

std::optional<std::string> RouteStreamUri(const std::string& uri, const protocol::HostRoute& route) {
    const auto url = protocol::parseUrl(uri);
    if (!url) return std::nullopt;
    const auto host = route(url->host);
    if (!host || *host == url->host) return host ? std::optional(uri) : std::nullopt;
    // The part that parseUrl took for the host: behind the last '@' of the authority.
    const std::size_t authority = uri.find("://") + 3;
    const std::size_t end = std::min(uri.find_first_of("/?", authority), uri.size());
    const std::size_t at = uri.substr(0, end).rfind('@');
    const std::size_t begin = at == std::string::npos || at < authority ? authority : at + 1;
    const std::size_t length = uri[begin] == '[' ? uri.find(']', begin) + 1 - begin : url->host.size();
    return std::string(uri).replace(begin, length, protocol::hostInUrl(*host));
}

std::string ReachableStreamUri(const std::string& uri, const std::string& asked) {
    const auto url = protocol::parseUrl(uri);
    const auto stated = url ? ParseAddress(url->host) : std::nullopt;
    if (!stated || !IsInside(*stated) || asked.empty()) return uri;
    constexpr std::size_t kSameBytes = 14;  // of an IPv4 address: a /16
    const auto known = ParseAddress(asked);
    if (known && std::equal(known->begin(), known->begin() + kSameBytes, stated->begin())) return uri;
    return RouteStreamUri(uri, [&](const std::string&) { return std::optional(asked); }).value_or(uri);
}

std::string WithoutPassword(std::string_view uri) {
    const std::size_t scheme = uri.find("://");
    const std::size_t begin = scheme == std::string_view::npos ? 0 : scheme + 3;
    const std::size_t end = std::min(uri.find_first_of("/?", begin), uri.size());
    std::size_t at = uri.substr(0, end).rfind('@');
    // What is no address may still hold a password, one with a slash in it for instance.
    if (at == std::string_view::npos && !protocol::parseUrl(uri)) at = uri.rfind('@');
    if (at == std::string_view::npos || at < begin) return std::string(uri);
    const std::size_t colon = std::min(uri.find(':', begin), at);
    return std::string(uri.substr(0, colon)).append(uri.substr(at));
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

bool IsPreference(std::uint32_t videoOption) {
    const auto codec = static_cast<VideoCodec>(videoOption);
    return codec == VideoCodec::Mpeg4 || codec == VideoCodec::Mjpeg || codec == VideoCodec::H265;
}

VideoCodec PreferredCodec(std::uint32_t videoOption) {
    return IsPreference(videoOption) ? static_cast<VideoCodec>(videoOption) : VideoCodec::H264;
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

std::string_view TypedHost(std::string_view typed) {
    constexpr std::string_view kScheme = "http://";
    typed = protocol::trim(typed);
    if (protocol::startsWithIgnoringCase(typed, kScheme)) typed.remove_prefix(kScheme.size());
    while (typed.ends_with('/'))
        typed.remove_suffix(1);
    return typed;
}

std::optional<CameraLocation> LocateCamera(std::string_view streamUri, std::string_view mediaServiceUri) {
    const auto url = protocol::parseUrl(streamUri.empty() ? mediaServiceUri : streamUri);
    if (!url) return std::nullopt;
    CameraLocation location{url->host, protocol::originOf(*url), {}, {}, url->user, url->password};
    if (url->scheme == "http") location.httpPort = url->port;
    if (url->scheme == "https") location.httpsPort = url->port;
    return location;
}

}  // namespace norix
