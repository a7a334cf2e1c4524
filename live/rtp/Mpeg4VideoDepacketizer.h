#pragma once

#include "live/rtp/Depacketizer.h"

namespace live::rtp {

/// RFC 6416, MP4V-ES: the packets of one timestamp are one frame. It ends with the marker, or, with senders
/// that set none, where the next timestamp begins. A packet that holds several pictures, as some senders make
/// of small ones, is as many frames; the time between those is taken from the packets before.
class Mpeg4VideoDepacketizer : public Depacketizer {
  public:
    void onPacket(const RtpPacket& packet, bool afterLoss, FrameQueue& frames) override;
    void reset() override { m_begun = false; }

  private:
    enum class State {
        Idle,      // the last frame is complete
        Open,      // a frame is being put together
        Skipping,  // the rest of a frame that lacks packets
    };
    void finish(FrameQueue& frames);

    bool m_begun = false;           // has seen a packet
    unsigned m_packets = 0;         // of the open frame
    unsigned m_pictures = 0;        // of the frame before
    std::uint32_t m_timestamp = 0;  // of the frame before
    State m_state = State::Idle;
    FrameInfo m_last;
};

}  // namespace live::rtp
