#include "framework/OlePropertyPage.h"

#include <olectl.h>

#include <cstring>

#include "framework/EntryPoint.h"

namespace framework {

COlePropertyPage::~COlePropertyPage() {
    if (m_dialog != nullptr) DestroyWindow(m_dialog);
}

STDMETHODIMP COlePropertyPage::QueryInterface(REFIID iid, void** object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (iid != IID_IUnknown && iid != IID_IPropertyPage) return E_NOINTERFACE;
    *object = static_cast<IPropertyPage*>(this);
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) COlePropertyPage::AddRef() {
    return InterlockedIncrement(&m_references);
}

STDMETHODIMP_(ULONG) COlePropertyPage::Release() {
    const LONG left = InterlockedDecrement(&m_references);
    if (left == 0) delete this;
    return left;
}

STDMETHODIMP COlePropertyPage::SetPageSite(IPropertyPageSite* site) {
    m_site = site;
    return S_OK;
}

INT_PTR CALLBACK COlePropertyPage::DialogProc(HWND, UINT message, WPARAM, LPARAM) {
    return message == WM_INITDIALOG ? TRUE : FALSE;
}

STDMETHODIMP COlePropertyPage::Activate(HWND parent, LPCRECT bounds, BOOL) {
    if (bounds == nullptr) return E_POINTER;
    if (m_dialog != nullptr) return E_UNEXPECTED;
    return GuardedCall(*this, [&]() -> HRESULT {
        m_dialog = CreateDialogParamW(COleControlModule::Get().Instance(), MAKEINTRESOURCEW(m_dialogResource),
                                      parent, &COlePropertyPage::DialogProc, 0);
        if (m_dialog == nullptr) return HRESULT_FROM_WIN32(GetLastError());
        if (!m_objects.empty()) OnShowObject(m_dialog, *m_objects.front().Get());
        return Move(bounds);
    });
}

STDMETHODIMP COlePropertyPage::Deactivate() {
    if (m_dialog == nullptr) return E_UNEXPECTED;
    DestroyWindow(std::exchange(m_dialog, nullptr));
    return S_OK;
}

SIZE COlePropertyPage::MeasureDialog() const {
    const HWND probe =
        CreateDialogParamW(COleControlModule::Get().Instance(), MAKEINTRESOURCEW(m_dialogResource),
                           GetDesktopWindow(), &COlePropertyPage::DialogProc, 0);
    RECT bounds = {};
    if (probe != nullptr) {
        GetWindowRect(probe, &bounds);
        DestroyWindow(probe);
    }
    return {bounds.right - bounds.left, bounds.bottom - bounds.top};
}

STDMETHODIMP COlePropertyPage::GetPageInfo(PROPPAGEINFO* info) {
    if (info == nullptr) return E_POINTER;
    const std::size_t bytes = (std::wcslen(m_title) + 1) * sizeof(wchar_t);
    auto* title = static_cast<LPOLESTR>(CoTaskMemAlloc(bytes));
    if (title == nullptr) return E_OUTOFMEMORY;
    std::memcpy(title, m_title, bytes);
    *info = {};
    info->cb = sizeof(*info);
    info->pszTitle = title;
    info->size = MeasureDialog();
    return S_OK;
}

STDMETHODIMP COlePropertyPage::SetObjects(ULONG count, IUnknown** objects) {
    if (count != 0 && objects == nullptr) return E_POINTER;
    return GuardedCall(*this, [&] {
        m_objects.assign(objects, objects + count);
        if (m_dialog != nullptr && !m_objects.empty()) OnShowObject(m_dialog, *m_objects.front().Get());
        return S_OK;
    });
}

STDMETHODIMP COlePropertyPage::Show(UINT command) {
    if (m_dialog == nullptr) return E_UNEXPECTED;
    ShowWindow(m_dialog, static_cast<int>(command));
    return S_OK;
}

STDMETHODIMP COlePropertyPage::Move(LPCRECT bounds) {
    if (bounds == nullptr) return E_POINTER;
    if (m_dialog == nullptr) return E_UNEXPECTED;
    MoveWindow(m_dialog, bounds->left, bounds->top, bounds->right - bounds->left,
               bounds->bottom - bounds->top, TRUE);
    return S_OK;
}

STDMETHODIMP COlePropertyPage::IsPageDirty() {
    return S_FALSE;
}
STDMETHODIMP COlePropertyPage::Apply() {
    return S_OK;
}
STDMETHODIMP COlePropertyPage::Help(LPCOLESTR) {
    return E_NOTIMPL;
}

STDMETHODIMP COlePropertyPage::TranslateAccelerator(LPMSG message) {
    if (message == nullptr) return E_POINTER;
    return m_dialog != nullptr && IsDialogMessageW(m_dialog, message) ? S_OK : S_FALSE;
}

}  // namespace framework
