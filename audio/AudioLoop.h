#pragma once

#include <span>

#include "audio/AacVoice.h"
#include "audio/SoundOutput.h"
#include "audio/VoiceGain.h"
#include "media/TimeSync.h"

namespace norix {

/// The sound in a frame of G.711: all of it, but for frames of the HTTP receiver, which comes with Motion
/// JPEG. Those may begin with a header of 32 bytes.
std::span<const std::uint8_t> SoundOfFrame(const AudioFrameRecord& frame, VideoCodec videoCodec) noexcept;

/// The audio thread's work: takes audio frames from the parameter block when they are due, turns them into
/// samples and writes these to the device. Belongs to that thread.
class AudioLoop {
  public:
    AudioLoop(AudioPlayback& playback, AudioClock& clock);

    /// Until running is cleared; then ends what is playing.
    void Run();

    /// One round: waits at most 10 ms for a frame and deals with it.
    void Step();

  private:
    void Log(std::uint32_t pts, const CTimeSync::Verdict& verdict) const;
    void Hold();
    void Play(const AudioFrameRecord& frame);
    void PlayAac(const AudioFrameRecord& frame);
    void PlayMuLaw(const AudioFrameRecord& frame);
    OutputBuffer* WaitForBuffer(const AudioFrameRecord& frame);
    bool Write(OutputBuffer& buffer);
    bool IsRunning() const { return m_playback.running.load(); }

    AudioPlayback& m_playback;
    AudioClock& m_clock;
    CCtrlParam& m_param;
    SoundOutput m_output;
    AacVoice m_aac;
    VoiceGain m_gain;
    CTimeSync m_sync;
    const std::int32_t m_maxDiffMs;
};

}  // namespace norix
