#include "tests/windows/container/ControlModule.h"

#include <filesystem>

#include "control/Identity.h"

using Microsoft::WRL::ComPtr;

namespace {

constexpr wchar_t kModuleName[] = L"NorixSDK.ocx";

// The test program is somewhere below the build folder that holds the module.
std::wstring FindModule() {
    wchar_t self[MAX_PATH];
    GetModuleFileNameW(nullptr, self, MAX_PATH);
    std::error_code error;
    for (auto folder = std::filesystem::path(self).parent_path(); folder.has_relative_path();
         folder = folder.parent_path()) {
        for (const auto& candidate : {folder / kModuleName, folder / L"control" / kModuleName}) {
            if (std::filesystem::exists(candidate, error)) return candidate.wstring();
        }
    }
    return kModuleName;
}

}  // namespace

ControlModule::ControlModule() : path_(FindModule()), module_(LoadLibraryW(path_.c_str())) {
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

ClassRegistration::ClassRegistration(const ControlModule& module) {
    ComPtr<IUnknown> factory;
    result_ = module.GetClassObject(ControlModule::ControlClass(), IID_PPV_ARGS(&factory));
    if (FAILED(result_)) return;
    result_ = CoRegisterClassObject(ControlModule::ControlClass(), factory.Get(), CLSCTX_INPROC_SERVER,
                                    REGCLS_MULTIPLEUSE, &cookie_);
}

ClassRegistration::~ClassRegistration() {
    if (cookie_) CoRevokeClassObject(cookie_);
}
