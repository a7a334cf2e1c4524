#include "live/sdp/MediaSession.h"

#include <algorithm>

#include "live/env/Clock.h"
#include "live/net/GroupsockHelper.h"
#include "live/rtp/PayloadFormats.h"
#include "live/rtp/RtpFrameSource.h"
#include "live/rtp/WayOpener.h"
#include "net/Lookup.h"
#include "net/Sockets.h"
#include "protocol/Text.h"

namespace sdp = live::sdp;

MediaSession* MediaSession::createNew(UsageEnvironment& env, char const* sdpDescription) {
    auto* const session = new MediaSession(env);
    if (session->initializeWithSDP(sdpDescription)) return session;
    Medium::close(session);
    return nullptr;
}

MediaSession::MediaSession(UsageEnvironment& env) : Medium(env) {}
MediaSession::~MediaSession() = default;

Boolean MediaSession::initializeWithSDP(char const* sdpDescription) {
    std::string error;
    auto description = sdp::parseSdp(sdpDescription ? sdpDescription : "", error);
    if (!description) {
        envir().setResultMsg(error.c_str());
        return False;
    }
    m_description = std::move(*description);
    m_range = m_description.range.value_or(sdp::PlayRange{});
    m_subsessions.clear();
    for (const sdp::Media& media : m_description.media) {
        m_subsessions.push_back(std::make_unique<MediaSubsession>(*this, media));
        // What the session leaves open, its longest medium says.
        if (media.range && !m_description.range) {
            m_range.end = std::max(m_range.end, media.range->end);
            if (m_range.absoluteStart.empty()) {
                m_range.absoluteStart = media.range->absoluteStart;
                m_range.absoluteEnd = media.range->absoluteEnd;
            }
        }
    }
    m_timeline.setStart(m_range.start);
    return True;
}

char const* MediaSession::absStartTime() const {
    return m_range.absoluteStart.empty() ? nullptr : m_range.absoluteStart.c_str();
}

char const* MediaSession::absEndTime() const {
    return m_range.absoluteEnd.empty() ? nullptr : m_range.absoluteEnd.c_str();
}

void MediaSession::setPlayed(const sdp::PlayRange* range, float scale) {
    m_scale = scale;
    m_timeline.play(range ? range->start : m_timeline.start(), scale);
}

MediaSubsession* MediaSubsessionIterator::next() {
    return m_next < m_session.m_subsessions.size() ? m_session.m_subsessions[m_next++].get() : nullptr;
}

MediaSubsession::MediaSubsession(MediaSession& parent, const sdp::Media& media)
    : m_parent(parent), m_media(media), m_clientPort(media.port) {}

MediaSubsession::~MediaSubsession() {
    deInitiate();
}

char const* MediaSubsession::attrVal_str(char const* name) const {
    const std::string wanted = protocol::toLower(name ? name : "");
    for (const auto& [attribute, value] : m_media.attributes) {
        if (attribute == wanted) return value.c_str();
    }
    return "";
}

unsigned MediaSubsession::attrVal_int(char const* name) const {
    return protocol::parseNumber(attrVal_str(name)).value_or(0);
}

FramedSource* MediaSubsession::readSource() const {
    return m_source;
}
RTPSource* MediaSubsession::rtpSource() const {
    return m_source;
}

Boolean MediaSubsession::initiate(int) {
    if (m_source) return True;
    if (!m_media.problem.empty()) {
        env().setResultMsg(m_media.problem.c_str());
        return False;
    }
    if (m_media.protocol != "RTP") {
        env().setResultMsg("Unsupported protocol: ", protocolName());
        return False;
    }
    if (m_media.codec.empty()) {
        env().setResultMsg("Codec is unspecified");
        return False;
    }
    const ipv4AddressBits group = connectionEndpointAddress();
    m_socketsRefused = !(IsMulticastAddress(group) && m_media.port != 0
                             ? openGroupSockets(group, m_media.port, sourceFilterAddress())
                             : openUnicastSockets());
    if (!m_socketsRefused && createSource()) return True;
    deInitiate();
    return False;
}

void MediaSubsession::deInitiate() {
    m_wayOpener.reset();
    Medium::close(m_rtcp);
    m_rtcp = nullptr;
    Medium::close(m_source);
    m_source = nullptr;
    m_rtcpSocket.reset();
    m_rtpSocket.reset();
}

// RTP on an even port, RTCP on the next (RFC 3550, 11).
bool MediaSubsession::openUnicastSockets() {
    constexpr int kAttempts = 64;
    std::vector<std::unique_ptr<Groupsock>> rejected;  // kept, so that the system offers others
    for (int i = 0; i < kAttempts; ++i) {
        auto rtp = Groupsock::open(env(), 0, 0);
        if (!rtp) return false;
        if (rtp->port() % 2 == 0) {
            if (auto rtcp = Groupsock::open(env(), 0, static_cast<portNumBits>(rtp->port() + 1))) {
                m_clientPort = rtp->port();
                m_rtpSocket = std::move(rtp);
                m_rtcpSocket = std::move(rtcp);
                return true;
            }
        }
        rejected.push_back(std::move(rtp));
    }
    env().setResultMsg("Failed to find a free pair of ports");
    return false;
}

