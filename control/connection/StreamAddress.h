#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "control/Enumerations.h"
#include "media/MediaTypes.h"
#include "protocol/HostRoute.h"
#include "protocol/Origin.h"

namespace norix {

// The rules by which a connection chooses its protocol, names itself and finds its stream. Pure.

/// What the address of a camera's stream is made of.
struct StreamRequest {
    std::string server;
    EConnectProtocol protocol = ecpUDP;
    long rtspPort = protocol::kRtspPort;
    long httpPort = 80;
    long channel = 0;  // 0: the camera has one
    long stream = 0;   // 0: the camera has one
    VideoCodec codec = VideoCodec::None;
};

/// The RTSP address under which a camera offers its stream. Empty for a protocol that needs none.
std::string BuildStreamUri(const StreamRequest& request);

/// The address with the host that is to be connected to instead of its own. Nothing for what is no address,
/// and where its host must not be reached.
std::optional<std::string> RouteStreamUri(const std::string& uri, const protocol::HostRoute& route);

/// The address that a camera states for its stream, as whoever has `asked` under that host reaches it: behind
/// a router, cameras state addresses that only their own network knows. A name, an address of the Internet,
/// and one of the same network as an `asked` address stand as they are.
std::string ReachableStreamUri(const std::string& uri, const std::string& asked);

/// The address without the password that stands in it; the user's name stays.
std::string WithoutPassword(std::string_view uri);

/// The protocol a connection uses: the host's choice, or what the user's setting (1 TCP, 2 HTTP, 3 multicast)
/// says where the host leaves it open.
EConnectProtocol ChooseProtocol(short videoProtocol, std::uint32_t protocolOption);

/// Whether the user's setting prefers a codec, one of VideoCodec's numbers; and which.
bool IsPreference(std::uint32_t videoOption);
VideoCodec PreferredCodec(std::uint32_t videoOption);

/// Whether the stream comes over plain HTTP rather than RTSP.
bool StreamsOverHttp(EConnectProtocol protocol, VideoCodec codec);

/// The host's MediaType as the receivers take it: what is none of its values means sound and picture.
MediaType ChooseMedia(short mediaType);

/// The caption of a connection: the camera's name and "(AV-UDP)" with the media and the protocol in use.
std::string ConnectionCaption(std::string_view cameraName, MediaType media, EConnectProtocol protocol);

/// The camera's name or address out of what people type for it: without blanks around it, "http://" before
/// and a slash behind.
std::string_view TypedHost(std::string_view typed);

/// Where a camera is, out of an address that the host has set.
struct CameraLocation {
    std::string host;
    protocol::Origin origin;
    std::optional<std::uint16_t> httpPort;   // only a web address tells
    std::optional<std::uint16_t> httpsPort;  // of one of HTTPS
    std::string user;                        // empty: the address names none
    std::string password;
};

/// `streamUri` when it is not empty, else `mediaServiceUri`. Nothing when there is neither, or no address.
std::optional<CameraLocation> LocateCamera(std::string_view streamUri, std::string_view mediaServiceUri);

}  // namespace norix
