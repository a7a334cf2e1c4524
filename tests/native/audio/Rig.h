#pragma once

// An audio player's loop around a parameter block, on a clock and a device of the test's.

#include <algorithm>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <vector>

#include "audio/AudioLoop.h"
#include "tests/support/MediaPlatformFake.h"

namespace norix::test {

// Plays in simulated time and keeps what was played, the silence included.
class FakeDevice : public AudioDevice {
  public:
    bool Open(std::uint32_t samplesPerSecond) noexcept override {
        Close();
        ++opens;
        rate = samplesPerSecond;
        open = !refuse;
        return open;
    }
    void Close() noexcept override {
        Reset();
        open = false;
    }
    bool IsOpen() const noexcept override { return open; }
    bool Write(const std::shared_ptr<OutputBuffers>& owner, OutputBuffer& buffer) noexcept override {
        if (gone || !open) return false;
        const auto first = buffer.samples.begin();
        const auto last = first + static_cast<std::ptrdiff_t>(buffer.count);
        played.insert(played.end(), first, last);
        sizes.push_back(buffer.count);
        endMs = std::max(endMs, nowMs) + buffer.count * 1000.0 / rate / speed;
        m_queue.push_back({owner, &buffer, endMs});
        if (onWrite) onWrite();
        return true;
    }
    bool Reset() noexcept override {
        while (!m_queue.empty())
            Return();
        endMs = nowMs;
        return true;
    }
    std::uint32_t LastError() const noexcept override { return 6; }

    void AdvanceTo(double time) {
        nowMs = time;
        while (!stalled && !m_queue.empty() && m_queue.front().endMs <= nowMs)
            Return();
    }

    bool HoldsAll() const { return m_queue.size() == kOutputBufferCount; }

    bool open = false;
    bool refuse = false;   // can't be opened
    bool gone = false;     // refuses every buffer
    bool stalled = false;  // takes buffers and returns none
    int opens = 0;
    std::uint32_t rate = 8000;
    double speed = 1.0;  // of its clock
    double nowMs = 0;
    double endMs = 0;  // when all that was written will have been played
    std::vector<std::int16_t> played;
    std::vector<std::size_t> sizes;  // of the buffers
    std::function<void()> onWrite;

  private:
    struct Queued {
        std::shared_ptr<OutputBuffers> owner;
        OutputBuffer* buffer;
        double endMs;
    };
    void Return() {
        m_queue.front().owner->GiveBack(m_queue.front().buffer);
        m_queue.pop_front();
    }
    std::deque<Queued> m_queue;
};

class FakeClock final : public AudioClock {
  public:
    explicit FakeClock(FakeDevice& device) : m_device(device) {}

    std::uint32_t NowMs() noexcept override { return static_cast<std::uint32_t>(m_device.nowMs); }
    void SleepMs(std::uint32_t milliseconds) noexcept override {
        m_device.AdvanceTo(m_device.nowMs + std::max(milliseconds, leastSleepMs));
    }
    OutputBuffer* AwaitBuffer(OutputBuffers& buffers, std::uint32_t milliseconds) noexcept override {
        // Looking in vain takes real time.
        const auto look = [&] { return m_device.HoldsAll() ? nullptr : buffers.Take(0); };
        OutputBuffer* buffer = look();
        for (; !buffer && milliseconds != 0; --milliseconds) {
            m_device.AdvanceTo(m_device.nowMs + 1);
            if (onWait) onWait();
            buffer = look();
        }
        return buffer;
    }

    std::uint32_t leastSleepMs = 1;
    std::function<void()> onWait;

  private:
    FakeDevice& m_device;
};

struct Rig {
    explicit Rig(AudioCodec codec, const MediaSettings& settings = {}, std::uint32_t rate = 0)
        : shared(std::make_shared<CCtrlParam>(settings)), param(*shared) {
        auto owned = std::make_unique<FakeDevice>();
        device = owned.get();
        device->nowMs = 1000;
        clock = std::make_unique<FakeClock>(*device);
        param.videoCodec.Set(VideoCodec::H264);
        param.audioCodec.Set(codec);
        playback.param = shared;
        playback.device = std::move(owned);
        param.audioSampleRate.Set(rate);
        OpenForStream(param, *device);
        loop = std::make_unique<AudioLoop>(playback, *clock);
    }

    int Insert(const std::vector<std::uint8_t>& frame, std::uint32_t pts = 0) {
        return param.InsertFrameToAudioBuffer(frame.data(), frame.size(), pts);
    }
    // A frame that is due at once; what came of it. The device is given the time to play it.
    std::vector<std::int16_t> Play(const std::vector<std::uint8_t>& frame) {
        device->played.clear();
        device->sizes.clear();
        Insert(frame);
        loop->Step();
        std::vector<std::int16_t> sound = device->played;
        if (!m_cushioned && !sound.empty()) {
            // Before the very first sound there are 40 ms of silence.
            sound.erase(sound.begin(), sound.begin() + device->rate * 40 / 1000);
            m_cushioned = true;
        }
        device->AdvanceTo(std::max(device->nowMs, device->endMs));
        return sound;
    }

    const std::shared_ptr<CCtrlParam> shared;
    CCtrlParam& param;
    AudioPlayback playback;
    FakeDevice* device = nullptr;
    std::unique_ptr<FakeClock> clock;
    std::unique_ptr<AudioLoop> loop;

  private:
    bool m_cushioned = false;
};

}  // namespace norix::test
