// A recording asks its host for names, and the host does what it likes inside the question.

#include <winsock2.h>  // before windows.h

#include <algorithm>
#include <fstream>

#include "tests/native/record/RiffCheck.h"
#include "tests/windows/container/ContainerTest.h"
#include "tests/windows/container/LiveCamera.h"
#include "tests/windows/util/PrivateHives.h"

namespace {

constexpr DWORD kLongEnough = 20'000;  // ms

class Recording : public ContainerTest {
  protected:
    void SetUp() override {
        ContainerTest::SetUp();
        if (HasFatalFailure()) return;
        CreateInSite();
        DoVerb(OLEIVERB_INPLACEACTIVATE);
        ASSERT_EQ(host.Advise(object.Get()), S_OK);
        SetProperty(Automation(), L"RecordVideoPath", folder.Path().c_str());
        SetProperty(Automation(), L"RecordManualNaming", true);
        SetProperty(Automation(), L"RecordFileName", L"0.avi");
        SetProperty(Automation(), L"RecordMaxFileTimeLength", 1L);
        camera.Connect(Automation());
        host.inHandler = [this] {
            if (!host.events.back().starts_with("OnRequestFileName")) return;
            ++questions;
            onQuestion();
        };
    }
    void TearDown() override {
        host.Unadvise();
        ContainerTest::TearDown();
        IgnoreCalls();
    }

    void Record() { CallMethod(Automation(), L"StartRecording", {1L}); }
    void Stop() { CallMethod(Automation(), L"StopRecording", {1L}); }
    bool WaitFor(const char* event) {
        return PumpUntil([&] { return std::ranges::count(host.events, event) != 0; }, kLongEnough);
    }
    // All files are whole, and what is in them together is what was received, once.
    void ExpectNothingLost(std::size_t atLeast) {
        const auto files = folder.Files();
        EXPECT_GE(files.size(), atLeast);
        std::vector<long> numbers;
        for (const auto& path : files) {
            std::ifstream in(path, std::ios::binary);
            const auto avi =
                norix::tests::ReadAvi(std::vector<std::uint8_t>(std::istreambuf_iterator<char>(in), {}));
            EXPECT_EQ(avi.fault, "") << path;
            for (const auto& chunk : avi.Video())
                if (!chunk.data.empty()) numbers.push_back(LiveCamera::NumberOf(chunk.data));
        }
        std::ranges::sort(numbers);
        ASSERT_FALSE(numbers.empty());
        EXPECT_GE(numbers.front(), 0);
        for (std::size_t i = 1; i < numbers.size(); ++i)
            EXPECT_EQ(numbers[i], numbers[i - 1] + 1);
    }

    util::test::PrivateHives hives;
    LiveCamera camera;
    TemporaryFolder folder{L"recording"};
    EventRecorder host;
    int questions = 0;
    std::function<void()> onQuestion;
};

TEST_F(Recording, HandlerNamesTheNextFile) {
    onQuestion = [&] {
        SetProperty(Automation(), L"RecordFileName", (std::to_wstring(questions) + L".avi").c_str());
        if (questions == 3) Stop();
    };
    Record();
    EXPECT_TRUE(WaitFor("OnRecordStatus(4)"));
    const auto files = folder.Files();
    ASSERT_GE(files.size(), 3u);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(files[i].filename(), std::to_wstring(i) + L".avi");
    ExpectNothingLost(3);
}

TEST_F(Recording, HandlerMayDisconnect) {
    onQuestion = [&] { CallMethod(Automation(), L"Disconnect"); };
    Record();
    EXPECT_TRUE(WaitFor(kDisconnectEvent));
    EXPECT_EQ(std::ranges::count(host.events, "OnRecordStatus(4)"), 1);
    ExpectNothingLost(2);
}

TEST_F(Recording, HandlerMayLetGoOfTheControl) {
    onQuestion = [&] {
        host.Unadvise();
        CloseControl();
        automation.Reset();
        object.Reset();
    };
    Record();
    EXPECT_TRUE(PumpUntil([&] { return !object && module.CanUnloadNow() == S_OK; }, kLongEnough));
    ExpectNothingLost(2);
}

// Reports of a recording are events like others.
TEST_F(Recording, HandlersOfReportsMayEndIt) {
    for (const bool disconnects : {true, false}) {
        host.inHandler = [&] {
            if (host.events.back() != "OnRecordStatus(3)") return;
            host.inHandler = nullptr;
            disconnects ? void(CallMethod(Automation(), L"Disconnect")) : Stop();
        };
        host.events.clear();
        Record();
        EXPECT_TRUE(WaitFor("OnRecordStatus(4)")) << disconnects;
        Stop();
        if (disconnects) camera.Connect(Automation());
    }
}

}  // namespace
