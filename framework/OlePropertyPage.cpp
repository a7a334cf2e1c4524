#include "framework/OlePropertyPage.h"

#include <olectl.h>

#include <cstring>

#include "framework/EntryPoint.h"

namespace framework {

namespace {

/// For the caller to free; null when memory is short.
LPOLESTR TaskCopy(const std::wstring& text) {
    const std::size_t bytes = (text.size() + 1) * sizeof(wchar_t);
    auto* const copy = static_cast<LPOLESTR>(CoTaskMemAlloc(bytes));
    if (copy != nullptr) std::memcpy(copy, text.c_str(), bytes);
    return copy;
}

}  // namespace

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

bool COlePropertyPage::CreatePage(HWND parent) {
    return Create(parent, WS_CHILD | DS_CONTROL, WS_EX_CONTROLPARENT);
}

void COlePropertyPage::ShowFirst() {
    if (!HasWindow() || m_objects.empty()) return;
    m_dirty = false;
    OnShowObject(*m_objects.front().Get());
}

STDMETHODIMP COlePropertyPage::Activate(HWND parent, LPCRECT bounds, BOOL) {
    if (bounds == nullptr) return E_POINTER;
    if (HasWindow()) return E_UNEXPECTED;
    return GuardedCall(*this, [&]() -> HRESULT {
        if (!CreatePage(parent)) return E_FAIL;
        ShowFirst();
        return Move(bounds);
    });
}

STDMETHODIMP COlePropertyPage::Deactivate() {
    if (!HasWindow()) return E_UNEXPECTED;
    return GuardedCall(*this, [&] {
        Destroy();
        return S_OK;
    });
}

SIZE COlePropertyPage::MeasureDialog() {
    const bool probe = !HasWindow() && CreatePage(GetDesktopWindow());
    RECT bounds = {};
    if (HasWindow()) GetWindowRect(Handle(), &bounds);
    if (probe) Destroy();
    return {bounds.right - bounds.left, bounds.bottom - bounds.top};
}

STDMETHODIMP COlePropertyPage::GetPageInfo(PROPPAGEINFO* info) {
    if (info == nullptr) return E_POINTER;
    return GuardedCall(*this, [&]() -> HRESULT {
        *info = {};
        info->cb = sizeof(*info);
        info->pszTitle = TaskCopy(m_title);
        if (info->pszTitle == nullptr) return E_OUTOFMEMORY;
        // Frames offer Help where a file is named.
        if (!m_help.empty()) info->pszHelpFile = TaskCopy(m_help);
        info->size = MeasureDialog();
        return S_OK;
    });
}

STDMETHODIMP COlePropertyPage::SetObjects(ULONG count, IUnknown** objects) {
    if (count != 0 && objects == nullptr) return E_POINTER;
    return GuardedCall(*this, [&] {
        m_objects.assign(objects, objects + count);
        ShowFirst();
        return S_OK;
    });
}

STDMETHODIMP COlePropertyPage::Show(UINT command) {
    if (!HasWindow()) return E_UNEXPECTED;
    ShowWindow(Handle(), static_cast<int>(command));
    return S_OK;
}

STDMETHODIMP COlePropertyPage::Move(LPCRECT bounds) {
    if (bounds == nullptr) return E_POINTER;
    if (!HasWindow()) return E_UNEXPECTED;
    MoveWindow(Handle(), bounds->left, bounds->top, bounds->right - bounds->left,
               bounds->bottom - bounds->top, TRUE);
    return S_OK;
}

void COlePropertyPage::SetDirty() {
    m_dirty = true;
    const Microsoft::WRL::ComPtr<IPropertyPageSite> site = m_site;  // while it is called
    if (site != nullptr) site->OnStatusChange(PROPPAGESTATUS_DIRTY | PROPPAGESTATUS_VALIDATE);
}

STDMETHODIMP COlePropertyPage::IsPageDirty() {
    return m_dirty ? S_OK : S_FALSE;
}

STDMETHODIMP COlePropertyPage::Apply() {
    if (m_objects.empty() || !HasWindow()) return E_UNEXPECTED;
    if (!m_dirty) return S_OK;
    return GuardedCall(*this, [&] {
        const HRESULT result = OnApply();
        if (SUCCEEDED(result)) m_dirty = false;
        return result;
    });
}

STDMETHODIMP COlePropertyPage::Help(LPCOLESTR) {
    return GuardedCall(*this, [&] { return OnHelp(); });
}

STDMETHODIMP COlePropertyPage::TranslateAccelerator(LPMSG message) {
    if (message == nullptr) return E_POINTER;
    return HasWindow() && IsDialogMessageW(Handle(), message) ? S_OK : S_FALSE;
}

}  // namespace framework
