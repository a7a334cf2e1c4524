#pragma once

// A decoder's two loops around a parameter block, with a sink that remembers what it was shown. The loops are
// stepped by the test, or run on threads of their own.

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "render/decode/DecodeLoop.h"
#include "render/present/DisplayLoop.h"
#include "tests/native/codec/Corpus.h"
#include "tests/support/MediaPlatformFake.h"

namespace norix::test {

using codec::test::Bytes;

struct ShownPicture {
    std::uint32_t pts;
    PixelSize size;
    std::array<bool, kRegionCount> drawn;
};

class FakeSink final : public PictureSink {
  public:
    explicit FakeSink(codec::PixelFormat format, bool refuses = false) : refuse(refuses), m_format(format) {}

    codec::PixelFormat Format() const override { return m_format; }
    bool Prepare(PixelSize size) override {
        m_preparing = true;
        prepared.push_back(size);
        std::this_thread::yield();
        m_preparing = false;
        return !refuse;
    }
    void Show(const DisplayFrame& frame, const std::array<bool, kRegionCount>& drawn) override {
        shownWhilePreparing = shownWhilePreparing || m_preparing;
        wrongSize = wrongSize || prepared.empty() || !(prepared.back() == frame.size);
        // Reads the whole picture, so that a sanitizer sees one that isn't there.
        std::uint32_t sum = 0;
        const std::size_t bytes = PictureSizeBytes(frame.format, frame.size);
        for (std::size_t i = 0; i < bytes; i += 61)
            sum += frame.picture.Data()[i];
        checksum = sum;
        std::lock_guard<std::mutex> lock(m_lock);
        m_shown.push_back({frame.pts, frame.size, drawn});
    }
    void DisplayChanged() override { ++displayChanges; }
    bool IsSeen() const override { return seen; }
    bool HasFailed() const override { return failed; }
    std::shared_ptr<PictureSink> Substitute() override { return substitute; }

    std::vector<ShownPicture> Shown() const {
        std::lock_guard<std::mutex> lock(m_lock);
        return m_shown;
    }

    // Not locked: the gate keeps Prepare and Show apart.
    std::vector<PixelSize> prepared;
    bool shownWhilePreparing = false;
    bool wrongSize = false;
    std::uint32_t checksum = 0;
    int displayChanges = 0;

    std::atomic<bool> refuse{false};
    std::atomic<bool> seen{true};
    std::atomic<bool> failed{false};
    std::shared_ptr<FakeSink> substitute;

  private:
    const codec::PixelFormat m_format;
    std::atomic<bool> m_preparing{false};
    mutable std::mutex m_lock;
    std::vector<ShownPicture> m_shown;  // guarded by m_lock
};

class Rig {
  public:
    explicit Rig(VideoCodec kind, codec::PixelFormat format = codec::PixelFormat::kYuy2,
                 const DecoderSettings& settings = Small(), const MediaSettings& media = MediaSettings())
        : shared(std::make_shared<CCtrlParam>(media)),
          param(*shared),
          pipeline(kind, settings),
          sink(std::make_shared<FakeSink>(format)) {
        pipeline.param = shared;
        pipeline.sink = sink;
        param.videoCodec.Set(kind);
        param.window.Set(fake.Window());
        decode = std::make_unique<DecodeLoop>(pipeline);
        display = std::make_unique<DisplayLoop>(pipeline);
    }
    ~Rig() { StopThreads(); }

    // Nothing is held back, and pictures are small.
    static DecoderSettings Small() {
        DecoderSettings settings;
        settings.enableTimeSync = false;
        settings.displayBufferSize = 352 * 288 * 3;
        return settings;
    }

    int Insert(const Bytes& frame, std::uint32_t pts = 0, int isPFrame = 0) {
        return param.InsertFrameToVideoBuffer(frame.data(), frame.size(), pts, isPFrame);
    }
    // Inserts and decodes.
    void Decode(const Bytes& frame, std::uint32_t pts = 0, int isPFrame = 0) {
        Insert(frame, pts, isPFrame);
        decode->Step();
    }
    // Inserts, decodes and shows.
    void Play(const Bytes& frame, std::uint32_t pts = 0, int isPFrame = 0) {
        Decode(frame, pts, isPFrame);
        display->Step();
    }
    void ShowAll() {
        const std::size_t before = sink->Shown().size();
        display->Step();
        if (sink->Shown().size() != before) ShowAll();
    }

    void StartThreads() {
        m_threads.emplace_back([this] { display->Run(); });
        m_threads.emplace_back([this] { decode->Run(); });
    }
    void StopThreads() {
        pipeline.decodeRunning = false;
        pipeline.gate.Close();
        pipeline.displayRunning = false;
        for (std::thread& thread : m_threads)
            thread.join();
        m_threads.clear();
    }

    platform::FakePlatform fake;
    const std::shared_ptr<CCtrlParam> shared;
    CCtrlParam& param;
    Pipeline pipeline;
    std::shared_ptr<FakeSink> sink;
    std::unique_ptr<DecodeLoop> decode;
    std::unique_ptr<DisplayLoop> display;

  private:
    std::vector<std::thread> m_threads;
};

}  // namespace norix::test
