#pragma once

#include <windows.h>

#include <unknwn.h>

#include "framework/Registration.h"

namespace framework {

/// The class factory of one coclass: a static object per class, found by DllGetClassObject through a list
/// that all factories of the module join when they are constructed.
class COleObjectFactory : public IClassFactory {
  public:
    explicit COleObjectFactory(const ClassRegistration& registration);
    COleObjectFactory(const COleObjectFactory&) = delete;
    COleObjectFactory& operator=(const COleObjectFactory&) = delete;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;
    /// CLASS_E_NOAGGREGATION with an outer object: a control owns its window and cannot be a part.
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** object) override;
    STDMETHODIMP LockServer(BOOL lock) override;

    /// DllGetClassObject's body.
    static HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** object);
    /// Registers or unregisters every class of the module. S_OK, or the first failure.
    static HRESULT UpdateRegistryAll(RegistryTransaction& registry, bool registering);

  protected:
    ~COleObjectFactory() = default;

    /// A new object with one reference. May throw.
    virtual IUnknown* CreateObject() = 0;

  private:
    const ClassRegistration m_registration;
    COleObjectFactory* const m_next;
};

}  // namespace framework