bool MediaSubsession::openGroupSockets(ipv4AddressBits group, portNumBits port, ipv4AddressBits source) {
    if (port == 65535) {
        env().setResultMsg("No port is left for RTCP");
        return false;
    }
    if (!m_parent.mayJoinGroups()) {
        env().setResultMsg("Multicast groups must not be joined");
        m_groupRefused = true;
        return false;
    }
    const auto rtcpPort = static_cast<portNumBits>(port + 1);
    auto rtp = Groupsock::open(env(), group, port, source);
    auto rtcp = rtp ? Groupsock::open(env(), group, rtcpPort, source) : nullptr;
    m_groupRefused = !rtcp;
    if (m_groupRefused) return false;
    // Whoever enlarged the receive buffer meant the stream's, not that socket's.
    if (m_rtpSocket) {
        const unsigned size = getReceiveBufferSize(env(), m_rtpSocket->socketNum());
        if (getReceiveBufferSize(env(), rtp->socketNum()) < size)
            setReceiveBufferTo(env(), rtp->socketNum(), size);
    }
    m_wayOpener.reset();
    rtcp->setDestination(group, rtcpPort);
    if (m_source) m_source->replaceGroupsock(rtp.get());
    if (m_rtcp) m_rtcp->replaceGroupsock(rtcp.get());
    m_clientPort = port;
    m_rtpSocket = std::move(rtp);
    m_rtcpSocket = std::move(rtcp);
    return true;
}

bool MediaSubsession::createSource() {
    std::string error;
    auto depacketizer = live::rtp::makeDepacketizer(m_media, error);
    if (!depacketizer) {
        env().setResultMsg(error.c_str());
        return false;
    }
    m_source = new live::rtp::RtpFrameSource(env(), m_rtpSocket.get(), rtpPayloadFormat(), m_media.clockRate,
                                             std::move(depacketizer), m_parent.timeline());
    m_rtcp = RTCPInstance::createNew(env(), m_rtcpSocket.get(), *m_source);
    return true;
}

// Numeric addresses only: a description never makes us ask a name server.
ipv4AddressBits MediaSubsession::connectionEndpointAddress() const {
    return net::numericAddress(m_media.connection);
}
ipv4AddressBits MediaSubsession::sourceFilterAddress() const {
    return net::numericAddress(m_media.source);
}

void MediaSubsession::setPeer(const Peer& peer) {
    if (!m_source || !m_rtpSocket || !m_rtcpSocket) return;
    m_source->expectSender(peer.stated, peer.server, peer.ssrc);
    // Whoever really sends gets the reports; until then the server itself, since anybody's address can be
    // stated.
    if (peer.rtcpPort != 0) m_rtcpSocket->setDestination(peer.server, peer.rtcpPort);
    m_source->onSenderAddress([this, stated = peer.rtcpPort](ipv4AddressBits from, portNumBits port) {
        m_rtcpSocket->setDestination(from, stated != 0 ? stated : static_cast<portNumBits>(port + 1));
    });
    if (peer.rtpPort == 0 || peer.rtcpPort == 0) return;
    if (!m_wayOpener)
        m_wayOpener = std::make_unique<live::rtp::WayOpener>(env(), *m_rtpSocket, *m_rtcpSocket, *m_source);
    m_wayOpener->start(peer.stated, peer.server, peer.rtpPort, peer.rtcpPort);
}

bool MediaSubsession::moveToGroup(ipv4AddressBits group, portNumBits rtpPort, const Peer& peer) {
    if (m_source) m_source->expectSender(peer.stated, peer.server, peer.ssrc);
    if (m_rtpSocket && m_rtpSocket->groupAddress() == group && m_rtpSocket->port() == rtpPort) return true;
    return openGroupSockets(group, rtpPort, sourceFilterAddress());
}

bool MediaSubsession::receiveInterleaved(live::rtp::InterleavedConnection& connection, unsigned rtpChannel,
                                         unsigned rtcpChannel) {
    if (!m_source || !m_source->receiveInterleaved(connection, rtpChannel)) return false;
    return rtcpChannel == rtpChannel || !m_rtcp || m_rtcp->useInterleaved(connection, rtcpChannel);
}

void MediaSubsession::setRtpInfo(std::optional<std::uint32_t> timestamp) {
    if (m_source) m_source->timeline().setRtpInfo(timestamp);
}

double MediaSubsession::getNormalPlayTime(struct timeval const& presentationTime) {
    if (!m_source) return 0;
    const auto& current = m_source->currentTime();
    const std::int64_t distance = live::microsecondsBetween(live::toTimeval(current.wall), presentationTime);
    constexpr double kMicro = 1e-6;
    return std::max(static_cast<double>(current.position + distance) * kMicro, 0.0);
}
