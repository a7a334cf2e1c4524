#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "audio/AudioPlayback.h"

namespace norix {

/// The device with its five buffers, as the audio thread sees it: hands out free buffers and writes filled
/// ones, and gets over a device that vanishes. While there is none, nothing can be written, and every two
/// seconds one is looked for. Belongs to the audio thread.
class SoundOutput {
  public:
    SoundOutput(AudioPlayback& playback, AudioClock& clock);

    /// Makes the buffers unless they are there, for frames of so many samples.
    void EnsureBuffers(std::size_t samples);
    /// Makes new ones; what is still playing is cut off.
    void RenewBuffers(std::size_t samples);
    std::size_t Capacity() const { return m_buffers ? m_buffers->Capacity() : 0; }

    /// Opens the device again, at the stream's present rate.
    void Reopen();

    /// Whether there is a device. Looks for one when it is time to.
    bool Ready();

    /// A free buffer, or null after a wait of 100 ms. Buffers that don't come back for too long mean that the
    /// device is gone.
    OutputBuffer* Take();
    /// To the device. False when that fails, which means that it is gone.
    bool Write(OutputBuffer& buffer);
    void GiveBack(OutputBuffer& buffer) { m_buffers->GiveBack(&buffer); }

    /// Ends what is playing, trying every 100 ms as long as the thread's owner waits for it.
    void Finish();

  private:
    void Open();
    void Lose();
    void WriteCushion();
    std::uint32_t OverdueMs() const;

    AudioPlayback& m_playback;
    AudioClock& m_clock;
    std::shared_ptr<OutputBuffers> m_buffers;  // shared with the device
    std::uint32_t m_rate;                      // samples per second
    bool m_started = false;                    // something was written since the device was opened
    std::uint32_t m_lastWriteMs = 0;
    bool m_starved = false;            // the last wait for a buffer was in vain
    std::uint32_t m_lastReturnMs = 0;  // when a buffer was last free
    std::uint32_t m_lastTryMs;         // when the device was last opened, or found to be gone
    bool m_lost;
};

}  // namespace norix
