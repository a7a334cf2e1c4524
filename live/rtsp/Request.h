#pragma once

// A request on its way: what it says, and whom its reply is for.

#include <string>
#include <utility>

#include "live/rtsp/RTSPClient.h"

namespace live::rtsp {

enum class Method { Options, Describe, Setup, Play, GetParameter, Teardown };

struct Request {
    Request(Method method, std::string url, RTSPClient::responseHandler* handler)
        : method(method), url(std::move(url)), handler(handler) {}

    Method method;
    std::string url;
    std::string headers;  // of its own, each with its line end
    std::string body;
    RTSPClient::responseHandler* handler;
    MediaSession* session = nullptr;
    MediaSubsession* subsession = nullptr;
    unsigned sequence = 0;
    unsigned challenges = 0;   // how often the server answered 401
    bool signedIn = false;     // was sent with credentials
    bool reconnected = false;  // was sent once more on a new connection
    bool followsBase = false;  // addresses what the client's URL is, also after a redirect
    bool interleaved = false;  // SETUP: what was asked for
    unsigned channel = 0;
};

const char* methodName(Method method);

}  // namespace live::rtsp
