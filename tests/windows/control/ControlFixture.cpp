#include "tests/windows/control/ControlFixture.h"

#include <oleauto.h>
#include <urlmon.h>

#include "control/Identity.h"
#include "util/Log.h"

namespace norix::test {

FakeSite::FakeSite(const wchar_t* url) {
    EXPECT_EQ(CreateURLMoniker(nullptr, url, &m_moniker), S_OK);
}

STDMETHODIMP FakeSite::GetMoniker(DWORD assign, DWORD which, IMoniker** moniker) {
    EXPECT_EQ(assign, static_cast<DWORD>(OLEGETMONIKER_TEMPFORUSER));
    EXPECT_EQ(which, static_cast<DWORD>(OLEWHICHMK_CONTAINER));
    *moniker = nullptr;
    return m_moniker ? m_moniker.CopyTo(moniker) : E_NOTIMPL;
}

STDMETHODIMP FakeSite::GetContainer(IOleContainer** container) {
    *container = nullptr;
    return E_NOINTERFACE;
}

HostWindow::HostWindow(std::function<void(UINT)> onMessage) : m_onMessage(std::move(onMessage)) {
    m_window = CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    SetWindowLongPtrW(m_window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    SetWindowLongPtrW(m_window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&HostWindow::Procedure));
}

LRESULT CALLBACK HostWindow::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* self = reinterpret_cast<HostWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (message >= WM_APP) {
        self->m_onMessage(message);
        return 0;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

ControlTest::ControlTest() {
    util::Switches().threadId.Set(1);
    util::Switches().timeDiff.Set(1);
    util::Switches().fps.Set(0);
}

ControlTest::~ControlTest() {
    m_host.reset();
    const ULONG left = m_control != nullptr ? m_control->Release() : 0;
    EXPECT_EQ(left, 0u) << "somebody holds the control";
}

CNorixSDKCtrl& ControlTest::Create(bool window) {
    m_control = new CNorixSDKCtrl();
    m_host.emplace(*m_control, kEventInterface, events::kAll);
    EXPECT_TRUE(!window || m_control->CreateHiddenWindow());
    return *m_control;
}

void ControlTest::SetSite(IOleClientSite* site) {
    EXPECT_EQ(m_control->Embedding().SetClientSite(site), S_OK);
}

HRESULT ControlTest::Put(const wchar_t* name, const VARIANT& value) {
    return framework::test::Put(*m_control, CNorixSDKCtrl::Table().Find(name)->id, value);
}

HRESULT ControlTest::Put(const wchar_t* name, const wchar_t* text) {
    VARIANT value;
    value.vt = VT_BSTR;
    value.bstrVal = SysAllocString(text);
    const HRESULT result = Put(name, value);
    SysFreeString(value.bstrVal);
    return result;
}

HRESULT ControlTest::Put(const wchar_t* name, long number) {
    VARIANT value;
    value.vt = VT_I4;
    value.lVal = number;
    return Put(name, value);
}

std::string ControlTest::Get(const wchar_t* name) {
    VARIANT value;
    VariantInit(&value);
    DISPPARAMS none = {};
    EXPECT_EQ(m_control->Invoke(CNorixSDKCtrl::Table().Find(name)->id, IID_NULL, LOCALE_INVARIANT,
                                DISPATCH_PROPERTYGET, &none, &value, nullptr, nullptr),
              S_OK);
    const std::string text = framework::test::ToText(value);
    VariantClear(&value);
    return text;
}

void PumpMessages() {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

}  // namespace norix::test
