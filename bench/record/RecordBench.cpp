// What a recording costs: the receiving thread's share of each frame, also while the disk stands still, and
// sixteen recordings at once on this machine's disk.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <memory>
#include <mutex>
#include <optional>
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
    explicit DiskFile(Counts& counts) : m_counts(counts), m_file(MakeFile()) {
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
    void Discard() override {}

  private:
    // Two threads at once may be given the same name, and then one of them no file.
    static std::FILE* MakeFile() {
        static std::mutex s_lock;
        const std::lock_guard<std::mutex> lock(s_lock);
        return std::tmpfile();
    }

    Counts& m_counts;
    std::FILE* const m_file;
};

enum Call { kCreate, kWrite, kFlush, kClose };

// Where one kind of file call stands still for as long as it is shut.
class Gate {
  public:
    void Shut(Call call) {
        const std::lock_guard<std::mutex> lock(m_lock);
        m_shut = call;
    }
    void Open() {
        const std::lock_guard<std::mutex> lock(m_lock);
        m_shut.reset();
        m_stalled = false;
        m_changed.notify_all();
    }
    bool IsStalled() {
        const std::lock_guard<std::mutex> lock(m_lock);
        return m_stalled;
    }
    void Pass(Call call) {
        std::unique_lock<std::mutex> lock(m_lock);
        m_stalled = m_stalled || m_shut == call;
        m_changed.wait(lock, [&] { return m_shut != call; });
    }

  private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    std::optional<Call> m_shut;  // guarded by m_lock, as the next
    bool m_stalled = false;
};

class NoFile final : public RecordFile {
  public:
    explicit NoFile(Gate& gate) : m_gate(gate) {}
    FileResult Write(std::uint64_t, RecordBytes) override { return Pass(kWrite); }
    FileResult Flush() override { return Pass(kFlush); }
    FileResult Close() override { return Pass(kClose); }
    void Discard() override {}

  private:
    FileResult Pass(Call call) {
        m_gate.Pass(call);
        return FileResult::Ok;
    }

    Gate& m_gate;
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
    Question AskFileName(const LocalTime&) override { return Question::NobodyThere; }
    Created Create(const std::wstring&, const std::wstring&, const std::wstring&) override {
        if (m_disk) return {FileResult::Ok, std::make_unique<DiskFile>(*m_disk)};
        gate.Pass(kCreate);
        return {FileResult::Ok, std::make_unique<NoFile>(gate)};
    }

    Gate gate;

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

// Ten seconds of 20 Mbit/s, more than the queue takes, while one kind of file call stands still: the longest
// that any frame, or the host's StopRecording, was kept.
void StalledDisk(benchmark::State& state) {
    using Clock = std::chrono::steady_clock;
    constexpr std::uint32_t kFrames = 250;
    const auto call = static_cast<Call>(state.range(0));
    auto key = Frame(true);
    auto other = Frame(false);
    key.resize(5 * kFrameBytes, 0x55);
    other.resize(5 * kFrameBytes, 0x55);
    Clock::duration worst{};
    const auto measure = [&](auto&& what) {
        const auto begin = Clock::now();
        what();
        worst = std::max(worst, Clock::now() - begin);
    };
    for (auto _ : state) {
        Recording recording;
        recording.controller.SetLimits({0, 1});
        std::uint32_t number = 0;
        const auto put = [&] {
            measure([&] { recording.Put(number % 25 == 0 ? key : other, number); });
            ++number;
        };
        recording.gate.Shut(call);
        while (!recording.gate.IsStalled()) {
            put();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));  // the writer's turn
        }
        for (std::uint32_t i = 0; i < kFrames; ++i)
            put();
        measure([&] { recording.controller.Stop(RecordFormat::Avi); });
        recording.gate.Open();
    }
    state.counters["worst_ms"] = std::chrono::duration<double, std::milli>(worst).count();
}
BENCHMARK(StalledDisk)->DenseRange(kCreate, kClose)->Unit(benchmark::kMillisecond);

// Four seconds of sixteen recordings at the pace of their cameras: the process' time for all of them.
void SixteenRecordings(benchmark::State& state) {
    constexpr int kRecordings = 16;
    constexpr std::uint32_t kFrames = 100;
    const auto key = Frame(true);
    const auto other = Frame(false);
    Counts counts;
    int drops = 0;
    for (auto _ : state) {
        std::vector<std::unique_ptr<Recording>> recordings;
        recordings.reserve(kRecordings);
        for (int i = 0; i < kRecordings; ++i)
            recordings.push_back(std::make_unique<Recording>(&counts));
        const auto begin = std::chrono::steady_clock::now();
        for (std::uint32_t number = 0; number < kFrames; ++number) {
            std::this_thread::sleep_until(begin + std::chrono::milliseconds(number * kIntervalMs));
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
BENCHMARK(SixteenRecordings)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

}  // namespace
}  // namespace norix
