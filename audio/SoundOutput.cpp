#include "audio/SoundOutput.h"

#include <algorithm>

#include "util/Log.h"
#include "util/StopRule.h"

namespace norix {
namespace {

constexpr std::uint32_t kDefaultSampleRate = 8000;
constexpr std::uint32_t kBufferWaitMs = 100;
constexpr std::uint32_t kShortWaitMs = 10;
constexpr std::uint32_t kReopenMs = 2000;
// Beyond the time that a buffer takes to play: a device that returned none for so long isn't waited for any
// more, so that the queue is drained, and is given up.
constexpr std::uint32_t kOverdueMs = 300;
constexpr std::uint32_t kStalledMs = 2000;
// Silence before the sound begins, and before it goes on after a pause: frames that then come later than the
// first one did find the device still busy.
constexpr std::uint32_t kCushionMs = 40;
constexpr std::uint32_t kPauseMs = 1000;
// A stream whose first frame is tiny would otherwise be played in tiny pieces, five of which bridge nothing.
constexpr std::size_t kLeastSamples = 256;

}  // namespace

bool OpenForStream(CCtrlParam& param, AudioDevice& device) noexcept {
    if (param.audioSampleRate.Get() == 0) param.audioSampleRate.Set(kDefaultSampleRate);
    return device.Open(param.audioSampleRate.Get());
}

SoundOutput::SoundOutput(AudioPlayback& playback, AudioClock& clock)
    : m_playback(playback),
      m_clock(clock),
      m_rate(playback.param->audioSampleRate.Get()),
      m_lastTryMs(clock.NowMs()),
      m_lost(!playback.device->IsOpen()) {}

void SoundOutput::EnsureBuffers(std::size_t samples) {
    if (!m_buffers) RenewBuffers(samples);
}

void SoundOutput::RenewBuffers(std::size_t samples) {
    if (m_buffers) m_playback.device->Reset();
    m_buffers = std::make_shared<OutputBuffers>(std::max(samples, kLeastSamples));
    m_lastReturnMs = m_clock.NowMs();
    m_started = false;
}

void SoundOutput::Open() {
    CCtrlParam& param = *m_playback.param;
    m_rate = param.audioSampleRate.Get();
    m_lost = !OpenForStream(param, *m_playback.device);
    m_lastTryMs = m_clock.NowMs();
    // The old device may have kept some buffers, or may give them back late: to the old ones.
    if (!m_lost && m_buffers) RenewBuffers(m_buffers->Capacity());
}

void SoundOutput::Reopen() {
    Open();
    if (m_lost) {
        NORIX_LOG("CAudioControl::OpenDevice", 0, "no sound device for %u Hz (error %u)", m_rate,
                  m_playback.device->LastError());
    }
}

bool SoundOutput::Ready() {
    if (m_lost && m_clock.NowMs() - m_lastTryMs >= kReopenMs) {
        Open();
        if (!m_lost) NORIX_LOG("CAudioControl::DecodeAudio", 0, "the sound device is there again");
    }
    return !m_lost;
}

// For how long no buffer has come back although one should have.
std::uint32_t SoundOutput::OverdueMs() const {
    const std::uint64_t playing = m_buffers->Capacity() * std::uint64_t{1000} / std::max(m_rate, 1u);
    const std::uint32_t waiting = m_clock.NowMs() - m_lastReturnMs;
    return waiting > playing ? waiting - static_cast<std::uint32_t>(playing) : 0;
}

OutputBuffer* SoundOutput::Take() {
    OutputBuffer* const buffer =
        m_clock.AwaitBuffer(*m_buffers, OverdueMs() > kOverdueMs && m_starved ? kShortWaitMs : kBufferWaitMs);
    m_starved = !buffer;
    if (buffer) {
        m_lastReturnMs = m_clock.NowMs();
    } else if (OverdueMs() > kStalledMs) {
        Lose();
    }
    return buffer;
}

void SoundOutput::WriteCushion() {
    std::size_t left = m_rate * std::uint64_t{kCushionMs} / 1000;
    while (left != 0) {
        OutputBuffer* const silence = m_clock.AwaitBuffer(*m_buffers, 0);
        if (!silence) return;
        silence->count = std::min(left, silence->samples.size());
        std::fill_n(silence->samples.begin(), silence->count, std::int16_t{0});
        left -= silence->count;
        if (!m_playback.device->Write(m_buffers, *silence)) return GiveBack(*silence);
    }
}

bool SoundOutput::Write(OutputBuffer& buffer) {
    const std::uint32_t now = m_clock.NowMs();
    if (!m_started || now - m_lastWriteMs > kPauseMs) WriteCushion();
    m_started = true;
    m_lastWriteMs = now;
    if (m_playback.device->Write(m_buffers, buffer)) return true;
    GiveBack(buffer);
    Lose();
    return false;
}

void SoundOutput::Lose() {
    NORIX_LOG("CAudioControl::DecodeAudio", 1,
              "the sound device is gone (error %u), trying again every %u ms", m_playback.device->LastError(),
              kReopenMs);
    m_playback.device->Close();
    m_lost = true;
    m_lastTryMs = m_clock.NowMs();
}

void SoundOutput::Finish() {
    for (int attempt = 0; attempt < util::kStopAttempts && !m_playback.device->Reset(); ++attempt)
        m_clock.SleepMs(util::kStopWaitMs);
}

}  // namespace norix
