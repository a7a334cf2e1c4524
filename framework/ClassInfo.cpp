#include "framework/ClassInfo.h"

#include <oleauto.h>
#include <olectl.h>

#include "framework/EntryPoint.h"
#include "framework/OleControl.h"
#include "framework/Registration.h"

namespace framework {

void* ClassInfo::Find(REFIID iid) {
    if (iid == IID_IProvideClassInfo) return static_cast<IProvideClassInfo*>(this);
    return InterfacePart::Find(iid);
}

HRESULT ClassInfo::GetTypeInfo(REFGUID type, ITypeInfo** info) {
    if (m_library == nullptr) {
        // From this module's own resource, never the registered one: another version may be registered.
        const HRESULT result = LoadTypeLibEx(ModulePath().c_str(), REGKIND_NONE, &m_library);
        if (FAILED(result)) return result;
    }
    return m_library->GetTypeInfoOfGuid(type, info);
}

STDMETHODIMP ClassInfo::GetClassInfo(ITypeInfo** info) {
    if (info == nullptr) return E_POINTER;
    *info = nullptr;
    return Guarded([&] { return GetTypeInfo(m_owner.Class().clsid, info); });
}

STDMETHODIMP ClassInfo::GetGUID(DWORD kind, GUID* guid) {
    if (guid == nullptr) return E_POINTER;
    *guid = GUID_NULL;
    if (kind != GUIDKIND_DEFAULT_SOURCE_DISP_IID) return E_INVALIDARG;
    *guid = m_owner.Class().eventInterface;
    return S_OK;
}

STDMETHODIMP ClassInfo::InterfaceSupportsErrorInfo(REFIID) {
    // Dispatch errors travel in EXCEPINFO; no interface of the control sets an IErrorInfo.
    return S_FALSE;
}

STDMETHODIMP ClassInfo::GetPages(CAUUID* pages) {
    if (pages == nullptr) return E_POINTER;
    pages->cElems = 0;
    pages->pElems = static_cast<GUID*>(CoTaskMemAlloc(sizeof(GUID)));
    if (pages->pElems == nullptr) return E_OUTOFMEMORY;
    pages->pElems[0] = m_owner.Class().propertyPage;
    pages->cElems = 1;
    return S_OK;
}

}  // namespace framework
