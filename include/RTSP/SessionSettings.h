#pragma once

#include <string>

#include "include/RTSP/ConnectionTypes.h"
#include "include/RTSP/SessionPeriods.h"
#include "media/MediaTypes.h"

namespace norix {

/// What a session over RTSP, or of pushed multicast groups, is to receive, and whom it tells. UTF-8.
struct SessionSettings {
    EConnectProtocol protocol = ecpNone;
    std::string streamUri;
    std::string userName;
    std::string password;
    unsigned tunnelOverHttpPort = 0;  // of ecpHTTP
    RTSPStatusCallback* callback = nullptr;
    void* userData = nullptr;  // alive as long as the session's thread
    SessionPeriods periods;
};

}  // namespace norix
