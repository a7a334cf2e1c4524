#pragma once

#include <cstdint>
#include <string>

#include "protocol/HostRoute.h"

namespace norix {

/// Where a stream is and who asks for it. Text as it goes on the wire.
struct HttpStreamRequest {
    std::string host;       ///< a name or an address, IPv6 without brackets
    std::string connectTo;  ///< a numeric address that was checked for the host; empty: the host itself
    std::uint16_t port = 80;
    std::string path;  ///< with its query, from the first slash on
    std::string user;  ///< empty: no authentication
    std::string password;
    std::string headers;               ///< further header lines, each with CR LF
    protocol::HostRoute route;         ///< where redirections may lead; `connectTo` is its answer for `host`
    std::uint32_t timeLimitMs = 5000;  ///< for everything until the reply's head is there
};

}  // namespace norix
