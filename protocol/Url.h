#pragma once

// Addresses of streams and services. Pure.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace protocol {

/// Ports of their own (RFC 7826, RFC 9110).
inline constexpr std::uint16_t kRtspPort = 554;
inline constexpr std::uint16_t kHttpPort = 80;
inline constexpr std::uint16_t kHttpsPort = 443;

struct Url {
    std::string scheme;  // in lower case: "rtsp", "http" or "https"
    std::string user;    // decoded
    std::string password;
    bool hasCredentials = false;
    std::string host;        // an IPv6 one without its brackets
    std::uint16_t port = 0;  // the scheme's own one where none is stated
    bool portStated = false;
    std::string path;   // from the first slash on, "/" at least
    std::string plain;  // the whole address without credentials: what is written into requests
};

/// "scheme://[user[:password]@]host[:port][/path]", at most 4096 bytes. User and password may hold '@', also
/// as %40: the last '@' before the path ends them. An IPv6 host stands in brackets (RFC 3986, 3.2.2). Nothing
/// for other schemes and for what can't go into a request line, which is white space and control characters.
std::optional<Url> parseUrl(std::string_view text);

}  // namespace protocol
