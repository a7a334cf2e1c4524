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

TEST_F(Connecting, LogsFrameRatesWhenAsked) {
    EnableLog();
    hives.Store(HKEY_LOCAL_MACHINE, kKey, L"TargetPTSDiff", 40);
    Create();
    CCtrlParam& param = Control().Session().param;
    const auto linesWith = [&](int received, int serverRate) {
        for (int i = 0; i < received; ++i)
            param.CountFrame(FrameCounters::kReceived);
        param.CountFrame(FrameCounters::kDecoded);
        param.serverFrameRate.Set(serverRate);
        log.Clear();
        Tick(kTimerStatistics);
        return log.Messages();
    };
    EXPECT_EQ(linesWith(3, 30), Texts());
    util::Switches().fps.Set(1);
    EXPECT_EQ(linesWith(25, 30),
              (Texts{"fps(received) = 25, fps(decoded) = 1, fps(displayed) = 0, fps(average) = 0",
                     "fps(received) <= target_fps (25.00 / 40 ms)", "fps(received) <= server_fps (30)"}));
    EXPECT_EQ(linesWith(26, 26),
              Texts{"fps(received) = 26, fps(decoded) = 1, fps(displayed) = 0, fps(average) = 0"});
    EXPECT_EQ(linesWith(26, 27),
              (Texts{"fps(received) = 26, fps(decoded) = 1, fps(displayed) = 0, fps(average) = 0",
                     "fps(received) <= server_fps (27)"}));
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

TEST_F(Connecting, IsToldInTheLog) {
    EnableLog();
    Create();
    Put(L"ServerIP", L"127.0.0.1");
    Put(L"HttpPort", kClosedPort);
    const Texts beginning = log.Messages();
    EXPECT_EQ(beginning.front(),
              "CNorixSDKCtrl() constructor begins, file version = " + Get(L"VersionInfo").substr(1, 7));
    EXPECT_EQ(beginning.back(), "CNorixSDKCtrl::OnCreate()");

    log.Clear();
    Control().Connect();
    Control().Disconnect();
    char window[16];
    std::snprintf(window, sizeof window, "0x%08x",
                  static_cast<unsigned>(reinterpret_cast<UINT_PTR>(Window())));
    Texts messages = log.Messages();
    for (std::string& message : messages)
        if (message.starts_with("[TimeDiff]")) message = message.substr(0, message.find(" ="));
    const Texts expected = {"CNorixSDKCtrl::Connect(127.0.0.1) begins",
                            "OnConnectStatus(eConnecting)",
                            "OnConnectStatus(0), eConnecting",
                            "[TimeDiff] CNorixSDKCtrl::GetUserAuthentication()",
                            "[TimeDiff] CNorixSDKCtrl::Connect() SendCGICommand",
                            "[TimeDiff] CNorixSDKCtrl::SetUserAuthentication()",
                            "CNorixSDKCtrl::Connect(127.0.0.1) ends",
                            "[TimeDiff] CNorixSDKCtrl::Connect()",
                            "CNorixSDKCtrl::Disconnect(127.0.0.1) begins",
                            std::string("SendMessage(") + window + ", WM_OnConnectStatus, eDisconnect)",
                            "OnConnectStatus(2), eDisconnect",
                            "[TimeDiff] CNorixSDKCtrl::FinishDisconnect()",
                            "CNorixSDKCtrl::Disconnect(127.0.0.1) ends"};
    Texts contract;
    std::copy_if(messages.begin(), messages.end(), std::back_inserter(contract), [&](const std::string& m) {
        return std::find(expected.begin(), expected.end(), m) != expected.end();
    });
    EXPECT_EQ(contract, expected);  // in this order, among others

    log.Clear();
    PostMessageW(Window(), WM_OnDisConnect, 0, 0);
    PumpMessages();
    EXPECT_EQ(log.Messages().front(),
              "CNorixSDKCtrl::OnDisconnect() begins, received WM_OnDisConnect message");
    log.Clear();
    Control().DestroyWindow();
    EXPECT_EQ(log.Messages(), Texts{"CNorixSDKCtrl::OnDestroy()"});
}

TEST_F(Connecting, SaysGoodbyeInTheLog) {
    EnableLog();
    auto* control = new CNorixSDKCtrl();
    log.Clear();
    EXPECT_EQ(control->Release(), 0u);
    ASSERT_FALSE(log.Messages().empty());
    EXPECT_EQ(log.Messages().front(), "CNorixSDKCtrl() destructor begins");
}

}  // namespace
}  // namespace norix::test
