// Starting and ending a connection as the host sees it: status, captions, timers, log.

#include <windows.h>

#include <algorithm>

#include "control/DiskSpace.h"
#include "media/ControlMessages.h"
#include "tests/windows/control/ControlFixture.h"
#include "util/Log.h"

namespace norix::test {
namespace {

class Connecting : public ControlTest {
  protected:
    /// What a receiver reports.
    void Report(EConnectStatus status) { Send(WM_OnConnectStatus, status); }
    const std::wstring& Caption() { return Control().Status().Caption(); }
};

const Texts kFailedAttempt = {"OnConnStatus(0s)", "OnConnStatus(3s)"};

TEST_F(Connecting, TellsTheHostAtEveryStep) {
    Create();
    EXPECT_EQ(Get(L"ConnectStatus"), "2s");
    std::vector<std::wstring> captions;
    Texts status;
    Host().onEvent = [&](DISPID, DISPPARAMS&) {
        captions.push_back(Caption());
        status.push_back(Get(L"ConnectStatus"));  // what the event says is true already
    };
    EXPECT_EQ(Control().Connect(), -1);
    EXPECT_EQ(Host().Take(), kFailedAttempt);
    EXPECT_EQ(captions, (std::vector<std::wstring>{L"Connecting...", L"Connect Fail!"}));
    EXPECT_EQ(status, (Texts{"0s", "3s"}));
    EXPECT_EQ(Control().Connect(), -1);  // a failed attempt is over: another one begins
    EXPECT_EQ(Host().Take(), kFailedAttempt);
    EXPECT_EQ(Control().ConnectServer(), -1);
    EXPECT_EQ(Host().Take(), kFailedAttempt);
}

TEST_F(Connecting, ShowsEachStatusInTheCaption) {
    Create();
    Put(L"ShowUserAuthenticationDialog", 0L);
    const struct {
        EConnectStatus status;
        const wchar_t* caption;
    } cases[] = {
        {ecsConnected, L"Connected!"},
        {ecsDisconnect, L"Disconnect!"},
        {ecsConnectFail, L"Connect Fail!"},
        {ecsMulticastError, L"Multicast Conflict!"},
        {ecsUserAuthenticationFail, L"Authentication Fail!"},
        {ecsConnecting, L"Connecting..."},
    };
    for (const auto& c : cases) {
        Report(c.status);
        EXPECT_EQ(Caption(), c.caption);
        EXPECT_EQ(Control().GetConnectStatus(), c.status);
    }
    Put(L"CaptionInfo", eciAll & ~eciStatus);
    Report(ecsConnected);
    Report(ecsConnecting);
    EXPECT_EQ(Caption(), L"Connected!");
    Report(static_cast<EConnectStatus>(6));  // of a newer receiver: passed on
    Report(static_cast<EConnectStatus>(-1));
    EXPECT_EQ(Caption(), L"Connected!");
    EXPECT_EQ(Host().Events().back(), "OnConnStatus(-1s)");
}

TEST_F(Connecting, RunsTheStatisticsTimerWhileConnected) {
    Create();
    Put(L"ShowUserAuthenticationDialog", 0L);
    EXPECT_FALSE(StopTimer(kTimerStatistics));
    for (const EConnectStatus end : {ecsDisconnect, ecsConnectFail, ecsUserAuthenticationFail}) {
        Report(ecsConnected);
        Report(end);
        EXPECT_FALSE(StopTimer(kTimerStatistics)) << end;
    }
    for (const EConnectStatus goingOn : {ecsConnected, ecsConnecting, ecsMulticastError}) {
        Report(ecsConnected);
        Report(goingOn);
        EXPECT_TRUE(StopTimer(kTimerStatistics)) << goingOn;
    }
}

TEST_F(Connecting, ReturnsMinusOneInsideItself) {
    Create();
    Host().onEvent = [&](DISPID, DISPPARAMS&) {
        EXPECT_EQ(Control().Connect(), -1);
        EXPECT_EQ(Control().ConnectServer(), -1);
    };
    Control().Connect();
    EXPECT_EQ(Host().Take(), kFailedAttempt);  // none from inside
    EXPECT_EQ(Control().Disconnect(), 0);
    EXPECT_EQ(Host().Take(), Texts{"OnConnStatus(2s)"});
}

TEST_F(Connecting, EndsBeforeDisconnectReturns) {
    Create();
    EXPECT_EQ(Control().Disconnect(), 0);  // also without a connection
    EXPECT_EQ(Host().Take(), Texts{"OnConnStatus(2s)"});
    EXPECT_EQ(Caption(), L"Disconnect!");
    Host().onEvent = [&](DISPID, DISPPARAMS&) {
        EXPECT_EQ(Control().Disconnect(), 0);
        EXPECT_EQ(Control().DisconnectServer(), 0);
    };
    EXPECT_EQ(Control().DisconnectServer(), 0);
    EXPECT_EQ(Host().Take(), Texts{"OnConnStatus(2s)"});
    Host().onEvent = nullptr;
    PostMessageW(Window(), WM_OnDisConnect, 0, 0);
    PumpMessages();
    EXPECT_EQ(Host().Take(), Texts{"OnConnStatus(2s)"});
}

TEST_F(Connecting, HostMayDisconnectInsideAnyEvent) {
    Create();
    for (const EConnectStatus at : {ecsConnecting, ecsConnectFail}) {
        Put(L"AutoReconnect", 1);
        Host().onEvent = [&](DISPID, DISPPARAMS& arguments) {
            if (arguments.rgvarg[0].iVal == at) Control().Disconnect();
        };
        EXPECT_EQ(Control().Connect(), -1);
        EXPECT_EQ(Host().Take().back(), "OnConnStatus(2s)");
        EXPECT_EQ(Get(L"ConnectStatus"), "2s");
        EXPECT_FALSE(StopTimer(kTimerReconnect));
        Host().onEvent = nullptr;
        Control().Connect();
        EXPECT_EQ(Host().Take(), kFailedAttempt);
    }
}

// A host may destroy the window, and with it the place where everything is reported, inside an event.
TEST_F(Connecting, WindowMayGoInsideAnyEvent) {
    Create(false);
    FakeSite site;
    SetSite(&site);
    for (const EConnectStatus at : {ecsConnecting, ecsConnectFail}) {
        ASSERT_TRUE(Control().CreateHiddenWindow());
        Put(L"AutoReconnect", 1);
        Host().onEvent = [&](DISPID, DISPPARAMS& arguments) {
            if (arguments.rgvarg[0].iVal == at) Control().DestroyWindow();
        };
        EXPECT_EQ(Control().Connect(), -1);
        Host().onEvent = nullptr;
        EXPECT_EQ(Control().Connect(), -1);  // there is no window
        ASSERT_TRUE(Control().CreateHiddenWindow());
        Host().Take();
        Control().Connect();
        EXPECT_EQ(Host().Take(), kFailedAttempt) << "the attempt before still counts, status " << at;
        Control().DestroyWindow();
    }
    Host().Take();
    EXPECT_EQ(Control().Disconnect(), 0);
    EXPECT_EQ(Host().Take(), Texts{"OnConnStatus(2s)"});
    SetSite(nullptr);
}

// ---- Connecting again

TEST_F(Connecting, ReconnectsAfterAFailure) {
    Create();
    Put(L"AutoReconnect", 1);
    Control().Connect();
    EXPECT_TRUE(StopTimer(kTimerReconnect));
    Host().Take();
    Tick(kTimerReconnect);
    EXPECT_EQ(Host().Take(), kFailedAttempt);
    EXPECT_TRUE(StopTimer(kTimerReconnect));  // failed again

    Put(L"AutoReconnect", 0L);
    Tick(kTimerReconnect);
    EXPECT_EQ(Host().Take(), kFailedAttempt);
    EXPECT_FALSE(StopTimer(kTimerReconnect));  // one shot
}

TEST_F(Connecting, DoesNotReconnectWithRejectedCredentialsOrAfterDisconnect) {
    Create();
    Put(L"AutoReconnect", 1);
    Put(L"ShowUserAuthenticationDialog", 0L);
    Report(ecsUserAuthenticationFail);
    EXPECT_FALSE(StopTimer(kTimerReconnect));
    for (const EConnectStatus status : {ecsMulticastError, ecsConnected, ecsDisconnect}) {
        Report(status);
        EXPECT_FALSE(StopTimer(kTimerReconnect)) << status;
    }
    Control().Connect();
    Control().Disconnect();
    EXPECT_FALSE(StopTimer(kTimerReconnect));
    PumpMessages();  // the request for the dialog, which is switched off
}

// The timer of a page that connects by itself must not go on once a connection has begun.
TEST_F(Connecting, StopsTheAutoConnectTimer) {
    FakeSite site(L"http://camera.example/view.html");
    Create(false);
    SetSite(&site);
    ASSERT_TRUE(Control().CreateHiddenWindow());
    Put(L"MagicCode", L"go");
    Control().Connect();
    EXPECT_FALSE(StopTimer(kTimerAutoConnect));

    Host().onEvent = [&](DISPID, DISPPARAMS&) { Put(L"MagicCode", L"go"); };  // now, while connecting
    Control().Connect();
    Host().onEvent = [&](DISPID, DISPPARAMS&) {
        Put(L"MagicCode", L"go");
        Tick(kTimerAutoConnect);
        EXPECT_FALSE(StopTimer(kTimerAutoConnect)) << "it would tick for as long as the connection lasts";
    };
    Control().Connect();
    SetSite(nullptr);
}

// ---- Statistics

TEST_F(Connecting, ReportsTheAveragedFrameRate) {
    Create();
    EXPECT_EQ(Get(L"VideoFrameRate"), "0");
    // Before a connection has reset it, the first pass spans all of the system's uptime.
    const DWORD seconds = GetTickCount() / 1000;
    CCtrlParam& param = Control().Session().param;
    for (DWORD i = 0; i < 12 * seconds + seconds / 2; ++i)
        param.CountFrame(FrameCounters::kDisplayed);
    param.CountFrame(FrameCounters::kReceived);
    Tick(kTimerStatistics);
    EXPECT_EQ(Host().Take(), (Texts{"FramePerSec(12d)", "OnVideoFrameRate(12)"}));
    EXPECT_EQ(Get(L"VideoFrameRate"), "12");
    EXPECT_EQ(Get(L"FrameRate"), "12d");
    EXPECT_EQ(param.GetFrameCount(FrameCounters::kReceived), 0u);  // counting starts anew

    param.serverFrameRate.Set(5);  // no camera shows more than it sends
    Tick(kTimerStatistics);        // nothing in between: (12 + 0) / 2 = 6
    EXPECT_EQ(Host().Take(), (Texts{"FramePerSec(5d)", "OnVideoFrameRate(5)"}));
    param.serverFrameRate.Set(6);
    Tick(kTimerStatistics);  // 12 / 3
    EXPECT_EQ(Host().Take(), (Texts{"FramePerSec(4d)", "OnVideoFrameRate(4)"}));

    Report(ecsConnected);  // forgets what was before
    Host().Take();
    Tick(kTimerStatistics);
    EXPECT_EQ(Host().Take(), (Texts{"FramePerSec(0d)", "OnVideoFrameRate(0)"}));
}

TEST_F(Connecting, ShowsTheStreamsCaption) {
    Create();
    Report(ecsConnected);
    Tick(kTimerStatistics);
    EXPECT_EQ(Caption(), L"Connected!");  // the stream has none
    Control().Session().param.captionText.Set(L"Entrance 12:00");
    Put(L"CaptionInfo", eciAll & ~eciTime);
    Tick(kTimerStatistics);
    EXPECT_EQ(Caption(), L"Connected!");
    Put(L"CaptionInfo", eciTime);
    Tick(kTimerStatistics);
    EXPECT_EQ(Caption(), L"Entrance 12:00");

    Put(L"CaptionInfo", eciAll & ~eciTime);
    Control().Session().param.obstacle.Set(L"8192 x 8192: too large to be shown");
    Tick(kTimerStatistics);
    EXPECT_EQ(Caption(), L"8192 x 8192: too large to be shown");
    Control().Session().param.obstacle.Set(L"");
    Tick(kTimerStatistics);
    EXPECT_EQ(Caption(), L"Connected!");
}

TEST_F(Connecting, WatchesTheDiskWhileRecording) {
    constexpr unsigned long long kMiB = 1ull << 20;
    EXPECT_TRUE(IsAlmostFull(0));
    EXPECT_TRUE(IsAlmostFull(100 * kMiB - 1));
    EXPECT_FALSE(IsAlmostFull(100 * kMiB));
    EXPECT_FALSE(IsAlmostFull(4096 * kMiB - 1));
    EXPECT_FALSE(IsAlmostFull(4096 * kMiB));  // though its low 32 bits are zero
    EXPECT_FALSE(IsAlmostFull(4096 * kMiB + 5));

    // The system's process folder has no room at all.
    constexpr wchar_t kFull[] = L"Z:\\proc";
    ULARGE_INTEGER available = {};
    if (!GetDiskFreeSpaceExW(kFull, &available, nullptr, nullptr) || available.QuadPart != 0)
        GTEST_SKIP() << "no full drive here";
    Create();
    Host().Ignore(events::FramePerSec.id);
    Host().Ignore(events::OnVideoFrameRate.id);
    const struct {
        const wchar_t* folder;
        ERecordStatus status;
        Texts expected;
    } cases[] = {
        {kFull, ersRecording, {"OnRecordStatus(2)"}},
        {kFull, ersRecordStart, {"OnRecordStatus(2)"}},
        {kFull, ersRecordStop, {}},
        {kFull, ersNone, {}},
        {L"C:\\windows", ersRecording, {}},
        {L"Q:\\no such drive", ersRecording, {}},
    };
    for (const auto& c : cases) {
        Put(L"RecordVideoPath", c.folder);
        Put(L"RecordStatus", c.status);
        Tick(kTimerStatistics);
        EXPECT_EQ(Host().Take(), c.expected) << c.status;
    }
}

// ---- The log

}  // namespace
}  // namespace norix::test
