#include "live/rtp/WayOpener.h"

#include "live/env/Random.h"
#include "live/rtp/RtcpPacket.h"
#include "live/rtp/RtpFrameSource.h"

namespace live::rtp {
namespace {
constexpr std::int64_t kInterval = 500'000;  // microseconds
constexpr int kTimes = 40;                   // who has sent nothing by then won't
constexpr int kTimesElsewhere = 3;           // a server may name anybody's address
constexpr unsigned char kUnusedType = 127;
}  // namespace

WayOpener::WayOpener(UsageEnvironment& env, Groupsock& rtp, Groupsock& rtcp, const RtpFrameSource& source)
    : m_env(env), m_rtp(rtp), m_rtcp(rtcp), m_source(source) {
    const std::uint32_t ssrc = random32();
    // A packet of a type that nobody has agreed on is ignored (RFC 6263, 4.6).
    const auto type =
        static_cast<unsigned char>(kUnusedType - (source.rtpPayloadFormat() == kUnusedType ? 1 : 0));
    m_rtpPacket = {0x80, type, 0, 0, 0, 0, 0, 0};
    for (int shift = 24; shift >= 0; shift -= 8)
        m_rtpPacket.push_back(static_cast<unsigned char>(ssrc >> shift));
    buildReceiverReport(ssrc, nullptr, "", m_rtcpPacket);
}

WayOpener::~WayOpener() {
    m_env.taskScheduler().unscheduleDelayedTask(m_task);
}

void WayOpener::start(ipv4AddressBits stated, ipv4AddressBits server, portNumBits rtpPort,
                      portNumBits rtcpPort) {
    m_server = server;
    m_stated = stated == server ? 0 : stated;
    m_rtpPort = rtpPort;
    m_rtcpPort = rtcpPort;
    m_sent = 0;
    m_env.taskScheduler().unscheduleDelayedTask(m_task);
    send();
}

void WayOpener::send() {
    m_task = nullptr;
    if (m_sent == kTimes || m_source.hasPackets()) return;
    sendTo(m_server);
    if (m_sent < kTimesElsewhere) sendTo(m_stated);
    ++m_sent;
    m_task = m_env.taskScheduler().scheduleDelayedTask(
        kInterval, [](void* self) { static_cast<WayOpener*>(self)->send(); }, this);
}

void WayOpener::sendTo(ipv4AddressBits address) {
    if (address == 0) return;
    m_rtp.sendTo(address, m_rtpPort, m_rtpPacket);
    m_rtcp.sendTo(address, m_rtcpPort, m_rtcpPacket);
}

}  // namespace live::rtp
