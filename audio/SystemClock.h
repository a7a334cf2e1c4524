#pragma once

#include "audio/AudioDevice.h"
#include "media/MediaPlatform.h"

namespace norix {

/// The real time.
class SystemClock final : public AudioClock {
  public:
    std::uint32_t NowMs() noexcept override { return platform::TimerMs(); }
    void SleepMs(std::uint32_t milliseconds) noexcept override { platform::SleepMs(milliseconds); }
    OutputBuffer* AwaitBuffer(OutputBuffers& buffers, std::uint32_t milliseconds) noexcept override {
        return buffers.Take(milliseconds);
    }
};

}  // namespace norix
