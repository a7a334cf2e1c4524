#include "audio/AudioLoop.h"

#include <algorithm>
#include <array>

#include "audio/G711.h"
#include "util/Log.h"

namespace norix {
namespace {

constexpr std::uint32_t kEarlyPollMs = 1;
constexpr std::size_t kHttpHeaderBytes = 32;
constexpr std::array<std::uint8_t, 4> kHttpHeaderStart = {0x00, 0x00, 0x01, 0xC0};

}  // namespace

std::span<const std::uint8_t> SoundOfFrame(const AudioFrameRecord& frame, VideoCodec videoCodec) noexcept {
    const std::span<const std::uint8_t> whole(frame.data.get(), frame.storedLength);
    if (videoCodec != VideoCodec::Mjpeg || whole.size() < kHttpHeaderStart.size()) return whole;
    if (!std::equal(kHttpHeaderStart.begin(), kHttpHeaderStart.end(), whole.begin())) return whole;
    return whole.subspan(std::min(kHttpHeaderBytes, whole.size()));
}

AudioLoop::AudioLoop(AudioPlayback& playback, AudioClock& clock)
    : m_playback(playback),
      m_clock(clock),
      m_param(*playback.param),
      m_output(playback, clock),
      m_aac(m_param, m_output),
      m_sync(AudioTimeRules(playback.enableTimeSync), clock.NowMs()),
      m_maxDiffMs(static_cast<std::int32_t>(AudioTimeRules(true).maxDiffMs)) {}

void AudioLoop::Run() {
    const platform::FineTimer fine;
    while (IsRunning())
        Step();
    m_output.Finish();
}

void AudioLoop::Log(std::uint32_t pts, const CTimeSync::Verdict& verdict) const {
    if (!util::Switches().timeSync) return;
    NORIX_LOG("CAudioControl::DecodeAudio", 0,
              "DecodeAudio(pts=%u) sys_time = %u, cur_diff = %d, prev_diff = %d (ms)", pts, verdict.sysTime,
              verdict.curDiff, verdict.prevDiff);
    if (verdict.action == CTimeSync::Action::Rebase) {
        NORIX_LOG("CAudioControl::DecodeAudio", 0,
                  "DecodeAudio(pts=%u) prev_diff = %d > max_diff = %d (ms), reset time sync", pts,
                  verdict.prevDiff, m_maxDiffMs);
    }
    if (verdict.late) {
        NORIX_LOG("CAudioControl::DecodeAudio", 0,
                  "DecodeAudio(pts=%u) cur_diff = %d > max_diff = %d (ms), reset time sync", pts,
                  verdict.curDiff, m_maxDiffMs);
    }
}

void AudioLoop::Step() {
    AudioFrameRecord* record = nullptr;
    if (m_param.GetFilledAudioFrame(&record) != kResultOk) return;
    m_output.EnsureBuffers(record->storedLength);
    // Without a device nothing is worth waiting for.
    if (m_output.Ready()) {
        const CTimeSync::Verdict verdict = m_sync.Decide(record->pts, m_clock.NowMs());
        Log(record->pts, verdict);
        if (verdict.action != CTimeSync::Action::Show) {
            m_param.PutFilledAudioFrame(record, 0);
            if (verdict.action == CTimeSync::Action::Hold) Hold();
            return;
        }
        Play(*record);
    }
    m_param.PutEmptyAudioFrame(record);
}

// To hold sound while the receiver has no free record would cost what it receives meanwhile. That could go on
// for ever: what is received between two drops leaves holes in time, which are waited for, which costs as
// much again.
void AudioLoop::Hold() {
    if (m_param.HasEmptyAudioFrame()) {
        m_clock.SleepMs(kEarlyPollMs);
    } else {
        m_sync.Resync();
    }
}

void AudioLoop::Play(const AudioFrameRecord& frame) {
    if (!m_param.decodeAV.Get() || frame.storedLength == 0) return;
    switch (m_param.audioCodec.Get()) {
        case AudioCodec::Aac:
            PlayAac(frame);
            break;
        case AudioCodec::Pcmu:
            PlayMuLaw(frame);
            break;
        default:
            break;
    }
}

void AudioLoop::PlayAac(const AudioFrameRecord& frame) {
    if (!m_aac.Prepare() || !m_output.Ready()) return;
    OutputBuffer* const buffer = WaitForBuffer(frame);
    if (!buffer) return;
    if (m_aac.Decode(frame, *buffer)) {
        Write(*buffer);
    } else {
        m_output.GiveBack(*buffer);
    }
}

// A frame that is longer than the first one was takes several buffers.
void AudioLoop::PlayMuLaw(const AudioFrameRecord& frame) {
    std::span<const std::uint8_t> sound = SoundOfFrame(frame, m_param.videoCodec.Get());
    while (!sound.empty()) {
        OutputBuffer* const buffer = WaitForBuffer(frame);
        if (!buffer) return;
        buffer->count = std::min(sound.size(), buffer->samples.size());
        ExpandMuLaw(sound.data(), buffer->count, buffer->samples.data());
        sound = sound.subspan(buffer->count);
        if (!Write(*buffer)) return;
    }
}

OutputBuffer* AudioLoop::WaitForBuffer(const AudioFrameRecord& frame) {
    while (true) {
        OutputBuffer* const buffer = m_output.Take();
        if (buffer || !IsRunning() || !m_output.Ready()) return buffer;
        if (m_param.Settings().enableDisplayFrameDrop) {
            NORIX_LOG("CAudioControl::DecodeAudio", 0, "DecodeAudio(pts=%u) drop audio frame (size=%d)",
                      frame.pts, static_cast<int>(frame.storedLength));
            return nullptr;
        }
    }
}

bool AudioLoop::Write(OutputBuffer& buffer) {
    std::int32_t gain = m_param.voiceMute.Get() ? 0 : GainOfVolume(m_param.voiceVolume.Get());
    // Who talks to the camera would hear himself, as the camera hears him.
    if (m_param.talkers.load(std::memory_order_relaxed) > 0) {
        const std::int64_t lower = GainOfAttenuation(m_param.talkAttenuation.Get());
        gain = static_cast<std::int32_t>(gain * lower / kUnityGain);
    }
    m_gain.Apply(buffer.samples.data(), buffer.count, gain);
    return m_output.Write(buffer);
}

}  // namespace norix
