#pragma once

#include <atomic>
#include <memory>

#include "audio/AudioDevice.h"
#include "media/CtrlParam.h"

namespace norix {

/// What an audio player and its thread share. Both own it, so that a thread that had to be abandoned finds it
/// when it comes to itself.
struct AudioPlayback {
    /// Written by the owner before the thread starts, constant from then on.
    std::shared_ptr<CCtrlParam> param;
    bool enableTimeSync = true;  // sound that comes early is held until it is due

    /// The owner's until the thread starts, then the thread's.
    std::unique_ptr<AudioDevice> device;

    /// Cleared by the owner.
    std::atomic<bool> running{true};
};

/// Opens the device at the stream's sample rate; 8000 is assumed, and written down, where none is known.
bool OpenForStream(CCtrlParam& param, AudioDevice& device) noexcept;

}  // namespace norix
