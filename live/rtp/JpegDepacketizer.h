#pragma once

#include <array>

#include "live/rtp/Depacketizer.h"
#include "live/rtp/JpegHeaders.h"

namespace live::rtp {

/// RFC 2435: one frame is one JPEG file, whose headers the packets only hint at and which are built again
/// here.
class JpegDepacketizer : public Depacketizer {
  public:
    /// The dimensions are for pictures that are too large for the payload format's own fields, and may be 0.
    JpegDepacketizer(unsigned width, unsigned height) : m_width(width), m_height(height) {}
    void onPacket(const RtpPacket& packet, bool afterLoss, FrameQueue& frames) override;
    void reset() override;

  private:
    bool start(const JpegHeaders& main, unsigned q, ByteReader& reader, FrameQueue& frames);
    bool findTables(unsigned q, ByteReader& reader, JpegHeaders& headers);
    void drop(FrameQueue& frames);
    void finish(const FrameInfo& info, FrameQueue& frames);

    const unsigned m_width;
    const unsigned m_height;
    bool m_open = false;
    std::size_t m_headerSize = 0;  // of the open frame
    FrameInfo m_last;
    // Tables that a sender gave once for all later frames of the same Q (128 to 254).
    struct CachedTables {
        std::vector<unsigned char> bytes;
        std::uint8_t precision = 0;
    };
    std::array<CachedTables, 128> m_cached;
    std::vector<unsigned char> m_scaled;  // tables computed from the Q below
    unsigned m_scaledQ = 0;
    std::vector<unsigned char> m_headerBytes;
};

}  // namespace live::rtp
