#pragma once

#include "live/rtp/Depacketizer.h"

namespace live::rtp {

/// RFC 6184, packetization modes 0 and 1: one frame is one NAL unit, without start code.
class H264Depacketizer : public Depacketizer {
  public:
    void onPacket(const RtpPacket& packet, bool afterLoss, FrameQueue& frames) override;
    void reset() override { m_fragmented = false; }

  private:
    void onAggregate(const RtpPacket& packet, FrameQueue& frames);
    void onFragment(const RtpPacket& packet, FrameQueue& frames);
    void drop(FrameQueue& frames);

    bool m_fragmented = false;  // a fragmented NAL unit is open
    std::uint32_t m_timestamp = 0;
    unsigned m_type = 0;
};

}  // namespace live::rtp
