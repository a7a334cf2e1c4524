#pragma once

// The RTP source: packets from a datagram socket or an RTSP connection, put in order, made into frames,
// timed.

#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "live/env/LifeFlag.h"
#include "live/rtp/Depacketizer.h"
#include "live/rtp/Interleaved.h"
#include "live/rtp/RTPSource.h"
#include "live/rtp/ReceptionStats.h"
#include "live/rtp/ReorderBuffer.h"
#include "live/rtp/SenderFilter.h"
#include "live/rtp/Timeline.h"

namespace live::rtp {

class RtpFrameSource final : public RTPSource, private InterleavedReceiver, private OrderedReceiver {
  public:
    /// The session's timeline lives longer.
    RtpFrameSource(UsageEnvironment& env, Groupsock* groupsock, unsigned char payloadType, unsigned clockRate,
                   std::unique_ptr<Depacketizer> depacketizer, SessionTimeline& timeline);
    ~RtpFrameSource() override;

    /// Packets come from here instead of the socket. False when the channel is taken.
    bool receiveInterleaved(InterleavedConnection& connection, unsigned channel);
    /// Packets come from this socket from now on.
    void replaceGroupsock(Groupsock* groupsock);

    /// Whose datagrams are taken: see SenderFilter. Another SSRC than the stated one has to prove itself.
    void expectSender(ipv4AddressBits stated, ipv4AddressBits server, std::optional<std::uint32_t> ssrc) {
        m_filter.expect(stated, server);
        m_expectedSsrc = ssrc;
    }
    /// Called with where the stream's packets come from: with the first one, and whenever that changes.
    void onSenderAddress(std::function<void(ipv4AddressBits, portNumBits)> told) {
        m_onSenderAddress = std::move(told);
    }
    /// Whether a control packet from there is the stream's; if not, it is counted.
    bool acceptsControlFrom(ipv4AddressBits from);

    /// To begin with; then the window follows how late packets are, from 10 to 300 ms. 0: never wait.
    void setPacketReorderingThresholdTime(unsigned microseconds) override;
    Boolean curPacketMarkerBit() const override { return m_current.marker; }
    u_int16_t curPacketRTPSeqNum() const override { return m_current.sequence; }
    u_int32_t curPacketRTPTimestamp() const override { return m_current.timestamp; }
    Boolean hasBeenSynchronizedUsingRTCP() override { return m_timeline.synchronized(); }
    ReceptionStats const& receptionStats() const override { return m_stats; }

    void onSenderReport(const SenderReport& report);
    std::optional<ReceptionReport> takeReceptionReport();
    bool isSender(std::uint32_t ssrc) const { return m_stats.hasPackets() && m_stats.ssrc() == ssrc; }
    bool hasPackets() const { return m_senders > 0; }

    StreamTimeline& timeline() { return m_timeline; }
    /// Of the frame delivered last.
    const StreamTimeline::Time& currentTime() const { return m_currentTime; }
    bool damagedBefore() const override { return m_current.damagedBefore; }
    ReorderDelay reorderDelay() const override;

  private:
    void doGetNextFrame() override;
    void doStopGettingFrames() override;

    void onReadable();
    void takeDatagram(Bytes bytes, ipv4AddressBits from, portNumBits port);
    void onPacket(const RtpPacket& packet, Bytes bytes);
    void acceptPacket(const RtpPacket& packet, Bytes bytes);
    void switchSender(std::uint32_t ssrc);
    void onInterleaved(Bytes packet) override;
    void onConnectionEnded(bool lost) override;
    void onOrderedPacket(Bytes packet, bool afterLoss) override;
    void leaveConnection();

    void armReorderTimer();
    void onReorderTimer();
    void deliverFrames();

    LifeFlag m_life;
    const std::unique_ptr<Depacketizer> m_depacketizer;
    ReorderBuffer m_reorder;
    FrameQueue m_frames;
    ReceptionStats m_stats;
    StreamTimeline m_timeline;
    SenderFilter m_filter;
    std::optional<std::uint32_t> m_expectedSsrc;
    std::function<void(ipv4AddressBits, portNumBits)> m_onSenderAddress;
    ipv4AddressBits m_toldAddress = 0;
    InterleavedConnection* m_connection = nullptr;
    std::vector<unsigned char> m_datagram;
    std::int64_t m_now = 0;  // of the batch of packets at hand
    std::int64_t m_wallNow = 0;

    bool m_reading = false;  // the socket is being read, or interleaved packets are taken
    bool m_delivering = false;
    unsigned m_thresholdMicroseconds = 100'000;
    TaskToken m_reorderTask = nullptr;
    TaskToken m_deliverTask = nullptr;

    unsigned m_senders =
        0;  // one more for each that took over: its timestamps have nothing to do with those before
    std::optional<SenderReport> m_earlyReport;  // from a sender that no packet has come from yet
    // A packet of a new sender waits for a second one, so that strays change nothing.
    std::vector<unsigned char> m_candidate;
    std::uint32_t m_candidateSsrc = 0;
    std::uint16_t m_candidateSequence = 0;

    FrameInfo m_current;
    StreamTimeline::Time m_currentTime;
};

}  // namespace live::rtp
