#include "tests/windows/container/ContainerTest.h"

#include <algorithm>

#include "samples/host/TypeInfo.h"
#include "samples/host/Values.h"

using testing::ElementsAreArray;

namespace {

constexpr wchar_t kHostClass[] = L"ContainerTestHost";

// OLE for the whole run: objects that outlive a test by mistake must not meet a closed apartment.
class OleEnvironment : public testing::Environment {
  public:
    void SetUp() override { ASSERT_HRESULT_SUCCEEDED(OleInitialize(nullptr)); }
    void TearDown() override {
        HostWindow::Shared().Destroy();
        OleUninitialize();
    }
};

[[maybe_unused]] const auto* const kOleEnvironment = testing::AddGlobalTestEnvironment(new OleEnvironment);

}  // namespace

HostWindow& HostWindow::Shared() {
    static HostWindow shared;
    shared.Create();
    return shared;
}

void HostWindow::Create() {
    if (window_) return;
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = &DefWindowProcW;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.lpszClassName = kHostClass;
    windowClass.hbrBackground = GetSysColorBrush(COLOR_WINDOW);
    RegisterClassW(&windowClass);
    window_ = CreateWindowW(kHostClass, L"Container", WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, 0, 0, 420, 340,
                            nullptr, nullptr, windowClass.hInstance, nullptr);
    ShowWindow(window_, SW_SHOW);
    SetForegroundWindow(window_);
}

void HostWindow::Destroy() {
    if (window_) DestroyWindow(std::exchange(window_, nullptr));
}

EventRecorder::EventRecorder() = default;

HRESULT EventRecorder::Advise(IUnknown* control) {
    sink_ = EventSink::Create(ReadControlInfo(control).events, [this](const Event& event) {
        events.push_back(ToUtf8(event.member->name + L"(" + event.Arguments(false) + L")"));
        if (inHandler) inHandler();
    });
    return sink_->Advise(control);
}

void EventRecorder::Unadvise() {
    if (const auto sink = std::exchange(sink_, nullptr)) sink->Unadvise();
}

bool PumpUntil(const std::function<bool()>& condition, DWORD milliseconds) {
    const DWORD start = GetTickCount();
    while (!condition()) {
        const DWORD elapsed = GetTickCount() - start;
        if (elapsed >= milliseconds) return false;
        MSG message{};
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
        if (condition()) return true;
        MsgWaitForMultipleObjects(0, nullptr, FALSE, std::min<DWORD>(50, milliseconds - elapsed),
                                  QS_ALLINPUT);
    }
    return true;
}

ContainerTest::ContainerTest() : frame(window.Get(), log), site(window.Get(), frame, log) {}

ContainerTest::~ContainerTest() = default;

void ContainerTest::SetUp() {
    ASSERT_TRUE(module) << "NorixSDK.ocx was not found above the test program";
}

void ContainerTest::TearDown() {
    if (object) {
        CloseControl();
        ReleaseControl();
    }
    if (!module) return;
    EXPECT_EQ(site.References(), 0) << "the control kept its site";
    EXPECT_EQ(frame.References(), 0) << "the control kept the frame";
    EXPECT_EQ(module.CanUnloadNow(), S_OK) << "something of the module is still alive";
}

void ContainerTest::Create() {
    ASSERT_EQ(module.Create(IID_PPV_ARGS(&object)), S_OK);
    ASSERT_EQ(object.As(&automation), S_OK);
}

void ContainerTest::InitNew() {
    ASSERT_EQ(Query<IPersistStreamInit>()->InitNew(), S_OK);
}

void ContainerTest::SetSite() {
    ASSERT_EQ(object->SetClientSite(&site), S_OK);
}

void ContainerTest::CreateInSite() {
    ASSERT_NO_FATAL_FAILURE(Create());
    ASSERT_NO_FATAL_FAILURE(InitNew());
    ASSERT_NO_FATAL_FAILURE(SetSite());
}

void ContainerTest::DoVerb(LONG verb) {
    ASSERT_EQ(object->DoVerb(verb, nullptr, &site, 0, window.Get(), &site.position), S_OK) << "verb " << verb;
}

void ContainerTest::CloseControl() {
    EXPECT_EQ(object->Close(OLECLOSE_NOSAVE), S_OK);
    EXPECT_EQ(object->SetClientSite(nullptr), S_OK);
}

void ContainerTest::ReleaseControl() {
    automation.Reset();
    EXPECT_EQ(object.Reset(), 0u) << "somebody still holds the control";
}

HWND ContainerTest::ControlWindow() const {
    ComPtr<IOleWindow> inPlace;
    HWND found = nullptr;
    if (FAILED(object.As(&inPlace)) || FAILED(inPlace->GetWindow(&found))) return nullptr;
    return found;
}

void ContainerTest::ExpectCalls(const std::vector<std::string>& expected,
                                const std::vector<std::string>& optional) {
    auto calls = log.Take();
    std::erase_if(calls, [&](const std::string& call) { return std::ranges::count(optional, call) > 0; });
    EXPECT_THAT(calls, ElementsAreArray(expected));
}

void FireEvent(IDispatch* control) {
    CallMethod(control, L"Disconnect");
}
