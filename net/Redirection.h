#pragma once

// Where a reply sends a client, and what may go along. The rules are the same for whatever asks. Pure; any
// thread.

#include <optional>
#include <string>
#include <string_view>

#include "protocol/Origin.h"

namespace net {

/// How many redirections of one request are followed.
inline constexpr unsigned kMaxRedirections = 3;

struct Redirection {
    protocol::Origin origin;
    std::string path;  // with its query, "/" at least
    /// Another scheme, host or port: credentials, body and further header lines were meant for the first
    /// one alone, and none of them goes there. The same host's HTTPS instead of its HTTP, both at their own
    /// ports, is the same place: what has gone in clear may go encrypted.
    bool elsewhere = false;
    /// The request goes out again with its method and body (307, 308: RFC 9110); else as one without a body.
    bool keepsRequest = false;
};

/// Whether a status is one of 301, 302, 303, 307 and 308.
bool isRedirection(unsigned status);

/// Where a reply with this status and Location leads that came from `origin` and `path`. Nothing when it is
/// no redirection, or leads nowhere that can be asked: only "http" and "https" lead to one another, and
/// "rtsp" to itself.
std::optional<Redirection> redirectionOf(unsigned status, std::string_view location,
                                         const protocol::Origin& origin, std::string_view path);

}  // namespace net
