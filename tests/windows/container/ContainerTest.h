#pragma once

#include <windows.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ocidl.h>
#include <oleidl.h>
#include <wrl/client.h>

#include <functional>
#include <string>
#include <vector>

#include "samples/host/Automation.h"
#include "samples/host/EventSink.h"
#include "tests/windows/container/ControlModule.h"
#include "tests/windows/container/RecordingSite.h"

using Microsoft::WRL::ComPtr;

// A visible top-level window for the control to live in. All tests share one, which comes back when a test
// has destroyed it: where no window manager runs, taking a window away costs seconds.
class HostWindow {
  public:
    static HostWindow& Shared();
    ~HostWindow() { Destroy(); }
    HostWindow(const HostWindow&) = delete;
    HostWindow& operator=(const HostWindow&) = delete;

    void Create();  // unless it is there
    void Destroy();
    HWND Get() const { return window_; }

  private:
    HostWindow() = default;

    HWND window_ = nullptr;
};

// Receives the events of a control, as "Name(value,value)", and runs what a test wants done inside a handler.
class EventRecorder {
  public:
    EventRecorder();
    ~EventRecorder() { Unadvise(); }
    EventRecorder(const EventRecorder&) = delete;
    EventRecorder& operator=(const EventRecorder&) = delete;

    HRESULT Advise(IUnknown* control);
    void Unadvise();

    std::vector<std::string> events;
    std::function<void()> inHandler;

  private:
    ComPtr<EventSink> sink_;
};

// Dispatches messages until the condition holds; false after `milliseconds`.
bool PumpUntil(const std::function<bool()>& condition, DWORD milliseconds = 20'000);

// A test with a container around one control. When it ends, the control must be gone with its last reference,
// nothing of the container may still be referenced, and the module must be ready to unload.
class ContainerTest : public testing::Test {
  protected:
    ContainerTest();
    ~ContainerTest() override;
    void SetUp() override;
    void TearDown() override;

    // The steps of a usual container. Each fails the test when the control does.
    void Create();
    void InitNew();
    void SetSite();
    void CreateInSite();  // all three
    void DoVerb(LONG verb);
    void CloseControl();
    void ReleaseControl();

    template <class Interface>
    ComPtr<Interface> Query() const {
        ComPtr<Interface> result;
        EXPECT_EQ(object.As(&result), S_OK);
        return result;
    }
    IDispatch* Automation() const { return automation.Get(); }

    // The control's window, null while it has none.
    HWND ControlWindow() const;

    // The callbacks since the last time are exactly these, apart from `optional` ones.
    void ExpectCalls(const std::vector<std::string>& expected, const std::vector<std::string>& optional = {});
    // Callbacks are not what this test is about.
    void IgnoreCalls() { log.Take(); }

    ControlModule module;
    HostWindow& window = HostWindow::Shared();
    CallLog log;
    RecordingFrame frame;
    RecordingSite site;
    ComPtr<IOleObject> object;
    ComPtr<IDispatch> automation;
};

// Disconnect always reports that there is no connection: an event that needs no camera.
inline constexpr char kDisconnectEvent[] = "OnConnStatus(2)";
void FireEvent(IDispatch* control);
