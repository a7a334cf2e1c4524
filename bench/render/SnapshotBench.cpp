// Snapshots of a playing 1080p stream of 25 pictures a second: what they cost the pictures, and how long they
// take. An iteration is one picture. The argument: requests a second. Of requests that come before the next
// picture, one is served. Run it for a while: --benchmark_min_time=10.

#include <benchmark/benchmark.h>
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "bench/codec/Clip.h"
#include "bench/render/BenchWindow.h"
#include "render/decode/Decoder.h"
#include "render/present/Presenter.h"

namespace norix {
namespace {

constexpr int kPictureMs = 40;

std::int64_t Now100ns() {
    FILETIME time;
    GetSystemTimeAsFileTime(&time);
    return static_cast<std::int64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

// Asks for files of numbered names, as often as it is told.
class Requests {
  public:
    Requests(CCtrlParam& param, std::int64_t perSecond, const std::wstring& folder) : m_folder(folder) {
        if (perSecond == 0) return;
        m_thread = std::thread([this, &param, ms = static_cast<DWORD>(1000 / perSecond)] {
            while (!m_stop) {
                m_times.push_back(Now100ns());
                param.snapshots.RequestFile({m_folder, std::to_wstring(m_times.size() - 1)});
                Sleep(ms);
            }
        });
    }
    ~Requests() { Stop(); }
    Requests(const Requests&) = delete;
    Requests& operator=(const Requests&) = delete;

    void Stop() {
        m_stop = true;
        if (m_thread.joinable()) m_thread.join();
    }

    // Milliseconds from each request that was served to its whole file, ascending. Once; the files go.
    std::vector<double> Take() const {
        std::vector<double> latencies;
        for (std::size_t i = 0; i < m_times.size(); ++i) {
            const std::wstring path = m_folder + L"\\" + std::to_wstring(i) + L".jpg";
            WIN32_FILE_ATTRIBUTE_DATA file;
            if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &file)) continue;
            const std::int64_t written = static_cast<std::int64_t>(file.ftLastWriteTime.dwHighDateTime)
                                             << 32 |
                                         file.ftLastWriteTime.dwLowDateTime;
            latencies.push_back(static_cast<double>(written - m_times[i]) / 10000);
            DeleteFileW(path.c_str());
        }
        std::sort(latencies.begin(), latencies.end());
        return latencies;
    }

  private:
    const std::wstring m_folder;
    std::vector<std::int64_t> m_times;  // the thread's until it has ended
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

void PlayAndSave(benchmark::State& state) {
    const auto& packets = codec::bench::LoadClip("h264_1080p_1");
    const bench::Window window(960);
    const auto param = std::make_shared<CCtrlParam>();
    param->videoCodec.Set(VideoCodec::H264);
    wchar_t temp[MAX_PATH] = L"";
    GetTempPathW(MAX_PATH, temp);
    const std::wstring folder = std::wstring(temp) + L"snapshot_bench";
    CreateDirectoryW(folder.c_str(), nullptr);

    std::uint32_t displayed = 0;
    double seconds = 0;
    Requests requests(*param, state.range(0), folder);
    {
        CDecoder decoder(static_cast<std::uint32_t>(VideoCodec::H264));
        PresenterConfig config;
        config.videoWindow = config.notifyWindow = window.Handle();
        config.view = decoder.View();
        decoder.SetPresenter(CreatePresenter(DisplayMode::Gdi, config));
        decoder.CreateDisplayThread();
        decoder.StartDecThread(param);
        const DWORD begin = GetTickCount();
        std::uint32_t sent = 0;
        for (auto _ : state) {
            const auto& packet = packets[sent % packets.size()];
            param->InsertFrameToVideoBuffer(packet.data(), packet.size(), sent * kPictureMs,
                                            sent % packets.size() == 0 ? 0 : 1);
            ++sent;
            const int ahead = static_cast<int>(begin + sent * kPictureMs - GetTickCount());
            window.PumpFor(std::max(ahead, 0));
        }
        displayed = param->GetFrameCount(FrameCounters::kDisplayed);
        seconds = (GetTickCount() - begin) / 1000.0;
        requests.Stop();
    }
    state.counters["pictures/s"] = seconds > 0 ? displayed / seconds : 0;
    const std::vector<double> latencies = requests.Take();
    RemoveDirectoryW(folder.c_str());
    state.counters["files/s"] = seconds > 0 ? static_cast<double>(latencies.size()) / seconds : 0;
    if (latencies.empty()) return;
    state.counters["p50 ms"] = latencies[latencies.size() / 2];
    state.counters["p99 ms"] = latencies[latencies.size() * 99 / 100];
}

BENCHMARK(PlayAndSave)->Arg(0)->Arg(100)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace norix
