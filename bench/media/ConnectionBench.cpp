// What a connection costs between the receiver and the screen: the delay of a frame from its insertion to the
// presented picture, beside what its decoding alone takes in the same run; allocations; memory.

#include <benchmark/benchmark.h>
#include <windows.h>

#include <psapi.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "bench/codec/Clip.h"
#include "bench/render/BenchWindow.h"
#include "codec/H264Decoder.h"
#include "codec/Jpeg.h"
#include "codec/StaticInit.h"
#include "media/CtrlParam.h"
#include "render/decode/Decoder.h"
#include "render/present/PictureBuffer.h"
#include "util/Handles.h"

namespace norix {
namespace {

using codec::bench::Allocations;
using codec::bench::LoadClip;

// Tells when a picture has been presented, by the presenter that it passes it on to or by none.
class NotingPresenter final : public Presenter {
  public:
    explicit NotingPresenter(std::unique_ptr<Presenter> inner) : m_inner(std::move(inner)) {}

    codec::PixelFormat Format() const override {
        return m_inner ? m_inner->Format() : codec::PixelFormat::kYuy2;
    }
    HRESULT Initialize(int width, int height) override {
        return m_inner ? m_inner->Initialize(width, height) : S_OK;
    }
    HRESULT Present(const Picture& picture) override {
        const HRESULT result = m_inner ? m_inner->Present(picture) : S_OK;
        m_presentedAt = platform::Ticks100ns();
        presented.Set();
        return result;
    }
    void DisplayChanged() override {}

    std::uint64_t PresentedAt() const { return m_presentedAt; }
    util::Event presented{util::Event::Kind::kAutoReset};

  private:
    const std::unique_ptr<Presenter> m_inner;
    std::uint64_t m_presentedAt = 0;  // written before, read after the event
};

enum class Target { None, Gdi, DirectDraw };

struct Connection {
    Connection(VideoCodec kind, Target target)
        : decoder(static_cast<std::uint32_t>(kind), DecoderSettings()) {
        param.videoCodec.Set(kind);
        std::unique_ptr<Presenter> inner;
        if (target != Target::None) {
            window = std::make_unique<bench::Window>(960);
            PresenterConfig config;
            config.videoWindow = window->Handle();
            config.notifyWindow = window->Handle();
            config.view = decoder.View();
            config.decoderKind = static_cast<std::uint32_t>(kind);
            inner =
                CreatePresenter(target == Target::Gdi ? DisplayMode::Gdi : DisplayMode::DirectDraw, config);
        }
        presenter = std::make_shared<NotingPresenter>(std::move(inner));
        decoder.SetPresenter(presenter);
        decoder.CreateDisplayThread();
        decoder.StartDecThread(shared);
    }

    // Inserts a frame and waits until its picture has been presented; milliseconds, below 0 when none came.
    double Play(const codec::bench::Bytes& frame, bool keyFrame) {
        const std::uint64_t begin = platform::Ticks100ns();
        param.InsertFrameToVideoBuffer(frame.data(), frame.size(), 0, keyFrame ? 0 : 1);
        if (!presenter->presented.Wait(2000)) return -1;
        return static_cast<double>(presenter->PresentedAt() - begin) / 10000.0;
    }

    const std::shared_ptr<CCtrlParam> shared = std::make_shared<CCtrlParam>(MediaSettings());
    CCtrlParam& param = *shared;
    std::unique_ptr<bench::Window> window;
    std::shared_ptr<NotingPresenter> presenter;
    CDecoder decoder;
};

VideoCodec KindOf(const std::string& clip) {
    return clip.starts_with("h264")    ? VideoCodec::H264
           : clip.starts_with("mpeg4") ? VideoCodec::Mpeg4
                                       : VideoCodec::Mjpeg;
}

// The middle of the measured times, which other programs on the machine disturb less than the mean.
class Median {
  public:
    explicit Median(benchmark::State& state) : m_state(state) {
        m_times.reserve(static_cast<std::size_t>(state.max_iterations));
    }
    ~Median() {
        if (m_times.empty()) return;
        const auto middle = m_times.begin() + static_cast<std::ptrdiff_t>(m_times.size() / 2);
        std::nth_element(m_times.begin(), middle, m_times.end());
        m_state.counters["median_ms"] = *middle;
    }
    Median(const Median&) = delete;
    Median& operator=(const Median&) = delete;

    void Add(double milliseconds) {
        m_times.push_back(milliseconds);
        m_state.SetIterationTime(milliseconds / 1000);
    }

