#pragma once

#include "live/rtp/Depacketizer.h"

namespace live::rtp {

/// The format parameters that say how access unit headers are written (RFC 3640, 4.1).
struct Mpeg4GenericFormat {
    unsigned sizeLength = 0;
    unsigned indexLength = 0;
    unsigned indexDeltaLength = 0;
    unsigned ctsDeltaLength = 0;
    unsigned dtsDeltaLength = 0;
    bool randomAccessIndication = false;
    unsigned streamStateLength = 0;
    unsigned auxiliarySizeLength = 0;
    unsigned constantSize = 0;
    unsigned constantDuration = 0;  // in ticks; 0: not stated

    bool hasHeaders() const {
        return sizeLength + indexLength + indexDeltaLength + ctsDeltaLength + dtsDeltaLength +
                       streamStateLength >
                   0 ||
               randomAccessIndication;
    }
    /// Whether every length can be what it says.
    bool valid() const;
};

/// RFC 3640: one frame is one access unit. A packet holds several whole ones, or a fragment of one.
class Mpeg4GenericDepacketizer : public Depacketizer {
  public:
    /// `unitDuration`: ticks from one access unit to the next, where the format states none.
    Mpeg4GenericDepacketizer(const Mpeg4GenericFormat& format, unsigned unitDuration)
        : m_format(format),
          m_unitDuration(format.constantDuration ? format.constantDuration : unitDuration) {}
    void onPacket(const RtpPacket& packet, bool afterLoss, FrameQueue& frames) override;
    void reset() override { m_expected = 0; }

  private:
    struct UnitHeader {
        std::size_t size = 0;
        std::uint32_t indexDelta = 0;
    };
    bool readHeaders(ByteReader& reader);
    void onFragment(const RtpPacket& packet, Bytes data, std::size_t wholeSize, FrameQueue& frames);

    const Mpeg4GenericFormat m_format;
    const unsigned m_unitDuration;
    std::vector<UnitHeader> m_headers;  // of the packet at hand
    std::size_t m_expected = 0;         // size of the unit that fragments are collected for; 0: none
    std::uint32_t m_timestamp = 0;
};

}  // namespace live::rtp
