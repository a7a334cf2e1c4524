#include "util/GenericThread.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "tests/support/DebuggerCapture.h"
#include "util/Log.h"

namespace util {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr DWORD kDeadlineMs = 10000;

// Signals when the last copy of what a body captured is gone.
class Capture {
  public:
    explicit Capture(Event& gone) : m_gone(gone) {}
    ~Capture() { m_gone.Set(); }

  private:
    Event& m_gone;
};

TEST(GenericThread, RunsItsBodyUntilStopped) {
    GenericThread thread("Worker");
    Event running(Event::Kind::kAutoReset);
    Event gone(Event::Kind::kAutoReset);
    int priority = 0;
    bool woken = false;
    for (int round = 0; round < 2; ++round) {
        const auto body = [&, capture = std::make_shared<Capture>(gone)](StopToken& stop) {
            priority = GetThreadPriority(GetCurrentThread());
            EXPECT_FALSE(stop.Wait(0));
            running.Set();
            woken = stop.Wait(kDeadlineMs) && WaitForSingleObject(stop.Event(), 0) == WAIT_OBJECT_0;
        };
        ASSERT_TRUE(thread.Start(THREAD_PRIORITY_HIGHEST, body));
        EXPECT_FALSE(thread.Start(THREAD_PRIORITY_NORMAL, [](StopToken&) {}));
        EXPECT_EQ(GetThreadId(thread.Handle()), thread.Id());
        ASSERT_TRUE(running.Wait(kDeadlineMs));
        EXPECT_TRUE(thread.Stop());
        EXPECT_TRUE(woken);
        EXPECT_EQ(priority, THREAD_PRIORITY_HIGHEST);
        EXPECT_FALSE(thread.Started());
        EXPECT_TRUE(thread.Stop());
    }
    EXPECT_TRUE(gone.Wait(0));
}

// A worker that hands its last result to a window of the stopping thread must not stall the stop.
TEST(GenericThread, StopAnswersMessagesSentByTheThread) {
    const HWND window =
        CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    ASSERT_NE(window, nullptr);
    GenericThread thread("Worker");
    Event running(Event::Kind::kAutoReset);
    const auto body = [&](StopToken& stop) {
        running.Set();
        stop.Wait(kDeadlineMs);
        SendMessageW(window, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(L"last result"));
    };
    ASSERT_TRUE(thread.Start(THREAD_PRIORITY_NORMAL, body));
    ASSERT_TRUE(running.Wait(kDeadlineMs));
    EXPECT_TRUE(thread.Stop());
    wchar_t text[32] = {};
    GetWindowTextW(window, text, 32);
    EXPECT_STREQ(text, L"last result");
    DestroyWindow(window);
}

TEST(GenericThread, LogsAnExceptionAndEnds) {
    const norix::test::DebuggerCapture log;
    Switches().output.Set(1);
    Switches().threadId.Set(0);
    GenericThread known("Known");
    GenericThread unknown("Unknown");
    known.Start(THREAD_PRIORITY_NORMAL, [](StopToken&) { throw std::runtime_error("no luck"); });
    EXPECT_TRUE(known.Stop());
    unknown.Start(THREAD_PRIORITY_NORMAL, [](StopToken&) { throw 5; });
    EXPECT_TRUE(unknown.Stop());
    EXPECT_THAT(log.Lines(), ElementsAre(HasSubstr("Known thread ended by an exception: no luck"),
                                         HasSubstr("Unknown thread ended by an exception")));
    Switches().output.Set(0);
    Switches().threadId.Set(1);
}

TEST(GenericThread, AbandonsABodyThatDoesNotEnd) {
    Event release(Event::Kind::kManualReset);
    Event gone(Event::Kind::kManualReset);
    int reports = 0;
    {
        GenericThread thread("Hung");
        auto capture = std::make_shared<Capture>(gone);
        thread.Start(THREAD_PRIORITY_NORMAL, [&release, capture](StopToken& stop) {
            release.Wait(INFINITE);
            EXPECT_TRUE(stop.StopRequested());  // the token is still there
        });
        capture.reset();
        const auto id = static_cast<int>(thread.Id());
        EXPECT_FALSE(thread.Stop([&](const StopWait& wait) {
            EXPECT_EQ(wait.attempt, reports++);
            EXPECT_EQ(wait.id, id);
            EXPECT_NE(wait.handle, 0u);
        }));
        EXPECT_FALSE(thread.Started());
    }
    EXPECT_EQ(reports, 50);
    EXPECT_FALSE(gone.Wait(0));
    release.Set();
    EXPECT_TRUE(gone.Wait(kDeadlineMs));
}

TEST(GenericThread, DoesNotWaitForItself) {
    GenericThread thread("Self");
    Event started(Event::Kind::kManualReset);
    Event done(Event::Kind::kManualReset);
    bool ended = true;
    bool requested = false;
    thread.Start(THREAD_PRIORITY_NORMAL, [&](StopToken& stop) {
        started.Wait(kDeadlineMs);
        ended = thread.Stop([](const StopWait&) { FAIL(); });
        requested = stop.StopRequested();
        done.Set();
    });
    started.Set();
    ASSERT_TRUE(done.Wait(kDeadlineMs));
    EXPECT_FALSE(ended);
    EXPECT_TRUE(requested);
}

TEST(GenericThread, KeepsItsModuleLoadedUntilItEnds) {
    constexpr wchar_t kModule[] = L"util_thread_module.dll";
    Event release(Event::Kind::kManualReset);
    UniqueModule module(LoadLibraryW(kModule));
    ASSERT_TRUE(module);
    using Start = HANDLE (*)(HANDLE);
    const auto start =
        reinterpret_cast<Start>(reinterpret_cast<void*>(GetProcAddress(module.Get(), "StartLongThread")));
    ASSERT_TRUE(start);
    const UniqueHandle thread(start(release.Get()));
    ASSERT_TRUE(thread);

    module.Reset();
    EXPECT_TRUE(GetModuleHandleW(kModule));
    release.Set();
    EXPECT_EQ(WaitForSingleObject(thread.Get(), kDeadlineMs), WAIT_OBJECT_0);
    EXPECT_FALSE(GetModuleHandleW(kModule));
}

}  // namespace
}  // namespace util
