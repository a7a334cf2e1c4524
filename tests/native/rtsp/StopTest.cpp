// A session ends at once while it waits for what may never come, and says nothing any more.

#include <gtest/gtest.h>

#include <chrono>
#include <semaphore>
#include <thread>

#include "live/GroupsockHelper.hh"

#include "include/RTSP/RTSPSession.h"
#include "media/CtrlParam.h"
#include "net/Lookup.h"
#include "net/SocketHandle.h"

namespace norix {
namespace {

using Clock = std::chrono::steady_clock;
using net::Lookup;

// Asks nobody: answers with this machine when it is allowed to.
std::counting_semaphore<> g_asked{0};
std::counting_semaphore<> g_allowed{0};

std::vector<net::SocketAddress> SlowLookup(const std::string&) {
    g_asked.release();
    g_allowed.acquire();
    return net::numericAddresses("127.0.0.1");
}

// Runs one and stops it when `ready` returns; the milliseconds that took.
template <class Ready>
double StopTime(const std::string& uri, std::shared_ptr<CCtrlParam> param, EConnectProtocol protocol,
                Ready&& ready) {
    std::atomic<int> reports{0};
    SessionSettings settings;
    settings.protocol = protocol;
    settings.streamUri = uri;
    settings.userData = &reports;
    settings.callback = [](int, unsigned, void* reports) {
        return ++*static_cast<std::atomic<int>*>(reports);
    };
    RTSPSession session(settings, std::move(param), nullptr);
    std::thread thread([&] { session.RTSPStart(); });
    ready();
    const auto begin = Clock::now();
    session.RequestStop();
    thread.join();
    EXPECT_EQ(reports, 0);
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

std::shared_ptr<CCtrlParam> NewParam() {
    return std::make_shared<CCtrlParam>(MediaSettings{2, 1000, 2, 1000});
}

TEST(Stop, WaitsForNoNameServer) {
    const auto before = Lookup::systemCall.exchange(&SlowLookup);
    const auto asked = [] { g_asked.acquire(); };
    EXPECT_LT(StopTime("rtsp://camera.example/", NewParam(), ecpTCP, asked), 4000);
    // The same name again joins the look-up that is under way; others are bounded.
    const auto first = Lookup::begin("camera.example");
    ASSERT_TRUE(first);
    EXPECT_FALSE(first->done());
    int more = 0;
    const auto fill = [&more](bool forStranger) {
        while (more < 100 && Lookup::begin("other" + std::to_string(more) + ".example", {}, forStranger))
            ++more;
        return more;
    };
    const int strangers = fill(true);
    EXPECT_LT(strangers, 20);
    EXPECT_GT(fill(false), strangers) << "pages leave some places to others";
    EXPECT_LT(more, 50);
    g_allowed.release(1 + more);
    while (!first->done())
        std::this_thread::yield();
    EXPECT_EQ(first->addresses().at(0).ipv4(), htonl(INADDR_LOOPBACK));
    Lookup::systemCall = before;
}

TEST(Stop, WaitsForNoServer) {
    // A listener whose queue is full: connecting to it comes to no end.
    const net::SocketHandle listener(static_cast<int>(::socket(AF_INET, SOCK_STREAM, 0)));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(::bind(listener.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ::listen(listener.get(), 0);
    socklen_t length = sizeof address;
    ::getsockname(listener.get(), reinterpret_cast<sockaddr*>(&address), &length);
    std::vector<net::SocketHandle> queued;
    for (int i = 0; i < 3; ++i) {
        queued.emplace_back(static_cast<int>(::socket(AF_INET, SOCK_STREAM, 0)));
        net::makeNonBlocking(queued.back().get());
        static_cast<void>(
            ::connect(queued.back().get(), reinterpret_cast<sockaddr*>(&address), sizeof address));
    }
    const std::string host = "rtsp://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/";
    const auto moment = [] { std::this_thread::sleep_for(std::chrono::milliseconds(50)); };
    EXPECT_LT(StopTime(host, NewParam(), ecpUDP, moment), 4000);
}

}  // namespace
}  // namespace norix
