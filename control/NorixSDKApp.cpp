#include "control/NorixSDKApp.h"

#include <windows.h>

#include <olectl.h>

#include "control/Identity.h"
#include "framework/EntryPoint.h"
#include "framework/ObjectFactory.h"
#include "framework/Registration.h"
#include "util/Log.h"

namespace norix {

namespace {
CNorixSDKApp g_app;
}

BOOL CNorixSDKApp::InitInstance() {
    return COleControlModule::InitInstance();
}

int CNorixSDKApp::ExitInstance() {
    util::CloseLogFile();
    return COleControlModule::ExitInstance();
}

namespace {

HRESULT Register() {
    if (FAILED(framework::RegisterTypeLibrary())) return SELFREG_E_TYPELIB;
    return FAILED(framework::COleObjectFactory::UpdateRegistryAll(true)) ? SELFREG_E_CLASS : S_OK;
}

HRESULT Unregister() {
    if (FAILED(framework::UnregisterTypeLibrary(kTypeLibrary, kTypeLibraryMajor, kTypeLibraryMinor))) {
        return SELFREG_E_TYPELIB;
    }
    return FAILED(framework::COleObjectFactory::UpdateRegistryAll(false)) ? SELFREG_E_CLASS : S_OK;
}

}  // namespace

}  // namespace norix

// ---- Exports (NorixSDK.def)

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
    return framework::COleControlModule::Get().OnDllMain(instance, reason, reserved);
}

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, void** object) {
    return framework::Guarded(
        [&] { return framework::COleObjectFactory::GetClassObject(clsid, iid, object); });
}

STDAPI DllCanUnloadNow() {
    return framework::COleControlModule::Get().CanUnload() ? S_OK : S_FALSE;
}

STDAPI DllRegisterServer() {
    return framework::Guarded([] { return norix::Register(); });
}

STDAPI DllUnregisterServer() {
    return framework::Guarded([] { return norix::Unregister(); });
}
