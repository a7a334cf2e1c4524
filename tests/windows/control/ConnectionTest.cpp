// Starting and ending a connection as the host sees it: status, captions, timers, log.

#include <windows.h>

#include <algorithm>

#include "media/ControlMessages.h"
#include "record/DiskSpace.h"
#include "tests/windows/control/ControlFixture.h"
#include "util/Log.h"

namespace norix::test {
namespace {

class Connecting : public ControlTest {
  protected:
    /// A stream that nobody serves: an attempt begins, and what becomes of it would be reported.
    void BeginAttempt() {
        Put(L"ServerIP", L"127.0.0.1");
        Put(L"HttpPort", kClosedPort);
        Put(L"StreamUri", L"rtsp://127.0.0.1:9/stream");
        EXPECT_EQ(Control().Connect(), 0);
    }
    /// What a receiver reports.
    void Report(EConnectStatus status) { Send(WM_OnConnectStatus, status); }
    const std::wstring& Caption() { return Control().Status().Caption(); }
};

const Texts kFailedAttempt = {"OnConnStatus(0s)", "OnConnStatus(3s)"};
// ---- Timers and statistics: what the connection decides reaches the window and the host

TEST_F(Connecting, RunsItsTimersInTheWindow) {
    Create();
    Put(L"AutoReconnect", 1);
    BeginAttempt();
    EXPECT_FALSE(StopTimer(kTimerStatistics));
    Report(ecsConnected);
    Host().Take();
    Tick(kTimerStatistics);
    EXPECT_EQ(Host().Take(), (Texts{"FramePerSec(0d)", "OnVideoFrameRate(0)"}));
    EXPECT_EQ(Get(L"FrameRate"), "0d");
    EXPECT_TRUE(StopTimer(kTimerStatistics));
    Report(ecsConnectFail);
    EXPECT_TRUE(StopTimer(kTimerReconnect));
    // The threads of that attempt end beside this one; both of these wait for them.
    EXPECT_EQ(Control().Connect(), 0);
    Control().Disconnect();
    Host().Take();
    Tick(kTimerReconnect);
    EXPECT_EQ(Host().Take(), Texts{"OnConnStatus(0s)"});
    // Nothing comes behind the end, also when it comes in the middle of a report.
    Host().onEvent = [&](DISPID id, DISPPARAMS&) {
        if (id == events::FramePerSec.id) Control().Disconnect();
    };
    Tick(kTimerStatistics);
    EXPECT_EQ(Host().Take(), (Texts{"FramePerSec(0d)", "OnConnStatus(2s)"}));
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
    const auto tickUntilReport = [&](DWORD milliseconds) {
        Texts reported;
        const DWORD begin = GetTickCount();
        while (reported.empty() && GetTickCount() - begin < milliseconds) {
            constexpr DWORD kStepMs = 20;
            Sleep(kStepMs);
            Tick(kTimerStatistics);
            reported = Host().Take();
        }
        return reported;
    };
    constexpr DWORD kDeadlineMs = 10000;
    constexpr DWORD kWatchedMs = 1500;  // the recorder looks once a second
    Put(L"RecordVideoPath", kFull);
    EXPECT_EQ(tickUntilReport(kWatchedMs), Texts()) << "nobody wants a recording";
    EXPECT_EQ(Control().StartRecording(1), S_OK);
    EXPECT_EQ(tickUntilReport(kDeadlineMs), Texts{"OnRecordStatus(2)"});
    EXPECT_EQ(Control().Properties().recordStatus, static_cast<short>(RecordStatus::DiskFull));
    EXPECT_EQ(tickUntilReport(kWatchedMs), Texts()) << "the wish has ended with it";
    Put(L"RecordVideoPath", L"Q:\\no such drive");
    EXPECT_EQ(Control().StartRecording(1), S_OK);
    EXPECT_EQ(tickUntilReport(kWatchedMs), Texts());
    EXPECT_EQ(Control().StopRecording(1), S_OK);
}

}  // namespace
}  // namespace norix::test
