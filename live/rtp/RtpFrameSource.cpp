#include "live/rtp/RtpFrameSource.h"

#include <algorithm>
#include <cstring>

#include "live/env/Clock.h"

namespace live::rtp {
namespace {
constexpr std::size_t kMaxDatagram = 65536;
// A socket that never runs dry must not keep the others waiting.
constexpr int kMaxBatch = 256;
constexpr std::int64_t kLeastWindow = 10'000;  // microseconds
constexpr std::int64_t kMostWindow = 300'000;
}  // namespace

RtpFrameSource::RtpFrameSource(UsageEnvironment& env, Groupsock* groupsock, unsigned char payloadType,
                               unsigned clockRate, std::unique_ptr<Depacketizer> depacketizer,
                               SessionTimeline& timeline)
    : RTPSource(env, groupsock, payloadType, clockRate),
      m_depacketizer(std::move(depacketizer)),
      m_stats(clockRate),
      m_timeline(timeline, clockRate),
      m_datagram(kMaxDatagram) {
    setPacketReorderingThresholdTime(m_thresholdMicroseconds);
}

RtpFrameSource::~RtpFrameSource() {
    doStopGettingFrames();
    leaveConnection();
    envir().taskScheduler().unscheduleDelayedTask(m_reorderTask);
    envir().taskScheduler().unscheduleDelayedTask(m_deliverTask);
}

bool RtpFrameSource::receiveInterleaved(InterleavedConnection& connection, unsigned channel) {
    leaveConnection();
    if (!connection.addReceiver(channel, *this)) return false;
    if (m_reading && m_groupsock) envir().taskScheduler().disableBackgroundHandling(m_groupsock->socketNum());
    m_connection = &connection;
    // The connection keeps the order: what is missing has not been sent.
    m_reorder.setWindow(ReorderWindow(0));
    return true;
}

void RtpFrameSource::replaceGroupsock(Groupsock* groupsock) {
    const bool wasReading = m_reading;
    doStopGettingFrames();
    m_groupsock = groupsock;
    if (wasReading) doGetNextFrame();
}

void RtpFrameSource::setPacketReorderingThresholdTime(unsigned microseconds) {
    m_thresholdMicroseconds = microseconds;
    if (m_connection) return;
    m_reorder.setWindow(microseconds == 0 ? ReorderWindow(0)
                                          : ReorderWindow(microseconds, kLeastWindow, kMostWindow));
}

void RtpFrameSource::doGetNextFrame() {
    if (!m_reading) {
        m_reading = true;
        if (!m_connection && m_groupsock) {
            envir().taskScheduler().setBackgroundHandling(
                m_groupsock->socketNum(), SOCKET_READABLE,
                [](void* self, int) { static_cast<RtpFrameSource*>(self)->onReadable(); }, this);
        }
    }
    // Not from here: the consumer would be called while it is asking.
    if (!m_delivering && !m_frames.empty() && !m_deliverTask) {
        m_deliverTask = envir().taskScheduler().scheduleDelayedTask(
            0,
            [](void* self) {
                static_cast<RtpFrameSource*>(self)->m_deliverTask = nullptr;
                static_cast<RtpFrameSource*>(self)->deliverFrames();
            },
            this);
    }
}

void RtpFrameSource::doStopGettingFrames() {
    envir().taskScheduler().unscheduleDelayedTask(m_deliverTask);
    if (!m_reading) return;
    m_reading = false;
    if (!m_connection && m_groupsock)
        envir().taskScheduler().disableBackgroundHandling(m_groupsock->socketNum());
}

void RtpFrameSource::onReadable() {
    const LifeFlag::Watch alive(m_life);
    m_now = steadyMicroseconds();
    m_wallNow = wallMicroseconds();
    for (int i = 0; i < kMaxBatch && m_reading; ++i) {
        ipv4AddressBits from = 0;
        portNumBits port = 0;
        const std::ptrdiff_t size = m_groupsock->receive(m_datagram, from, port);
        if (size < 0) break;
        takeDatagram(Bytes(m_datagram).first(static_cast<std::size_t>(size)), from, port);
        if (!alive) return;
    }
    armReorderTimer();
}

void RtpFrameSource::onInterleaved(Bytes packet) {
    if (!m_reading) return;
    const LifeFlag::Watch alive(m_life);
    m_now = steadyMicroseconds();
    m_wallNow = wallMicroseconds();
    if (const auto parsed = parseRtpPacket(packet); parsed && parsed->payloadType == rtpPayloadFormat())
        onPacket(*parsed, packet);
    if (alive) armReorderTimer();
}

void RtpFrameSource::onConnectionEnded(bool lost) {
    m_connection = nullptr;
    m_reading = false;
    if (lost) handleClosure();
}

void RtpFrameSource::leaveConnection() {
    if (m_connection) m_connection->removeReceiver(*this);
    m_connection = nullptr;
}

void RtpFrameSource::takeDatagram(Bytes bytes, ipv4AddressBits from, portNumBits port) {
    const auto packet = parseRtpPacket(bytes);
    const bool valid = packet && packet->payloadType == rtpPayloadFormat();
    if (!m_filter.accepts(from, valid, m_now)) {
        m_stats.onForeign();
        return;
    }
    if (!valid) return;
    if (m_onSenderAddress && from != m_toldAddress && (m_senders == 0 || packet->ssrc == m_stats.ssrc())) {
        m_toldAddress = from;
        m_onSenderAddress(from, port);
    }
    onPacket(*packet, bytes);
}

bool RtpFrameSource::acceptsControlFrom(ipv4AddressBits from) {
    if (m_filter.accepts(from, false, steadyMicroseconds())) return true;
    m_stats.onForeign();
    return false;
}

RTPSource::ReorderDelay RtpFrameSource::reorderDelay() const {
    const std::int64_t now = steadyMicroseconds();
    return {m_reorder.window(now), m_reorder.held(now)};
}

void RtpFrameSource::onPacket(const RtpPacket& packet, Bytes bytes) {
    const bool known = m_senders > 0 && packet.ssrc == m_stats.ssrc();
    const bool expected = m_expectedSsrc ? packet.ssrc == *m_expectedSsrc : m_senders == 0;
    if (!known && expected) {
        switchSender(packet.ssrc);
    } else if (!known) {
        const bool second = !m_candidate.empty() && m_candidateSsrc == packet.ssrc &&
                            static_cast<std::uint16_t>(m_candidateSequence + 1) == packet.sequence;
        if (!second) {
            m_candidate.assign(bytes.begin(), bytes.end());
            m_candidateSsrc = packet.ssrc;
            m_candidateSequence = packet.sequence;
            return;
        }
        switchSender(packet.ssrc);
        if (const auto first = parseRtpPacket(m_candidate)) m_stats.onPacket(*first, m_now);
        m_reorder.push(m_candidateSequence, m_candidate, m_now, *this);
    }
    m_candidate.clear();
    acceptPacket(packet, bytes);
}

void RtpFrameSource::acceptPacket(const RtpPacket& packet, Bytes bytes) {
    m_stats.onPacket(packet, m_now);
    m_reorder.push(packet.sequence, bytes, m_now, *this);
    deliverFrames();
}

void RtpFrameSource::switchSender(std::uint32_t ssrc) {
    ++m_senders;
    m_stats.reset(ssrc);
    m_reorder.reset();
    m_timeline.onNewSender();
    m_depacketizer->reset();
    m_frames.discard();
    if (m_senders > 1) m_frames.noteMissing();
    if (m_earlyReport && m_earlyReport->ssrc == ssrc) {
        m_timeline.onSenderReport(*m_earlyReport);
        m_stats.onSenderReport(*m_earlyReport, m_now);
    }
    m_earlyReport.reset();
}

void RtpFrameSource::onOrderedPacket(Bytes bytes, bool afterLoss) {
    if (afterLoss) m_frames.noteMissing();
    if (const auto packet = parseRtpPacket(bytes)) m_depacketizer->onPacket(*packet, afterLoss, m_frames);
}

void RtpFrameSource::armReorderTimer() {
    const auto deadline = m_reorder.deadline();
    if (!deadline || m_reorderTask) return;
    m_reorderTask = envir().taskScheduler().scheduleDelayedTask(
        *deadline - steadyMicroseconds(),
        [](void* self) { static_cast<RtpFrameSource*>(self)->onReorderTimer(); }, this);
}

void RtpFrameSource::onReorderTimer() {
    const LifeFlag::Watch alive(m_life);
    m_reorderTask = nullptr;
    m_now = steadyMicroseconds();
    m_wallNow = wallMicroseconds();
    m_reorder.expire(m_now, *this);
    deliverFrames();
    if (alive) armReorderTimer();
}

void RtpFrameSource::deliverFrames() {
    if (m_delivering) return;
    const LifeFlag::Watch alive(m_life);
    m_delivering = true;
    while (isCurrentlyAwaitingData() && !m_frames.empty()) {
        const FrameQueue::Frame frame = m_frames.front();
        const std::size_t size = std::min<std::size_t>(frame.bytes.size(), maxFrameSize());
        const std::size_t truncated = frame.bytes.size() - size;
        std::memcpy(frameTo(), frame.bytes.data(), size);
        m_current = frame.info;
        m_currentTime = m_timeline.at(frame.info.timestamp, m_now, m_wallNow);
        m_frames.pop();
        const auto duration =
            std::int64_t{m_current.duration} * kMicrosecondsPerSecond / timestampFrequency();
        deliver(static_cast<unsigned>(size), static_cast<unsigned>(truncated), toTimeval(m_currentTime.wall),
                static_cast<unsigned>(duration));
        if (!alive) return;
    }
    m_delivering = false;
}

void RtpFrameSource::onSenderReport(const SenderReport& report) {
    if (!isSender(report.ssrc)) {
        m_earlyReport = report;
        return;
    }
    m_timeline.onSenderReport(report);
    m_stats.onSenderReport(report, steadyMicroseconds());
}

std::optional<ReceptionReport> RtpFrameSource::takeReceptionReport() {
    if (!m_stats.hasPackets()) return std::nullopt;
    return m_stats.takeReport(steadyMicroseconds());
}

}  // namespace live::rtp
