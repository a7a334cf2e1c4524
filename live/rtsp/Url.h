#pragma once

// RTSP addresses. Pure.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace live::rtsp {

struct Url {
    std::string user;  // decoded
    std::string password;
    bool hasCredentials = false;
    std::string host;
    std::uint16_t port = 554;
    std::string path;   // from the first slash on, "/" at least
    std::string plain;  // the whole address without credentials: what is written into requests
};

// "rtsp://[user[:password]@]host[:port][/path]". User and password may hold '@', also as %40: the last '@'
// before the path ends them.
std::optional<Url> parseUrl(std::string_view text);

// Where a control attribute points, from a base address; as servers mean it, which is rarely as RFC 3986 has
// it: what is relative is appended, behind one slash.
std::string controlUrl(std::string_view base, std::string_view control);

}  // namespace live::rtsp
