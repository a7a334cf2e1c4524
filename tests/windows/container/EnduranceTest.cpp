// Many lives of the control in one process leave nothing behind.

#include <iostream>
#include <vector>

#include "tests/support/ResourceUse.h"
#include "tests/windows/container/ContainerTest.h"
#include "util/Handles.h"

namespace {

// What the system caches on first use is there after these.
constexpr int kWarmUpRounds = 50;
constexpr int kControlRounds = 300;
constexpr int kModuleRounds = 200;

// Something left behind in every tenth round is found.
constexpr long kTolerated = 20;
constexpr long kToleratedHeapBytes = 8 * 1024;

// What the compiler's thread and exception runtime, linked into the module, leaves behind each time it is
// unloaded: a DLL that does nothing but throw does the same.
constexpr ResourceUse kRuntimePerLoad{.handleSlots = 2, .heapBlocks = 5, .heapBytes = 400};

void ExpectNoGrowth(const ResourceUse& before, const ResourceUse& after, const ResourceUse& perRound = {},
                    long rounds = 0) {
    std::cout << "before: " << before << "\nafter:  " << after << std::endl;
    EXPECT_LE(after.handleSlots, before.handleSlots + rounds * perRound.handleSlots + kTolerated);
    EXPECT_LE(after.gdiSlots, before.gdiSlots + kTolerated);
    EXPECT_LE(after.userSlots, before.userSlots + kTolerated);
    EXPECT_LE(after.threads, before.threads);
    EXPECT_LE(after.windows, before.windows);
    EXPECT_LE(after.heapBlocks, before.heapBlocks + rounds * perRound.heapBlocks + kTolerated);
    EXPECT_LE(after.heapBytes, before.heapBytes + rounds * perRound.heapBytes + kToleratedHeapBytes);
}

// A whole life of a control: loaded, shown, listened to, used, drawn, closed.
void LiveOnce(const ControlModule& module, HWND window) {
    CallLog log;
    RecordingFrame frame(window, log);
    RecordingSite site(window, frame, log);
    EventRecorder recorder;
    ComPtr<IOleObject> object;
    ASSERT_EQ(module.Create(IID_PPV_ARGS(&object)), S_OK);
    ComPtr<IPersistStreamInit> persist;
    ASSERT_EQ(object.As(&persist), S_OK);
    persist->InitNew();
    ASSERT_EQ(object->SetClientSite(&site), S_OK);
    ASSERT_EQ(recorder.Advise(object.Get()), S_OK);
    ASSERT_EQ(object->DoVerb(OLEIVERB_UIACTIVATE, nullptr, &site, 0, window, &site.position), S_OK);

    ComPtr<IDispatch> automation;
    ASSERT_EQ(object.As(&automation), S_OK);
    SetProperty(automation.Get(), L"ServerIP", L"192.0.2.1");
    SetProperty(automation.Get(), L"ServerIP", L"");
    FireEvent(automation.Get());
    EXPECT_EQ(recorder.events.size(), 1u);
    UpdateWindow(window);

    recorder.Unadvise();
    EXPECT_EQ(object->Close(OLECLOSE_NOSAVE), S_OK);
    EXPECT_EQ(object->SetClientSite(nullptr), S_OK);
    automation.Reset();
    persist.Reset();
    EXPECT_EQ(object.Reset(), 0u);
}

TEST(EnduranceTest, ManyModulesInOneProcess) {
    const HostWindow& window = HostWindow::Shared();
    // The system's libraries stay, so that only our module comes and goes: loading Wine's winmm costs twelve
    // handles each time.
    std::vector<util::UniqueModule> systemLibraries;
    for (const wchar_t* name : {L"winmm", L"ws2_32", L"wininet", L"bcrypt", L"ddraw"}) {
        systemLibraries.emplace_back(LoadLibraryW(name));
    }
    const auto liveInOwnModule = [&] {
        ControlModule module;
        ASSERT_TRUE(module);
        ASSERT_NO_FATAL_FAILURE(LiveOnce(module, window.Get()));
        ASSERT_EQ(module.CanUnloadNow(), S_OK);
        ASSERT_TRUE(module.Unload()) << "somebody keeps the module loaded";
    };
    for (int round = 0; round < kWarmUpRounds; ++round)
        ASSERT_NO_FATAL_FAILURE(liveInOwnModule());
    const auto before = ResourceUse::Now();
    for (int round = 0; round < kModuleRounds; ++round)
        ASSERT_NO_FATAL_FAILURE(liveInOwnModule());
    ExpectNoGrowth(before, ResourceUse::Now(), kRuntimePerLoad, kModuleRounds);
}

}  // namespace
