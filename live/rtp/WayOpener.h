#pragma once

// Routers let a camera's packets in once something has been sent to it from where they are to arrive. After
// SETUP both sockets of a stream send a little, and again until its first packet has come.

#include <vector>

#include "live/env/UsageEnvironment.h"
#include "live/net/Groupsock.h"

namespace live::rtp {

class RtpFrameSource;

class WayOpener {
  public:
    /// Neither is owned.
    WayOpener(UsageEnvironment& env, Groupsock& rtp, Groupsock& rtcp, const RtpFrameSource& source);
    ~WayOpener();
    WayOpener(const WayOpener&) = delete;
    WayOpener& operator=(const WayOpener&) = delete;

    /// To the server, and a few times to where it says that it sends from; network byte order, 0 for none.
    void start(ipv4AddressBits stated, ipv4AddressBits server, portNumBits rtpPort, portNumBits rtcpPort);

  private:
    void send();
    void sendTo(ipv4AddressBits address);

    UsageEnvironment& m_env;
    Groupsock& m_rtp;
    Groupsock& m_rtcp;
    const RtpFrameSource& m_source;
    std::vector<unsigned char> m_rtpPacket;
    std::vector<unsigned char> m_rtcpPacket;
    ipv4AddressBits m_server = 0;
    ipv4AddressBits m_stated = 0;
    portNumBits m_rtpPort = 0;
    portNumBits m_rtcpPort = 0;
    int m_sent = 0;
    TaskToken m_task = nullptr;
};

}  // namespace live::rtp