  private:
    benchmark::State& m_state;
    std::vector<double> m_times;
};

// With a pause after each frame, so that threads wake up as they do in use.
void Delay(benchmark::State& state, const std::string& clip, Target target) {
    const auto& packets = LoadClip(clip);
    Connection connection(KindOf(clip), target);
    for (std::size_t i = 0; i < packets.size(); ++i)
        connection.Play(packets[i], i == 0);
    Median median(state);
    const std::uint64_t allocations = Allocations();
    std::size_t i = 0;
    for (auto _ : state) {
        const double milliseconds = connection.Play(packets[i], i == 0);
        if (milliseconds < 0) {
            state.SkipWithError("no picture");
            break;
        }
        median.Add(milliseconds);
        i = (i + 1) % packets.size();
        Sleep(10);
    }
    state.counters["allocations"] = benchmark::Counter(static_cast<double>(Allocations() - allocations),
                                                       benchmark::Counter::kAvgIterations);
}

// Decoding alone, into the same kind of buffer at the same pace.
void BareDecode(benchmark::State& state, const std::string& clip) {
    const auto& packets = LoadClip(clip);
    PictureBuffer buffer(kDefaultDisplayBufferSize);
    const codec::OutputPicture out{codec::PixelFormat::kYuy2, buffer.Data(), buffer.Capacity(), 0};
    codec::H264Decoder h264;
    codec::JpegDecoder jpeg;
    const bool isH264 = KindOf(clip) == VideoCodec::H264;
    if (isH264 && h264.Initialise(packets[0].data(), packets[0].size()) != codec::Status::kOk) return;
    Median median(state);
    std::size_t i = 0;
    for (auto _ : state) {
        const std::uint64_t begin = platform::Ticks100ns();
        const codec::Status status = isH264 ? h264.Decode(packets[i].data(), packets[i].size(), out)
                                            : jpeg.Decode(packets[i].data(), packets[i].size(), out);
        if (status != codec::Status::kOk) state.SkipWithError("no picture");
        median.Add(static_cast<double>(platform::Ticks100ns() - begin) / 1e4);
        i = (i + 1) % packets.size();
        Sleep(10);
    }
}

double ResidentMegabytes() {
    PROCESS_MEMORY_COUNTERS counters = {};
    GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return static_cast<double>(counters.WorkingSetSize) / (1 << 20);
}

// Private memory that has been asked for, whether touched or not.
double CommittedMegabytes() {
    double bytes = 0;
    MEMORY_BASIC_INFORMATION region = {};
    for (const char* at = nullptr; VirtualQuery(at, &region, sizeof region) != 0;
         at = static_cast<const char*>(region.BaseAddress) + region.RegionSize) {
        if (region.State == MEM_COMMIT && region.Type == MEM_PRIVATE)
            bytes += static_cast<double>(region.RegionSize);
    }
    return bytes / (1 << 20);
}

// What one connection adds to the process while it plays.
void MemoryOfAConnection(benchmark::State& state, const std::string& clip) {
    const auto& packets = LoadClip(clip);
    for (auto _ : state) {
        const double resident = ResidentMegabytes();
        const double committed = CommittedMegabytes();
        Connection connection(KindOf(clip), Target::None);
        for (std::size_t i = 0; i < packets.size(); ++i)
            connection.Play(packets[i], i == 0);
        state.counters["committed_MB"] = CommittedMegabytes() - committed;
        state.counters["resident_MB"] = ResidentMegabytes() - resident;
    }
}

const bool s_registered = [] {
    if (codec::StaticInit() != codec::kStaticInitOk) return false;
    const auto timed = [](auto* registered) { registered->UseManualTime()->Unit(benchmark::kMillisecond); };
    for (const std::string size : {"720p", "1080p"}) {
        // First, while the process has no freed memory to reuse.
        benchmark::RegisterBenchmark(("Memory/h264_" + size).c_str(), MemoryOfAConnection,
                                     "h264_" + size + "_1")
            ->Iterations(1)
            ->Unit(benchmark::kMillisecond);
    }
    for (const std::string size : {"720p", "1080p"}) {
        for (const std::string& clip : {"h264_" + size + "_1", "h264_" + size + "_4", "jpeg_" + size}) {
            timed(benchmark::RegisterBenchmark(("BareDecode/" + clip).c_str(), BareDecode, clip));
            timed(benchmark::RegisterBenchmark(("Delay/" + clip).c_str(), Delay, clip, Target::None));
            timed(benchmark::RegisterBenchmark(("DelayGdi/" + clip).c_str(), Delay, clip, Target::Gdi));
        }
        const std::string mpeg4 = "mpeg4_" + size;
        timed(benchmark::RegisterBenchmark(("Delay/" + mpeg4).c_str(), Delay, mpeg4, Target::None));
        const std::string h264 = "h264_" + size + "_1";
        timed(benchmark::RegisterBenchmark(("DelayDirectDraw/" + h264).c_str(), Delay, h264,
                                           Target::DirectDraw));
    }
    return true;
}();

}  // namespace
}  // namespace norix
