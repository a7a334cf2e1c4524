#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "protocol/HostRoute.h"

namespace norix {

/// One request to a camera's web server. Text is UTF-8 or bytes as they go on the wire.
struct HttpRequest {
    bool secure = false;    // HTTPS
    std::string host;       // whom it is for: in its Host line, of its sign-in
    std::string connectTo;  // a numeric address that was checked for the host; empty: the host itself
    std::uint16_t port = 80;
    std::string user;  // empty: no authentication
    std::string password;
    std::string verb = "GET";
    std::string path;     // with its query, from the first slash on
    std::string headers;  // whole lines, each with CR LF
    std::string body;
    protocol::HostRoute route;     // where redirections may lead; `connectTo` is its answer for `host`
    std::size_t maxReply = 80000;  // bytes of the body that are taken; the rest is not read
};

struct HttpReply {
    bool answered = false;  // false: nothing could be sent or nothing came back in time
    unsigned status = 0;    // 200...
    std::string headers;    // lines with CR LF, the status line first
    std::string body;
    bool stalled = false;      // the body did not come to its end in time; it is empty then
    std::string failure = {};  // not answered: why, for a person (net/Failure.h); empty: nothing known
};

/// How requests reach a camera. Send blocks until the reply is there, at most 1000 ms in each phase (connect,
/// send, each wait for more of the reply) and 5000 ms in all; the calling thread may be any, one request at a
/// time per object. Never throws but bad_alloc.
class HttpTransport {
  public:
    virtual ~HttpTransport() = default;
    virtual HttpReply Send(const HttpRequest& request) = 0;
};

}  // namespace norix
