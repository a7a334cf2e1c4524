#pragma once

#include <string>

#include "include/RTSP/ConnectionTypes.h"
#include "include/RTSP/SessionPeriods.h"

namespace norix {

/// What a session over RTSP, or of pushed multicast groups, is to receive, and whom it tells. UTF-8.
struct SessionSettings {
    ConnectProtocol protocol = ConnectProtocol::None;
    std::string streamUri;
    std::string userName;
    std::string password;
    unsigned tunnelOverHttpPort = 0;  // of ConnectProtocol::Http
    RTSPStatusCallback* callback = nullptr;
    void* userData = nullptr;  // alive as long as the session's thread
    SessionPeriods periods;
};

}  // namespace norix
