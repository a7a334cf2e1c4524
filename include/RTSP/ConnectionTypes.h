#pragma once

// How a session receives and what it reports. The numbers are those of the type library.

#include <cstdint>

namespace norix {

enum class ConnectProtocol : std::int32_t {
    None = 0,
    Udp = 1,
    Tcp = 2,
    Http = 3,
    Multicast = 4,
    MulticastPush = 5,
};

/// Those that a session reports.
enum class ConnectStatus : std::uint32_t { Connected = 1, ConnectFail = 3, UserAuthenticationFail = 5 };

/// code 1: the connection's status has become `value`, a ConnectStatus; code 2: the camera should be asked
/// for a key frame, since a pushed stream has started in the middle of a group of pictures, or frames are
/// being skipped up to the next one. Not more often than once a second. Called on the session's thread: it
/// must return soon and must not stop the session. The result is ignored.
using RTSPStatusCallback = int(int code, unsigned value, void* userData);
inline constexpr int kCallbackStatus = 1;
inline constexpr int kCallbackForceKeyFrame = 2;

}  // namespace norix
