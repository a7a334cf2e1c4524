#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace norix {

/// A microphone: 16-bit mono samples in blocks of 64 ms. Opened by one thread, used by another from then on;
/// nothing here throws, and nothing but Open, Start and Stop blocks.
class VoiceInput {
  public:
    virtual ~VoiceInput() = default;

    /// Opens the default device at this rate, or at another that it takes; see Rate. What was open is closed
    /// first.
    virtual bool Open(std::uint32_t samplesPerSecond) noexcept = 0;
    virtual std::uint32_t Rate() const noexcept = 0;

    /// Begins to fill blocks.
    virtual bool Start() noexcept = 0;
    /// The microphone is off from its return on; the device is closed.
    virtual void Stop() noexcept = 0;

    /// A semaphore that counts the blocks that are filled.
    virtual HANDLE Filled() const noexcept = 0;
    /// The oldest filled block, once its count has been taken from the semaphore. Valid until GiveBack.
    virtual std::span<const std::int16_t> Take() noexcept = 0;
    /// The block that was taken last is to be filled again. False when the device doesn't take it: it is
    /// gone.
    virtual bool GiveBack() noexcept = 0;

    /// What the system returned with the last failure.
    virtual std::uint32_t LastError() const noexcept = 0;
};

/// The samples of a block at a rate: 512, which are 1024 bytes, at 8000 Hz.
inline constexpr std::size_t BlockSamples(std::uint32_t samplesPerSecond) {
    constexpr std::size_t kBlockMs = 64;
    return samplesPerSecond * kBlockMs / 1000;
}

}  // namespace norix
