// A pushed stream whose group or port another program keeps to itself.

#include <gtest/gtest.h>

#include "live/GroupsockHelper.hh"

#include "include/RTSP/RTSPSession.h"
#include "media/CtrlParam.h"
#include "net/SocketHandle.h"

namespace norix {
namespace {

using Numbers = std::vector<unsigned>;

constexpr char kGroup[] = "239.255.17.9";

// Takes a port for itself; 0 when there is none.
unsigned short Occupy(const net::SocketHandle& socket) {
    sockaddr_in local{};
    local.sin_family = AF_INET;
    socklen_t length = sizeof local;
    auto* const address = reinterpret_cast<sockaddr*>(&local);
    if (::bind(socket.get(), address, length) != 0 || ::getsockname(socket.get(), address, &length) != 0)
        return 0;
    return ntohs(local.sin_port);
}

TEST(Groups, ThatCantBeHadAreToldAndEndTheSession) {
    const net::SocketHandle other(static_cast<int>(::socket(AF_INET, SOCK_DGRAM, 0)));
    const unsigned short port = Occupy(other);
    ASSERT_NE(port, 0);
    const auto param = std::make_shared<CCtrlParam>(MediaSettings{2, 1000, 2, 1000});
    MulticastInfo groups;
    groups[MulticastStream::Video] = {kGroup, port};
    groups[MulticastStream::Audio] = {kGroup, port};
    param->videoCodec.Set(VideoCodec::H264);

    Numbers statuses;
    SessionSettings settings;
    settings.protocol = ecpMulticastPush;
    settings.groups = groups;
    settings.userData = &statuses;
    settings.callback = [](int code, unsigned value, void* statuses) {
        if (code == kCallbackStatus) static_cast<Numbers*>(statuses)->push_back(value);
        return 0;
    };
    RTSPSession session(settings, param, nullptr);
    EXPECT_EQ(session.RTSPStart(), 1);
    // The first one told stands for both media.
    EXPECT_EQ(statuses, (Numbers{4, 3}));
    EXPECT_EQ(param->streamProblem.Get(), "");
}

}  // namespace
}  // namespace norix
