#pragma once

// A source of frames that arrive as RTP packets.

#include "live/media/FramedSource.h"
#include "live/net/Groupsock.h"

namespace live::rtp {
class ReceptionStats;
}

class RTPSource : public FramedSource {
  public:
    Boolean isRTPSource() const override { return True; }

    /// How long packets that are missing are waited for.
    virtual void setPacketReorderingThresholdTime(unsigned microseconds) = 0;
    /// Of the frame delivered last: its last packet's values, and whether its presentation time is the
    /// sender's.
    virtual Boolean curPacketMarkerBit() const = 0;
    virtual u_int16_t curPacketRTPSeqNum() const = 0;
    virtual u_int32_t curPacketRTPTimestamp() const = 0;
    virtual Boolean hasBeenSynchronizedUsingRTCP() = 0;

    /// The socket that was bound for this source, also while packets come another way.
    Groupsock* RTPgs() const { return m_groupsock; }
    unsigned char rtpPayloadFormat() const { return m_payloadFormat; }
    unsigned timestampFrequency() const { return m_timestampFrequency; }
    virtual live::rtp::ReceptionStats const& receptionStats() const = 0;

    /// Whether something is missing between the frame before it and the frame delivered last.
    virtual bool damagedBefore() const = 0;
    /// How long packets that are missing are waited for, and how long packets have lately waited at most.
    struct ReorderDelay {
        int64_t window = 0;  // microseconds
        int64_t held = 0;
    };
    virtual ReorderDelay reorderDelay() const = 0;

  protected:
    RTPSource(UsageEnvironment& env, Groupsock* groupsock, unsigned char payloadFormat, unsigned frequency)
        : FramedSource(env),
          m_groupsock(groupsock),
          m_payloadFormat(payloadFormat),
          m_timestampFrequency(frequency) {}

    Groupsock* m_groupsock;  // not owned

  private:
    const unsigned char m_payloadFormat;
    const unsigned m_timestampFrequency;
};
