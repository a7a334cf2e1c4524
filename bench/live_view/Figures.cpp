// How long the first picture takes and where that time goes; what several views cost.

#include <gtest/gtest.h>
#include <windows.h>

#include <tlhelp32.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <map>
#include <memory>
#include <optional>

#include "bench/live_view/LogTap.h"
#include "bench/live_view/Times.h"
#include "tests/system/endurance/LiveView.h"
#include "tests/system/endurance/Measure.h"
#include "util/Handles.h"

namespace {

// When what the log tells had happened.
struct Phases {
    std::optional<double> commands;   // the camera has told about itself
    std::optional<double> described;  // what the stream consists of is known
    std::optional<double> playing;
    std::optional<double> received;
    std::optional<double> decoded;
    std::optional<double> displayed;
};

void Note(std::optional<double>& moment, double at) {
    if (!moment) moment = at;
}

Phases Read(const std::vector<LogTap::Line>& lines) {
    Phases phases;
    for (const LogTap::Line& line : lines) {
        const double at = line.atMs;
        const std::string& text = line.text;
        const auto has = [&text](const char* part) { return text.find(part) != std::string::npos; };
        if (has("[TimeDiff] CNorixSDKCtrl::Connect() SendCGICommand")) Note(phases.commands, at);
        if (has("Got a SDP description")) Note(phases.described, at);
        if (has("Started playing session")) Note(phases.playing, at);
        if (const auto begin = text.find("FrameTimeInfo(pts=");
            begin != std::string::npos && !phases.displayed) {
            unsigned pts = 0;
            double toInserted = 0;
            double toDecoded = 0;
            double toDisplayed = 0;
            if (std::sscanf(text.c_str() + begin,
                            "FrameTimeInfo(pts=%u) received-inserted = %lf, inserted-decoded = %lf, "
                            "decoded-displayed = %lf",
                            &pts, &toInserted, &toDecoded, &toDisplayed) != 4)
                continue;
            phases.displayed = at;
            phases.decoded = at - toDisplayed;
            phases.received = at - toDisplayed - toDecoded - toInserted;
        }
    }
    return phases;
}

class FiguresTest : public testing::Test {
  protected:
    void SetUp() override {
        if (!cameras::Available()) GTEST_SKIP() << "needs run.py";
        ASSERT_TRUE(module);
    }
    const ControlModule module;
};

TEST_F(FiguresTest, FirstPicture) {
    LogTap log;
    const bool verbose = std::getenv("NORIX_SHOW_LOG") != nullptr;
    for (const Way& way : kWays) {
        SCOPED_TRACE(way.name);
        Times total;
        Times commands;
        Times described;
        Times playing;
        Times received;
        Times decoded;
        Times displayed;
        const int rounds = Rounds(1);
        for (int round = 0; round < rounds; ++round) {
            LiveView view(module, {0, 0, 640, 360});
            view.Aim(way, 1);
            log.Take();
            const double begin = NowMs();
            ASSERT_EQ(view.Connect(), 0);
            ASSERT_TRUE(view.AwaitPicture());
            total.Add(NowMs() - begin);
            const std::vector<LogTap::Line> lines = log.Take();
            if (verbose) {
                for (const auto& [at, text] : lines)
                    std::cout << static_cast<long>(at - begin) << "  " << text << std::endl;
            }
            const Phases phases = Read(lines);
            double last = begin;
            const auto span = [&last](Times& times, const std::optional<double>& moment) {
                if (!moment) return;
                times.Add(*moment - last);
                last = *moment;
            };
            span(commands, phases.commands);
            span(described, phases.described);
            span(playing, phases.playing);
            span(received, phases.received);
            span(decoded, phases.decoded);
            span(displayed, phases.displayed);
        }
        std::cout << way.name << std::endl;
        total.Print("  Connect to the first picture");
        commands.Print("    commands");
        described.Print("    description");
        playing.Print("    set-up, players, PLAY");
        received.Print("    first frame");
        decoded.Print("    inserted, decoded");
        displayed.Print("    shown");
    }
}

double Milliseconds(const FILETIME& time) {
    return static_cast<double>(ULARGE_INTEGER{{time.dwLowDateTime, time.dwHighDateTime}}.QuadPart) / 10000;
}

std::wstring NameOf(HANDLE thread, DWORD id) {
    if (id == GetCurrentThreadId()) return L"window";
    // Came with Windows 10.
    using Function = HRESULT(WINAPI*)(HANDLE, PWSTR*);
    const auto get = reinterpret_cast<Function>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "GetThreadDescription")));
    PWSTR text = nullptr;
    if (!get || FAILED(get(thread, &text)) || !text) return L"";
    std::wstring name = text;
    LocalFree(text);
    return name;
}

