#pragma once

#include "live/rtp/Depacketizer.h"

namespace live::rtp {

/// RFC 3551 sample-based audio (PCMU, PCMA): every packet is a frame.
class SimpleAudioDepacketizer : public Depacketizer {
  public:
    explicit SimpleAudioDepacketizer(unsigned bytesPerTick) : m_bytesPerTick(bytesPerTick) {}
    void onPacket(const RtpPacket& packet, bool, FrameQueue& frames) override {
        FrameInfo info = infoOf(packet);
        info.duration = static_cast<std::uint32_t>(packet.payload.size() / m_bytesPerTick);
        frames.append(packet.payload);
        frames.commit(info);
    }

  private:
    const unsigned m_bytesPerTick;
};

}  // namespace live::rtp
