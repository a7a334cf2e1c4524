#pragma once

// Takes the frames out of a payload format's packets. Pure: packets in, frames into the queue.

#include <memory>
#include <string_view>

#include "live/rtp/FrameQueue.h"
#include "live/rtp/RtpPacket.h"

namespace live::rtp {

class Depacketizer {
  public:
    virtual ~Depacketizer() = default;

    /// Packets come in order; `afterLoss`: some are missing before this one, which the queue has been told. A
    /// frame that lacks any of its packets is not delivered.
    virtual void onPacket(const RtpPacket& packet, bool afterLoss, FrameQueue& frames) = 0;

    /// A new sender: what was begun is forgotten.
    virtual void reset() {}

  protected:
    static FrameInfo infoOf(const RtpPacket& packet) {
        return {packet.timestamp, packet.sequence, packet.marker, 0, false};
    }
};

}  // namespace live::rtp
