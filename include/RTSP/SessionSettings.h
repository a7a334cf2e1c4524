#pragma once

#include <functional>
#include <string>

#include "include/RTSP/ConnectionTypes.h"
#include "include/RTSP/SessionPeriods.h"
#include "media/MediaTypes.h"
#include "media/MulticastInfo.h"
#include "protocol/HostRoute.h"

namespace norix {

/// What a session over RTSP, or of pushed multicast groups, is to receive, and whom it tells. UTF-8.
struct SessionSettings {
    EConnectProtocol protocol = ecpNone;
    std::string streamUri;
    std::string routedUri;  // the same with the address that was checked for its host, where there is one
    std::string userName;
    std::string password;
    unsigned tunnelOverHttpPort = 0;  // of ecpHTTP
    MulticastInfo groups;             // of ecpMulticastPush
    RTSPStatusCallback* callback = nullptr;
    void* userData = nullptr;             // alive as long as the session's thread
    protocol::HostRoute route;            // what to connect to where an address names a host
    std::function<bool()> mayJoinGroups;  // whether the server may name multicast groups; null: it may
    SessionPeriods periods;
};

}  // namespace norix
