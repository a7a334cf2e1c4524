#include "control/DropTarget.h"

#include <ole2.h>

#include <optional>

#include "framework/Adopt.h"
#include "framework/EntryPoint.h"
#include "util/Handles.h"

namespace norix {

namespace {

FORMATETC TextFormat() {
    return {CF_UNICODETEXT, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
}

std::optional<std::wstring> ReadText(IDataObject& data) {
    FORMATETC format = TextFormat();
    STGMEDIUM medium = {};
    if (FAILED(data.GetData(&format, &medium))) return std::nullopt;
    std::optional<std::wstring> text;
    {
        const util::GlobalLockGuard<const wchar_t> memory(medium.hGlobal);
        if (memory) {
            // The text ends at its first zero, or with the memory when a sloppy source has none.
            const std::size_t capacity = GlobalSize(medium.hGlobal) / sizeof(wchar_t);
            text.emplace(memory.Get(), wcsnlen(memory.Get(), capacity));
        }
    }
    ReleaseStgMedium(&medium);
    return text;
}

}  // namespace

Microsoft::WRL::ComPtr<DropTarget> DropTarget::Register(HWND window, DropSink& sink) {
    Microsoft::WRL::ComPtr<DropTarget> target = framework::Adopt(new DropTarget(window, sink));
    if (FAILED(RegisterDragDrop(window, target.Get()))) return nullptr;
    return target;
}

void DropTarget::Revoke() {
    m_sink = nullptr;
    RevokeDragDrop(m_window);
}

STDMETHODIMP DropTarget::QueryInterface(REFIID iid, void** object) {
    if (object == nullptr) return E_POINTER;
    *object = iid == IID_IUnknown || iid == IID_IDropTarget ? static_cast<IDropTarget*>(this) : nullptr;
    if (*object == nullptr) return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) DropTarget::AddRef() {
    return InterlockedIncrement(&m_references);
}

STDMETHODIMP_(ULONG) DropTarget::Release() {
    const LONG left = InterlockedDecrement(&m_references);
    if (left == 0) delete this;
    return left;
}

STDMETHODIMP DropTarget::DragEnter(IDataObject* data, DWORD keys, POINTL point, DWORD* effect) {
    FORMATETC format = TextFormat();
    m_accepts = data != nullptr && data->QueryGetData(&format) == S_OK;
    return DragOver(keys, point, effect);
}

STDMETHODIMP DropTarget::DragOver(DWORD, POINTL, DWORD* effect) {
    if (effect == nullptr) return E_POINTER;
    *effect &= m_accepts ? DROPEFFECT_COPY : DROPEFFECT_NONE;
    return S_OK;
}

STDMETHODIMP DropTarget::DragLeave() {
    m_accepts = false;
    return S_OK;
}

STDMETHODIMP DropTarget::Drop(IDataObject* data, DWORD, POINTL, DWORD* effect) {
    if (data == nullptr || effect == nullptr) return E_POINTER;
    m_accepts = false;
    *effect &= DROPEFFECT_COPY;
    return framework::GuardedCall(*this, [&] {
        const std::optional<std::wstring> text = ReadText(*data);
        if (text && m_sink != nullptr) m_sink->OnTextDropped(*text);
        return S_OK;
    });
}

}  // namespace norix
