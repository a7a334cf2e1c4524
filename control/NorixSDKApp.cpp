#include "control/NorixSDKApp.h"

#include <windows.h>

#include <olectl.h>

#include <cwchar>
#include <string_view>

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

using framework::RegistrationScope;

/// All of it or nothing.
HRESULT Register(RegistrationScope scope) {
    framework::RegistryTransaction registry(scope);
    if (FAILED(framework::RegisterTypeLibrary(registry))) return SELFREG_E_TYPELIB;
    if (FAILED(framework::COleObjectFactory::UpdateRegistryAll(registry, true))) return SELFREG_E_CLASS;
    registry.Commit();
    return S_OK;
}

HRESULT Unregister(RegistrationScope scope) {
    framework::RegistryTransaction registry(scope);
    if (FAILED(framework::UnregisterTypeLibrary(registry))) return SELFREG_E_TYPELIB;
    if (FAILED(framework::COleObjectFactory::UpdateRegistryAll(registry, false))) return SELFREG_E_CLASS;
    registry.Commit();
    return S_OK;
}

/// For whom, by the text behind regsvr32's /i: "user", or "machine" or nothing.
HRESULT ScopeOf(const wchar_t* text, RegistrationScope& scope) {
    const std::wstring_view words = text == nullptr ? L"" : text;
    const auto is = [&](std::wstring_view name) {
        return words.size() == name.size() && _wcsnicmp(words.data(), name.data(), name.size()) == 0;
    };
    if (!words.empty() && !is(L"user") && !is(L"machine")) return E_INVALIDARG;
    scope = is(L"user") ? RegistrationScope::User : RegistrationScope::Machine;
    return S_OK;
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
    return framework::Guarded([] { return norix::Register(framework::RegistrationScope::Machine); });
}

STDAPI DllUnregisterServer() {
    return framework::Guarded([] { return norix::Unregister(framework::RegistrationScope::Machine); });
}

STDAPI DllInstall(BOOL install, PCWSTR commandLine) {
    return framework::Guarded([&] {
        framework::RegistrationScope scope{};
        const HRESULT result = norix::ScopeOf(commandLine, scope);
        if (FAILED(result)) return result;
        return install ? norix::Register(scope) : norix::Unregister(scope);
    });
}
