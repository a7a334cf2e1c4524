#pragma once

#include "live/rtp/Depacketizer.h"

namespace live::rtp {

/// RFC 7798: one frame is one NAL unit, without start code. The marker is that of the packet's last unit:
/// with it, the picture is complete. Decoding order numbers are skipped: units count in the order in which
/// they are sent.
class H265Depacketizer : public Depacketizer {
  public:
    /// `orderNumbers`: packets carry them (sprop-max-don-diff is above 0).
    explicit H265Depacketizer(bool orderNumbers) : m_orderNumbers(orderNumbers) {}

    void onPacket(const RtpPacket& packet, bool afterLoss, FrameQueue& frames) override;
    void reset() override { m_fragmented = false; }

  private:
    void onAggregate(ByteReader reader, const RtpPacket& packet, FrameQueue& frames);
    void onFragment(Bytes header, ByteReader reader, const RtpPacket& packet, FrameQueue& frames);
    void onSingle(Bytes header, ByteReader reader, const RtpPacket& packet, FrameQueue& frames);
    void drop(FrameQueue& frames);

    const bool m_orderNumbers;
    bool m_fragmented = false;  // a fragmented NAL unit is open
    std::uint32_t m_timestamp = 0;
    unsigned m_type = 0;
};

}  // namespace live::rtp
