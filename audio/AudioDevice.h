#pragma once

#include <cstdint>
#include <memory>

#include "audio/OutputBuffers.h"

namespace norix {

/// Where sound goes: 16-bit mono samples. One thread at a time; it may give buffers back on threads of its
/// own. Nothing here throws.
class AudioDevice {
  public:
    virtual ~AudioDevice() = default;

    /// Opens the default device; what was open is closed first.
    virtual bool Open(std::uint32_t samplesPerSecond) noexcept = 0;

    /// Afterwards no buffer is given back any more.
    virtual void Close() noexcept = 0;

    virtual bool IsOpen() const noexcept = 0;

    /// Queues a buffer of `owner`. When it has been played it is given back to `owner`. False when the device
    /// doesn't take it; it still is the caller's then.
    virtual bool Write(const std::shared_ptr<OutputBuffers>& owner, OutputBuffer& buffer) noexcept = 0;

    /// Ends what is playing: all buffers are given back. True for a device that isn't open.
    virtual bool Reset() noexcept = 0;

    /// What the system returned with the last failure.
    virtual std::uint32_t LastError() const noexcept = 0;
};

/// Time as the player sees it.
class AudioClock {
  public:
    virtual ~AudioClock() = default;
    virtual std::uint32_t NowMs() noexcept = 0;  // wraps
    virtual void SleepMs(std::uint32_t milliseconds) noexcept = 0;
    virtual OutputBuffer* AwaitBuffer(OutputBuffers& buffers, std::uint32_t milliseconds) noexcept = 0;
};

}  // namespace norix
