#pragma once

// The RTP source: packets from a datagram socket or an RTSP connection, put in order, made into frames,
// timed.

#include <memory>
#include <optional>
#include <vector>

#include "live/env/LifeFlag.h"
#include "live/rtp/Depacketizer.h"
#include "live/rtp/Interleaved.h"
#include "live/rtp/PresentationClock.h"
#include "live/rtp/RTPSource.h"
#include "live/rtp/ReceptionStats.h"
#include "live/rtp/ReorderBuffer.h"

namespace live::rtp {

class RtpFrameSource final : public RTPSource, private InterleavedReceiver, private OrderedReceiver {
  public:
    RtpFrameSource(UsageEnvironment& env, Groupsock* groupsock, unsigned char payloadType, unsigned clockRate,
                   std::unique_ptr<Depacketizer> depacketizer);
    ~RtpFrameSource() override;

    /// Packets come from here instead of the socket. False when the channel is taken.
    bool receiveInterleaved(InterleavedConnection& connection, unsigned channel);
    /// Packets come from this socket from now on.
    void replaceGroupsock(Groupsock* groupsock);

    void setPacketReorderingThresholdTime(unsigned microseconds) override;
    Boolean curPacketMarkerBit() const override { return m_current.marker; }
    u_int16_t curPacketRTPSeqNum() const override { return m_current.sequence; }
    u_int32_t curPacketRTPTimestamp() const override { return m_current.timestamp; }
    Boolean hasBeenSynchronizedUsingRTCP() override { return m_clock.synchronized(); }
    ReceptionStats const& receptionStats() const override { return m_stats; }

    void onSenderReport(const SenderReport& report);
    std::optional<ReceptionReport> takeReceptionReport();
    bool isSender(std::uint32_t ssrc) const { return m_stats.hasPackets() && m_stats.ssrc() == ssrc; }

    /// Of the frame delivered last.
    const PresentationClock::Time& currentTime() const { return m_currentTime; }
    /// One more for every sender that took over: its timestamps have nothing to do with those before.
    unsigned senders() const { return m_senders; }

  private:
    void doGetNextFrame() override;
    void doStopGettingFrames() override;

    void onReadable();
    void onPacket(Bytes bytes);
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
    PresentationClock m_clock;
    InterleavedConnection* m_connection = nullptr;
    std::vector<unsigned char> m_datagram;
    std::int64_t m_now = 0;  // of the batch of packets at hand
    std::int64_t m_wallNow = 0;

    bool m_reading = false;  // the socket is being read, or interleaved packets are taken
    bool m_delivering = false;
    unsigned m_thresholdMicroseconds = 100'000;
    TaskToken m_reorderTask = nullptr;
    TaskToken m_deliverTask = nullptr;

    unsigned m_senders = 0;
    std::optional<SenderReport> m_earlyReport;  // from a sender that no packet has come from yet
    // A packet of a new sender waits for a second one, so that strays change nothing.
    std::vector<unsigned char> m_candidate;
    std::uint32_t m_candidateSsrc = 0;
    std::uint16_t m_candidateSequence = 0;

    FrameInfo m_current;
    PresentationClock::Time m_currentTime;
};

}  // namespace live::rtp
