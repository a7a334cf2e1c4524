#pragma once

#include <windows.h>

#include <ocidl.h>
#include <wrl/client.h>

#include "framework/InterfacePart.h"

namespace framework {

class COleControl;

/// What the control says of its class: type information from the module's type library, rich error
/// support, and its property pages.
class ClassInfo final
    : public InterfacePart<COleControl, IProvideClassInfo2, ISupportErrorInfo, ISpecifyPropertyPages> {
  public:
    using InterfacePart::InterfacePart;

    /// Also answers for IProvideClassInfo, the base of IProvideClassInfo2.
    void* Find(REFIID iid);

    STDMETHODIMP GetClassInfo(ITypeInfo** info) override;
    /// GUIDKIND_DEFAULT_SOURCE_DISP_IID is the only kind there is.
    STDMETHODIMP GetGUID(DWORD kind, GUID* guid) override;
    STDMETHODIMP InterfaceSupportsErrorInfo(REFIID iid) override;
    STDMETHODIMP GetPages(CAUUID* pages) override;

    /// The type information of one type of the library. The library is loaded once per control.
    HRESULT GetTypeInfo(REFGUID type, ITypeInfo** info);

  private:
    Microsoft::WRL::ComPtr<ITypeLib> m_library;
};

}  // namespace framework
