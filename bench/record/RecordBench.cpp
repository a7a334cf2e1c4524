// What a recording costs: the receiving thread's share of each frame, and sixteen recordings at once on this
// machine's disk.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <memory>
#include <span>
#include <thread>
#include <vector>

#include "bench/codec/Clip.h"
#include "media/CtrlParam.h"
#include "record/RecordController.h"

namespace norix {
namespace {

constexpr std::size_t kQueueBytes = 16 << 20;
constexpr std::size_t kFrameBytes = 20000;  // 4 Mbit/s at 25 pictures per second
constexpr std::uint32_t kIntervalMs = 40;

std::vector<std::uint8_t> Frame(bool key) {
    static constexpr std::uint8_t kParameters[] = {0,    0,    0,    1,    0x67, 0x42, 0xC0, 0x0D, 0xD9, 0x01,
                                                   0x41, 0xFB, 0x01, 0x10, 0,    0,    0x03, 0,    0x10, 0,
                                                   0,    3,    0x03, 0x20, 0xF1, 0x42, 0xA4, 0x80, 0,    0,
                                                   0,    1,    0x68, 0xCB, 0x83, 0xCB, 0x20};
    static constexpr std::uint8_t kKey[] = {0, 0, 0, 1, 0x65, 0x88, 0x84};
    static constexpr std::uint8_t kOther[] = {0, 0, 0, 1, 0x41, 0x9A, 0x24};
    std::vector<std::uint8_t> frame(kFrameBytes, 0x55);
    const std::span<const std::uint8_t> slice = key ? kKey : kOther;
    auto at = frame.begin();
    if (key) at = std::copy(std::begin(kParameters), std::end(kParameters), at);
    std::copy(slice.begin(), slice.end(), at);
    return frame;
}

struct Counts {
    std::atomic<std::uint64_t> calls{0};
    std::atomic<std::uint64_t> bytes{0};
};

// On the disk, in the folder for temporary files, deleted with the last handle.
class DiskFile final : public RecordFile {
  public:
    explicit DiskFile(Counts& counts) : m_counts(counts), m_file(std::tmpfile()) {
        if (m_file) std::setvbuf(m_file, nullptr, _IONBF, 0);
    }
    ~DiskFile() override {
        if (m_file) std::fclose(m_file);
    }
    FileResult Write(std::uint64_t position, RecordBytes bytes) override {
        ++m_counts.calls;
        m_counts.bytes += bytes.size();
        if (!m_file || std::fseek(m_file, static_cast<long>(position), SEEK_SET) != 0)
            return FileResult::Failed;
        return std::fwrite(bytes.data(), 1, bytes.size(), m_file) == bytes.size() ? FileResult::Ok
                                                                                  : FileResult::Failed;
    }
    FileResult Flush() override { return FileResult::Ok; }
    FileResult Close() override { return FileResult::Ok; }

  private:
    Counts& m_counts;
    std::FILE* const m_file;
};

class NoFile final : public RecordFile {
  public:
    FileResult Write(std::uint64_t, RecordBytes) override { return FileResult::Ok; }
    FileResult Flush() override { return FileResult::Ok; }
    FileResult Close() override { return FileResult::Ok; }
};

// A recording with its own writer's thread.
class Recording final : public RecordEnvironment {
  public:
    explicit Recording(Counts* disk = nullptr)
        : m_disk(disk), m_writer(*this, m_queue), controller(m_param, *this, m_queue, m_writer) {
        m_param.videoCodec.Set(VideoCodec::H264);
        m_param.mediaType.Set(MediaType::Video);
        m_param.streamForm.Set(StreamForm::Bare);
        m_queue.Reserve(kQueueBytes);
        controller.Resume();
        controller.Start(RecordFormat::Avi);
        m_thread = std::thread([this] {
            while (!m_stop.load() || !m_queue.Empty())
                m_writer.Step(20);
        });
    }
    ~Recording() override {
        controller.Stop(RecordFormat::Avi);
        m_stop.store(true);
        m_thread.join();
    }

    void Put(const std::vector<std::uint8_t>& frame, std::uint32_t number) {
        m_now.store(number * kIntervalMs);
        controller.RecMedia(RecordMedia::VideoH264, frame.data(), frame.size(), number * kIntervalMs);
    }
    bool HasRoom() const { return m_queue.Empty(); }
    int Drops() const { return m_drops.load(); }

    std::uint32_t NowMs() override { return m_now.load(); }
    void Report(RecordStatus status) override {
        if (status == RecordStatus::FileWriteFailed) ++m_drops;
    }
    void WishKeyFrame() override {}
    LocalTime Now() override { return {}; }
    std::wstring NameFormat() override { return {}; }
    bool AskFileName(const LocalTime&) override { return false; }
    Created Create(const std::wstring&, const std::wstring&, const std::wstring&) override {
        if (m_disk) return {FileResult::Ok, std::make_unique<DiskFile>(*m_disk)};
        return {FileResult::Ok, std::make_unique<NoFile>()};
    }

  private:
    Counts* const m_disk;
    std::atomic<std::uint32_t> m_now{0};
    std::atomic<int> m_drops{0};
    std::atomic<bool> m_stop{false};
    CCtrlParam m_param;
    RecordQueue m_queue;
    RecordWriter m_writer;

  public:
    RecordController controller;

  private:
    std::thread m_thread;
};

// The receiving thread's share. Time for the writer to catch up is not counted.
void ReceivingThread(benchmark::State& state) {
    Recording recording;
    const auto key = Frame(true);
    const auto other = Frame(false);
    std::uint32_t number = 0;
    for (; number < 100; ++number)
        recording.Put(number == 0 ? key : other, number);
    std::size_t allocations = 0;
    for (auto _ : state) {
        if (number % 128 == 0) {
            state.PauseTiming();
            while (!recording.HasRoom())
                std::this_thread::yield();
            state.ResumeTiming();
        }
        const std::size_t before = codec::bench::Allocations();
        recording.Put(number % 50 == 0 ? key : other, number);
        allocations += codec::bench::Allocations() - before;
        ++number;
    }
    // The writer's index grows meanwhile, which counts as well here.
    state.counters["allocations"] =
        benchmark::Counter(static_cast<double>(allocations), benchmark::Counter::kAvgIterations);
}
BENCHMARK(ReceivingThread)->Unit(benchmark::kMicrosecond);

// Ten seconds of sixteen recordings, as fast as they go: process time per recording and second of it.
void SixteenRecordings(benchmark::State& state) {
    constexpr int kRecordings = 16;
    constexpr std::uint32_t kFrames = 250;
    const auto key = Frame(true);
    const auto other = Frame(false);
    Counts counts;
    int drops = 0;
    for (auto _ : state) {
        std::vector<std::unique_ptr<Recording>> recordings;
        recordings.reserve(kRecordings);
        for (int i = 0; i < kRecordings; ++i)
            recordings.push_back(std::make_unique<Recording>(&counts));
        for (std::uint32_t number = 0; number < kFrames; ++number) {
            for (const auto& recording : recordings)
                recording->Put(number % 50 == 0 ? key : other, number);
        }
        for (const auto& recording : recordings)
            drops += recording->Drops();
    }
    const auto seconds = static_cast<double>(state.iterations()) * kRecordings * kFrames * kIntervalMs / 1000;
    state.counters["bytes_per_call"] = static_cast<double>(counts.bytes) / static_cast<double>(counts.calls);
    state.counters["drops"] = drops;
    state.counters["recorded_seconds"] = seconds;
}
BENCHMARK(SixteenRecordings)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

}  // namespace
}  // namespace norix
