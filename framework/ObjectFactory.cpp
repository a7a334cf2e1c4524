#include "framework/ObjectFactory.h"

#include "framework/Adopt.h"
#include "framework/EntryPoint.h"
#include "framework/Module.h"

namespace framework {

namespace {
constinit COleObjectFactory* g_firstFactory = nullptr;  // written during static construction only
}

COleObjectFactory::COleObjectFactory(const ClassRegistration& registration)
    : m_registration(registration), m_next(g_firstFactory) {
    g_firstFactory = this;
}

STDMETHODIMP COleObjectFactory::QueryInterface(REFIID iid, void** object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (iid != IID_IUnknown && iid != IID_IClassFactory) return E_NOINTERFACE;
    *object = static_cast<IClassFactory*>(this);
    AddRef();
    return S_OK;
}

// The factory is static; its references only keep the module loaded.
STDMETHODIMP_(ULONG) COleObjectFactory::AddRef() {
    COleControlModule::Get().Lock();
    return 2;
}

STDMETHODIMP_(ULONG) COleObjectFactory::Release() {
    COleControlModule::Get().Unlock();
    return 1;
}

STDMETHODIMP COleObjectFactory::CreateInstance(IUnknown* outer, REFIID iid, void** object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    return Guarded([&] { return Adopt(CreateObject())->QueryInterface(iid, object); });
}

STDMETHODIMP COleObjectFactory::LockServer(BOOL lock) {
    if (lock) {
        COleControlModule::Get().Lock();
    } else {
        COleControlModule::Get().Unlock();
    }
    return S_OK;
}

HRESULT COleObjectFactory::GetClassObject(REFCLSID clsid, REFIID iid, void** object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    for (COleObjectFactory* factory = g_firstFactory; factory != nullptr; factory = factory->m_next) {
        if (factory->m_registration.clsid == clsid) return factory->QueryInterface(iid, object);
    }
    return CLASS_E_CLASSNOTAVAILABLE;
}

HRESULT COleObjectFactory::UpdateRegistryAll(RegistryTransaction& registry, bool registering) {
    for (COleObjectFactory* factory = g_firstFactory; factory != nullptr; factory = factory->m_next) {
        const HRESULT result = registering ? RegisterClass(registry, factory->m_registration)
                                           : UnregisterClass(registry, factory->m_registration);
        if (FAILED(result)) return result;
    }
    return S_OK;
}

}  // namespace framework
