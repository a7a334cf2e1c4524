// The thread around a session: it streams, it stops in time, and where it hangs it is left alone and harms
// nobody.

#include <gtest/gtest.h>

#include <atomic>
#include <semaphore>

#include "tests/native/live/Dialogue.h"

#include "include/RTSP/RTSPCoumm.h"
#include "media/CtrlParam.h"
#include "media/MediaPlayers.h"

namespace norix {
namespace {

const std::vector<std::string> kPlaying = {"answer OPTIONS", "answer DESCRIBE", "answer SETUP", "answer PLAY",
                                           "rtp 0 1 hello"};

// Plays nothing; while `hanging`, whoever starts it hangs.
struct Players : MediaPlayers {
    void Start() override {
        ++started;
        if (hanging) go.acquire();
    }
    std::atomic<int> started{0};
    bool hanging = false;
    std::binary_semaphore go{0};
};

std::atomic<int> g_reports{0};
std::atomic<unsigned> g_status{0};

int OnStatus(int, unsigned value, void*) {
    g_status = value;
    return ++g_reports;
}

template <class Condition>
bool Await(Condition&& condition) {
    for (int i = 0; i < 500; ++i) {
        if (condition()) return true;
        Sleep(10);
    }
    return false;
}

struct Streaming {
    explicit Streaming(std::shared_ptr<Players> players, const MediaSettings& settings = {})
        : param(std::make_shared<CCtrlParam>(settings)), players(std::move(players)) {
        script.steps = kPlaying;
        g_reports = 0;
        comm = std::make_unique<RTSPCoumm>(param, this->players);
        comm->settings.protocol = ecpTCP;
        comm->settings.callback = OnStatus;
    }
    void Listen() {
        server = std::make_unique<live_test::ScriptedServer>(script);
        comm->settings.streamUri = server->filled("rtsp://{host}/stream");
    }
    live_test::Script script;
    std::unique_ptr<live_test::ScriptedServer> server;
    std::shared_ptr<CCtrlParam> param;
    std::shared_ptr<Players> players;
    std::unique_ptr<RTSPCoumm> comm;
};

TEST(RTSPCoumm, StopsWhileAKeyFrameWaitsForARecord) {
    Streaming streaming(std::make_shared<Players>(), {.videoBufferNum = 1, .videoBufferSize = {}});
    streaming.script.steps.push_back("rtp 0 2 waits");
    streaming.script.steps.push_back("rtp 0 3 behind it");
    streaming.Listen();
    streaming.comm->StartStreaming();
    ASSERT_TRUE(Await([&] { return streaming.param->GetFrameCount(FrameCounters::kReceived) == 2; }));
    const DWORD begin = GetTickCount();
    EXPECT_TRUE(streaming.comm->StopStreaming());
    EXPECT_LT(GetTickCount() - begin, 250u);
    EXPECT_EQ(streaming.param->GetFrameCount(FrameCounters::kReceived), 2u);
}

TEST(RTSPCoumm, LeavesAThreadThatHangsAndHearsNothingOfIt) {
    const auto players = std::make_shared<Players>();
    players->hanging = true;
    std::weak_ptr<CCtrlParam> param;
    {
        Streaming streaming(players);
        param = streaming.param;
        streaming.Listen();
        streaming.comm->StartStreaming();
        ASSERT_TRUE(Await([&] { return players->started == 1; }));
        const DWORD begin = GetTickCount();
        EXPECT_FALSE(streaming.comm->StopStreaming());
        EXPECT_LT(GetTickCount() - begin, 6000u);
    }
    // All but what the thread shares is gone; now it goes on.
    EXPECT_FALSE(param.expired());
    players->go.release();
    EXPECT_TRUE(Await([&] { return param.expired(); }));
    EXPECT_EQ(g_reports, 0);
}

}  // namespace
}  // namespace norix
