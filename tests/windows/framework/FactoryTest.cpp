// Registration and the module: what a DLL of the framework shows to COM.

#include <windows.h>

#include <gtest/gtest.h>
#include <ole2.h>

#include <string>

#include "framework/Module.h"
#include "framework/Registration.h"
#include "tests/windows/framework/TestControl.h"
#include "tests/windows/util/PrivateHives.h"
#include "tests/windows/util/RegistryText.h"

namespace framework::test {
namespace {

/// A text below HKEY_CLASSES_ROOT: the default one of a key, or the one named behind an @.
std::wstring Value(const std::wstring& place) {
    const std::size_t name = place.find(L'@');
    wchar_t text[512];
    DWORD size = sizeof text;
    const LSTATUS result =
        RegGetValueW(HKEY_CLASSES_ROOT, place.substr(0, name).c_str(),
                     name == place.npos ? nullptr : &place[name + 1], RRF_RT_REG_SZ, nullptr, text, &size);
    return result == ERROR_SUCCESS ? text : L"(missing)";
}

HRESULT Update(bool registering) {
    RegistryTransaction registry(RegistrationScope::Machine);
    const HRESULT result = COleObjectFactory::UpdateRegistryAll(registry, registering);
    registry.Commit();
    return result;
}

bool KeyExists(const std::wstring& key) {
    HKEY opened = nullptr;
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, KEY_READ, &opened) != ERROR_SUCCESS) return false;
    RegCloseKey(opened);
    return true;
}

TEST(Registration, WritesWhatContainersLookForAndTakesItAwayAgain) {
    const std::wstring clsid = L"{7C1F0B52-3A0E-4E0B-9D1E-610A447B1001}";
    const std::wstring path = ModulePath();
    ASSERT_EQ(Update(true), S_OK);

    const auto value = [&](const std::wstring& below) { return Value(L"CLSID\\" + clsid + below); };
    EXPECT_EQ(value(L""), L"Thermometer for framework tests");
    EXPECT_EQ(value(L"\\InprocServer32"), path);
    EXPECT_EQ(value(L"\\InprocServer32@ThreadingModel"), L"Apartment");
    EXPECT_EQ(value(L"\\ProgID"), L"FrameworkTests.Thermometer.1");
    EXPECT_EQ(value(L"\\VersionIndependentProgID"), L"FrameworkTests.Thermometer");
    EXPECT_EQ(value(L"\\TypeLib"), L"{7C1F0B52-3A0E-4E0B-9D1E-610A447B1002}");
    EXPECT_EQ(value(L"\\Version"), L"1.0");
    EXPECT_TRUE(KeyExists(L"CLSID\\" + clsid + L"\\Control"));
    EXPECT_EQ(value(L"\\MiscStatus\\1"), std::to_wstring(OLEMISC_INSIDEOUT));
    EXPECT_EQ(value(L"\\ToolboxBitmap32"), path + L", 7");
    for (const wchar_t* category : {L"{40FC6ED4-2438-11CF-A3DB-080036F12502}",     // controls
                                    L"{7DD95801-9882-11CF-9FA9-00AA006C42C4}",     // safe for scripting
                                    L"{7DD95802-9882-11CF-9FA9-00AA006C42C4}"}) {  // safe for initializing
        EXPECT_TRUE(KeyExists(L"CLSID\\" + clsid + L"\\Implemented Categories\\" + category));
    }

    CLSID found = {};
    EXPECT_EQ(CLSIDFromProgID(L"FrameworkTests.Thermometer.1", &found), S_OK);
    EXPECT_TRUE(found == kThermometerClass);
    found = {};
    EXPECT_EQ(CLSIDFromProgID(L"FrameworkTests.Thermometer", &found), S_OK);
    EXPECT_TRUE(found == kThermometerClass);
    EXPECT_EQ(Value(L"FrameworkTests.Thermometer\\CurVer"), L"FrameworkTests.Thermometer.1");

    EXPECT_EQ(Update(true), S_OK);  // again, over what is there
    EXPECT_EQ(Update(false), S_OK);
    EXPECT_FALSE(KeyExists(L"CLSID\\" + clsid));
    EXPECT_FALSE(KeyExists(L"FrameworkTests.Thermometer"));
    EXPECT_FALSE(KeyExists(L"FrameworkTests.Thermometer.1"));
    EXPECT_EQ(Update(false), S_OK);  // nothing there is no error
}

// ---- All or nothing

using util::test::PrivateHives;
using util::test::RegistryText;

TEST(Registration, IsTakenBackAsAWholeWhenAPartOfItFails) {
    PrivateHives hives;
    const auto contents = [] { return RegistryText(HKEY_CURRENT_USER, L""); };
    const std::wstring tree = L"Software\\Classes\\CLSID\\{ours}";
    hives.Store(HKEY_CURRENT_USER, tree.c_str(), L"Old", 7);
    hives.Store(HKEY_CURRENT_USER, (tree + L"\\InprocServer32").c_str(), nullptr, std::wstring(L"old.ocx"));
    const std::wstring before = contents();

    {
        RegistryTransaction registry(RegistrationScope::User);
        EXPECT_EQ(registry.Set(L"CLSID\\{ours}", L"InprocServer32", nullptr, L"new.ocx"), S_OK);
        EXPECT_EQ(registry.Set(L"CLSID\\{ours}", L"New", L"Name", L"value"), S_OK);
        EXPECT_EQ(registry.Set(L"TypeLib\\{ours}", L"1.0", nullptr, L"library"), S_OK);
        EXPECT_NE(contents(), before);
        EXPECT_HRESULT_FAILED(
            registry.Set(L"Ours.Class", std::wstring(300, L'k'), nullptr, L"too long a name"));
    }
    EXPECT_EQ(contents(), before);
    {
        RegistryTransaction registry(RegistrationScope::User);
        EXPECT_EQ(registry.Remove(L"CLSID\\{ours}"), S_OK);
        EXPECT_NE(contents(), before);
    }
    EXPECT_EQ(contents(), before);
    {
        RegistryTransaction registry(RegistrationScope::User);
        EXPECT_EQ(registry.Set(L"TypeLib\\{ours}", L"1.0", nullptr, L"library"), S_OK);
        registry.Commit();
    }
    EXPECT_NE(contents(), before);
    RegistryTransaction registry(RegistrationScope::User);
    EXPECT_EQ(registry.Remove(L"TypeLib\\{ours}"), S_OK);
    EXPECT_EQ(contents(), before);
}

// ---- The window class

TEST(Module, TakesItsWindowClassWithIt) {
    const HINSTANCE instance = COleControlModule::Get().Instance();
    auto* control = new Thermometer();
    ASSERT_TRUE(control->CreateHiddenWindow());
    wchar_t name[64] = {};
    ASSERT_NE(GetClassNameW(control->Handle(), name, 64), 0);
    WNDCLASSW windowClass = {};
    EXPECT_TRUE(GetClassInfoW(instance, name, &windowClass));
    EXPECT_EQ(control->Release(), 0u);

    COleControlModule::Get().OnDllMain(instance, DLL_PROCESS_DETACH, nullptr);
    EXPECT_FALSE(GetClassInfoW(instance, name, &windowClass));
    COleControlModule::Get().OnDllMain(instance, DLL_PROCESS_ATTACH, nullptr);
    control = new Thermometer();
    EXPECT_TRUE(control->CreateHiddenWindow());
    EXPECT_EQ(control->Release(), 0u);
}

}  // namespace
}  // namespace framework::test