struct Cost {
    double cpuMs = 0;
    Memory memory;
};

Cost CostNow() {
    FILETIME unused;
    FILETIME kernel;
    FILETIME user;
    GetProcessTimes(GetCurrentProcess(), &unused, &unused, &kernel, &user);
    return {Milliseconds(kernel) + Milliseconds(user), MemoryNow()};
}

// What each of this process's threads has used, by name; those that have none belong to the system.
std::map<std::wstring, double> CpuMsByThread() {
    std::map<std::wstring, double> used;
    const util::UniqueFile snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Thread32First(snapshot.Get(), &entry); more;
         more = Thread32Next(snapshot.Get(), &entry)) {
        if (entry.th32OwnerProcessID != GetCurrentProcessId()) continue;
        const util::UniqueHandle thread(OpenThread(THREAD_QUERY_INFORMATION, FALSE, entry.th32ThreadID));
        if (!thread) continue;
        FILETIME unused;
        FILETIME kernel;
        FILETIME user;
        if (!GetThreadTimes(thread.Get(), &unused, &unused, &kernel, &user)) continue;
        used[NameOf(thread.Get(), entry.th32ThreadID)] += Milliseconds(kernel) + Milliseconds(user);
    }
    return used;
}

TEST_F(FiguresTest, ViewsSideBySide) {
    constexpr int kWidth = 480;
    constexpr int kHeight = 270;
    const int views = FromEnvironment("NORIX_VIEWS", 4);
    const int seconds = FromEnvironment("NORIX_SECONDS", 3);
    const Cost empty = CostNow();
    std::vector<std::unique_ptr<LiveView>> shown;
    for (int i = 0; i < views; ++i) {
        const LONG left = i % 2 * kWidth;
        const LONG top = i / 2 * kHeight;
        shown.push_back(std::make_unique<LiveView>(module, RECT{left, top, left + kWidth, top + kHeight}));
        shown.back()->Aim(kWays[FromEnvironment("NORIX_WAY", 0)], 1);
        ASSERT_EQ(shown.back()->Connect(), 0);
    }
    for (const auto& view : shown)
        ASSERT_TRUE(view->AwaitPicture());
    const Cost before = CostNow();
    const auto threadsBefore = CpuMsByThread();
    const double begin = NowMs();
    std::vector<Times> rates(shown.size());
    for (int second = 0; second < seconds; ++second) {
        PumpFor(1000);
        for (std::size_t i = 0; i < shown.size(); ++i)
            rates[i].Add(shown[i]->frameRate);
    }
    const double passed = NowMs() - begin;
    const Cost after = CostNow();
    const auto threadsAfter = CpuMsByThread();
    const auto megabytes = [views](std::size_t from, std::size_t to) {
        constexpr double kMegabyte = 1024.0 * 1024;
        return (static_cast<double>(to) - static_cast<double>(from)) / kMegabyte / views;
    };
    std::cout << views << " views, " << passed / 1000
              << " s; each: " << (after.cpuMs - before.cpuMs) / passed / views * 100
              << " % of a core, memory " << megabytes(empty.memory.resident, after.memory.resident)
              << " MB in use, " << megabytes(empty.memory.committed, after.memory.committed)
              << " MB committed" << std::endl;
    for (std::size_t i = 0; i < shown.size(); ++i) {
        std::cout << "  view " << i + 1 << ": median " << rates[i].Median() << ", last "
                  << shown[i]->frameRate << " pictures per second" << std::endl;
        EXPECT_GT(shown[i]->frameRate, 0) << "view " << i + 1;
        EXPECT_EQ(shown[i]->statuses.back(), kConnected);
    }
    for (const auto& [name, used] : threadsAfter) {
        const auto was = threadsBefore.find(name);
        const double share = (used - (was == threadsBefore.end() ? 0 : was->second)) / passed / views * 100;
        std::wcout << L"  threads \"" << name << L"\": " << share << L" % of a core per view" << std::endl;
    }
    for (const auto& view : shown)
        view->Disconnect();
}

}  // namespace
