// Views a stream without a screen: received, decoded and shown as the control does, and begun anew after a
// failure. Prints "connected", "failed", "key" (a key frame that has come whole) and "picture" (shown), each
// behind the milliseconds since the start.
//
//   streamview URL udp|tcp SECONDS [CHANGE]   CHANGE: seconds after which the decode speed is another one

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "codec/StaticInit.h"
#include "include/RTSP/NalUnits.h"
#include "include/RTSP/RTSPSession.h"
#include "media/MediaPlayers.h"
#include "render/decode/DecodeLoop.h"
#include "render/present/DisplayLoop.h"

namespace {

using namespace norix;
using Clock = std::chrono::steady_clock;

const Clock::time_point g_start = Clock::now();

void Say(const char* what) {
    const auto passed = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - g_start);
    std::printf("%lld %s\n", static_cast<long long>(passed.count()), what);
    std::fflush(stdout);
}

class Screen final : public PictureSink {
  public:
    codec::PixelFormat Format() const override { return codec::PixelFormat::kYuy2; }
    bool Prepare(PixelSize) override { return true; }
    void Show(const DisplayFrame&, const std::array<bool, kRegionCount>&) override { Say("picture"); }
    void DisplayChanged() override {}
};

// As a recorder it sees what is received before anything is dropped of it. A unit that lacks a packet never
// comes this far, and these streams have one for each picture.
class KeyFrames final : public MediaRecorder {
  public:
    bool IsRecordingRequested() const override { return false; }
    void RecMedia(RecordMedia, const std::uint8_t* data, std::size_t size, std::uint32_t) override {
        if (ContentsOf(NalSyntax::H264, {data, size}).idr) Say("key");
    }
};

// One connection: threads that receive, decode and show.
class View {
  public:
    View(std::string url, EConnectProtocol protocol)
        : m_param(std::make_shared<CCtrlParam>(MediaSettings())), m_pipeline(VideoCodec::H264, {}) {
        m_param->SetRecorder(std::make_shared<KeyFrames>());
        m_pipeline.param = m_param;
        m_pipeline.sink = std::make_shared<Screen>();
        SessionSettings settings;
        settings.streamUri = std::move(url);
        settings.protocol = protocol;
        settings.callback = OnStatus;
        settings.userData = this;
        m_session = std::make_unique<RTSPSession>(settings, m_param, nullptr);
        m_threads.emplace_back([this] { DisplayLoop(m_pipeline).Run(); });
        m_threads.emplace_back([this] { DecodeLoop(m_pipeline).Run(); });
        m_threads.emplace_back([this] { m_session->RTSPStart(); });
    }
    ~View() {
        m_param->SetClosing(true);
        m_session->RequestStop();
        m_pipeline.decodeRunning = false;
        m_pipeline.gate.Close();
        m_pipeline.displayRunning = false;
        for (std::thread& thread : m_threads)
            thread.join();
    }
    View(const View&) = delete;
    View& operator=(const View&) = delete;

    void SetDecodeSpeed(int speed) { m_param->decodeSpeed.Set(speed); }
    // False when it has not failed until then.
    bool WaitForFailure(Clock::time_point until) {
        std::unique_lock lock(m_lock);
        return m_changed.wait_until(lock, until, [this] { return m_failed; });
    }

  private:
    static int OnStatus(int code, unsigned value, void* self) {
        if (code != kCallbackStatus) return 0;
        const bool connected = value == ecsConnected;
        Say(connected ? "connected" : "failed");
        if (connected) return 0;
        auto& view = *static_cast<View*>(self);
        const std::lock_guard lock(view.m_lock);
        view.m_failed = true;
        view.m_changed.notify_all();
        return 0;
    }

    const std::shared_ptr<CCtrlParam> m_param;
    Pipeline m_pipeline;
    std::unique_ptr<RTSPSession> m_session;
    std::vector<std::thread> m_threads;
    std::mutex m_lock;
    std::condition_variable m_changed;
    bool m_failed = false;  // under m_lock
};

}  // namespace

int main(int count, char** arguments) {
    if (count < 4 || codec::StaticInit() != codec::kStaticInitOk) return 2;
    const auto protocol = std::string(arguments[2]) == "tcp" ? ecpTCP : ecpUDP;
    const auto end = g_start + std::chrono::milliseconds(static_cast<int>(1000 * std::atof(arguments[3])));
    const int change = count > 4 ? static_cast<int>(1000 * std::atof(arguments[4])) : 0;
    constexpr auto kBetweenTries = std::chrono::milliseconds(500);
    constexpr int kSpeeds[] = {0, 3, 0, 4, 1};
    std::size_t changes = 0;
    while (Clock::now() < end) {
        View view(arguments[1], protocol);
        bool failed = false;
        while (!failed && Clock::now() < end) {
            view.SetDecodeSpeed(kSpeeds[changes++ % std::size(kSpeeds)]);
            const auto next = change != 0 ? Clock::now() + std::chrono::milliseconds(change) : end;
            failed = view.WaitForFailure(std::min(next, end));
        }
        if (failed) std::this_thread::sleep_for(kBetweenTries);
    }
    return 0;
}
