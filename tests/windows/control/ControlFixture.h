#pragma once

#include <windows.h>

#include <gtest/gtest.h>
#include <oleidl.h>
#include <wrl/client.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "control/Events.h"
#include "control/NorixSDKCtl.h"
#include "tests/support/DebuggerCapture.h"
#include "tests/windows/framework/EventRecorder.h"
#include "tests/windows/framework/TestObject.h"
#include "tests/windows/util/PrivateHives.h"

namespace norix::test {

using Texts = std::vector<std::string>;

/// Nothing listens there: the discard service (RFC 863) is long gone.
inline constexpr long kClosedPort = 9;

/// A container's site as far as the control reads it before activation: its moniker names the page.
class FakeSite final : public TestObject<IOleClientSite> {
  public:
    FakeSite() = default;
    explicit FakeSite(IMoniker* moniker) : m_moniker(moniker) {}
    /// A web page's address.
    explicit FakeSite(const wchar_t* url);

    STDMETHODIMP SaveObject() override { return S_OK; }
    STDMETHODIMP GetMoniker(DWORD assign, DWORD which, IMoniker** moniker) override;
    STDMETHODIMP GetContainer(IOleContainer** container) override;
    STDMETHODIMP ShowObject() override { return S_OK; }
    STDMETHODIMP OnShowWindow(BOOL) override { return S_OK; }
    STDMETHODIMP RequestNewObjectLayout() override { return E_NOTIMPL; }

  private:
    Microsoft::WRL::ComPtr<IMoniker> m_moniker;
};

/// A window of the host, without a picture, whose messages a test handles.
class HostWindow {
  public:
    explicit HostWindow(std::function<void(UINT message)> onMessage);
    ~HostWindow() { DestroyWindow(m_window); }
    HostWindow(const HostWindow&) = delete;
    HostWindow& operator=(const HostWindow&) = delete;
    HWND Handle() const { return m_window; }

  private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

    const std::function<void(UINT)> m_onMessage;
    HWND m_window = nullptr;
};

/// The control without a container, in a registry of its own that is empty at first. Its events are recorded.
class ControlTest : public testing::Test {
  protected:
    ControlTest();
    ~ControlTest() override;

    /// Makes the control, with a hidden window unless told otherwise. Once per test.
    CNorixSDKCtrl& Create(bool window = true);
    /// Puts the control into a container that has not activated it yet.
    void SetSite(IOleClientSite* site);
    CNorixSDKCtrl& Control() { return *m_control; }
    framework::test::EventRecorder& Host() { return *m_host; }
    HWND Window() const { return m_control->Handle(); }

    LRESULT Send(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) {
        return SendMessageW(Window(), message, wParam, lParam);
    }
    /// The tick of a timer that need not run.
    void Tick(ControlTimer timer) { Send(WM_TIMER, timer); }
    /// Whether the timer was running; it is not any more.
    bool StopTimer(ControlTimer timer) { return KillTimer(Window(), timer) != FALSE; }

    /// Writes a property as a host does.
    HRESULT Put(const wchar_t* name, const wchar_t* text);
    HRESULT Put(const wchar_t* name, long value);
    std::string Get(const wchar_t* name);

    /// Before Create: the constructor finds the log on.
    void EnableLog() { hives.Store(HKEY_LOCAL_MACHINE, kKey, L"EnableDebugOutput", 1); }
    static constexpr wchar_t kKey[] = L"Software\\KEST\\NorixSDK";

    util::test::PrivateHives hives;
    DebuggerCapture log;

  private:
    HRESULT Put(const wchar_t* name, const VARIANT& value);

    CNorixSDKCtrl* m_control = nullptr;
    std::optional<framework::test::EventRecorder> m_host;
};

/// Dispatches what is waiting in this thread's queue.
void PumpMessages();

}  // namespace norix::test
