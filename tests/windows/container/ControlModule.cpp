#include "tests/windows/container/ControlModule.h"

#include "control/Identity.h"
#include "tests/windows/container/BuiltFile.h"

using Microsoft::WRL::ComPtr;

ControlModule::ControlModule() : path_(FindBuiltFile(L"NorixSDK.ocx")), module_(LoadLibraryW(path_.c_str())) {
    if (!module_) return;
    // By way of void*: the two kinds of function pointer have nothing in common.
    getClassObject_ = reinterpret_cast<GetClassObjectFunction>(
        reinterpret_cast<void*>(GetProcAddress(module_.Get(), "DllGetClassObject")));
    canUnload_ = reinterpret_cast<CanUnloadFunction>(
        reinterpret_cast<void*>(GetProcAddress(module_.Get(), "DllCanUnloadNow")));
    if (!getClassObject_ || !canUnload_) module_.Reset();
}

HRESULT ControlModule::GetClassObject(REFCLSID clsid, REFIID iid, void** object) const {
    return getClassObject_(clsid, iid, object);
}

HRESULT ControlModule::Create(REFIID iid, void** object) const {
    ComPtr<IClassFactory> factory;
    const HRESULT result =
        getClassObject_(ControlClass(), IID_IClassFactory, reinterpret_cast<void**>(factory.GetAddressOf()));
    return FAILED(result) ? result : factory->CreateInstance(nullptr, iid, object);
}

HRESULT ControlModule::CanUnloadNow() const {
    return canUnload_();
}

bool ControlModule::Unload() {
    module_.Reset();
    return GetModuleHandleW(path_.c_str()) == nullptr;
}

const CLSID& ControlModule::ControlClass() {
    return norix::kControlClass;
}
const IID& ControlModule::AutomationInterface() {
    return norix::kDispatchInterface;
}
const IID& ControlModule::EventInterface() {
    return norix::kEventInterface;
}
