// Class factory, registration and the module: what a DLL of the framework shows to COM.

#include <windows.h>

#include <gtest/gtest.h>
#include <ole2.h>

#include <map>
#include <string>

#include "framework/Module.h"
#include "framework/Registration.h"
#include "tests/windows/framework/TestControl.h"

namespace framework::test {
namespace {

IClassFactory* GetFactory() {
    IClassFactory* factory = nullptr;
    EXPECT_EQ(COleObjectFactory::GetClassObject(kThermometerClass, IID_PPV_ARGS(&factory)), S_OK);
    return factory;
}

TEST(Factory, CreatesObjectsThatKeepTheModuleLoaded) {
    ASSERT_TRUE(COleControlModule::Get().CanUnload());
    IClassFactory* factory = GetFactory();
    EXPECT_FALSE(COleControlModule::Get().CanUnload());
    IDispatch* control = nullptr;
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_PPV_ARGS(&control)), S_OK);
    factory->Release();
    EXPECT_FALSE(COleControlModule::Get().CanUnload());
    EXPECT_EQ(control->Release(), 0u);
    EXPECT_EQ(Thermometer::Living(), 0);
    EXPECT_TRUE(COleControlModule::Get().CanUnload());
}

TEST(Factory, LocksNest) {
    IClassFactory* factory = GetFactory();
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    factory->Release();
    EXPECT_FALSE(COleControlModule::Get().CanUnload());
    Factory().LockServer(FALSE);
    EXPECT_TRUE(COleControlModule::Get().CanUnload());
}

TEST(Factory, RefusesWithoutLeavingAnythingBehind) {
    IClassFactory* factory = GetFactory();
    IClassFactory* outer = factory;
    void* object = factory;
    EXPECT_EQ(factory->CreateInstance(outer, IID_IUnknown, &object), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(object, nullptr);
    object = factory;
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IClassFactory, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    object = factory;
    Factory().failNext = true;
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, &object), E_OUTOFMEMORY);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(factory->QueryInterface(IID_IDispatch, &object), E_NOINTERFACE);
    factory->Release();
    EXPECT_EQ(Thermometer::Living(), 0);
    EXPECT_TRUE(COleControlModule::Get().CanUnload());

    object = factory;
    EXPECT_EQ(COleObjectFactory::GetClassObject(kThermometerPage, IID_IUnknown, &object),
              CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(COleObjectFactory::GetClassObject(kThermometerClass, IID_IDispatch, &object), E_NOINTERFACE);
    EXPECT_TRUE(COleControlModule::Get().CanUnload());
}

// ---- Registration

/// Default and named values below a key of HKEY_CLASSES_ROOT, keyed by path.
std::map<std::wstring, std::wstring> ReadTree(const std::wstring& key, const std::wstring& below = L"") {
    std::map<std::wstring, std::wstring> values;
    HKEY opened = nullptr;
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, (key + below).c_str(), 0, KEY_READ, &opened) != ERROR_SUCCESS)
        return values;
    wchar_t name[256];
    for (DWORD i = 0;; ++i) {
        wchar_t data[512] = {};
        DWORD nameLength = 256;
        DWORD dataSize = sizeof data - sizeof(wchar_t);
        if (RegEnumValueW(opened, i, name, &nameLength, nullptr, nullptr, reinterpret_cast<BYTE*>(data),
                          &dataSize) != ERROR_SUCCESS) {
            break;
        }
        values[below + (nameLength != 0 ? L"@" + std::wstring(name) : L"")] = data;
    }
    for (DWORD i = 0;; ++i) {
        DWORD nameLength = 256;
        if (RegEnumKeyExW(opened, i, name, &nameLength, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
            break;
        values.merge(ReadTree(key, below + L"\\" + name));
    }
    RegCloseKey(opened);
    return values;
}

TEST(Registration, WritesWhatContainersLookForAndTakesItAwayAgain) {
    const std::wstring clsid = L"{7C1F0B52-3A0E-4E0B-9D1E-610A447B1001}";
    const std::wstring path = ModulePath();
    ASSERT_EQ(COleObjectFactory::UpdateRegistryAll(true), S_OK);

    const auto key = ReadTree(L"CLSID\\" + clsid);
    const auto value = [&](const wchar_t* name) {
        const auto found = key.find(name);
        return found != key.end() ? found->second : L"(missing)";
    };
    EXPECT_EQ(value(L""), L"Thermometer for framework tests");
    EXPECT_EQ(value(L"\\InprocServer32"), path);
    EXPECT_EQ(value(L"\\InprocServer32@ThreadingModel"), L"Apartment");
    EXPECT_EQ(value(L"\\ProgID"), L"FrameworkTests.Thermometer.1");
    EXPECT_EQ(value(L"\\VersionIndependentProgID"), L"FrameworkTests.Thermometer");
    EXPECT_EQ(value(L"\\TypeLib"), L"{7C1F0B52-3A0E-4E0B-9D1E-610A447B1002}");
    EXPECT_EQ(value(L"\\Version"), L"1.0");
    EXPECT_EQ(value(L"\\Control"), L"");
    EXPECT_EQ(value(L"\\MiscStatus\\1"), std::to_wstring(OLEMISC_INSIDEOUT));
    EXPECT_EQ(value(L"\\ToolboxBitmap32"), path + L", 7");
    for (const wchar_t* category : {L"{40FC6ED4-2438-11CF-A3DB-080036F12502}",     // controls
                                    L"{7DD95801-9882-11CF-9FA9-00AA006C42C4}",     // safe for scripting
                                    L"{7DD95802-9882-11CF-9FA9-00AA006C42C4}"}) {  // safe for initializing
        EXPECT_EQ(value((std::wstring(L"\\Implemented Categories\\") + category).c_str()), L"");
    }

    CLSID found = {};
    EXPECT_EQ(CLSIDFromProgID(L"FrameworkTests.Thermometer.1", &found), S_OK);
    EXPECT_TRUE(found == kThermometerClass);
    found = {};
    EXPECT_EQ(CLSIDFromProgID(L"FrameworkTests.Thermometer", &found), S_OK);
    EXPECT_TRUE(found == kThermometerClass);
    EXPECT_EQ(ReadTree(L"FrameworkTests.Thermometer")[L"\\CurVer"], L"FrameworkTests.Thermometer.1");

    EXPECT_EQ(COleObjectFactory::UpdateRegistryAll(true), S_OK);  // again, over what is there
    EXPECT_EQ(COleObjectFactory::UpdateRegistryAll(false), S_OK);
    EXPECT_TRUE(ReadTree(L"CLSID\\" + clsid).empty());
    EXPECT_TRUE(ReadTree(L"FrameworkTests.Thermometer").empty());
    EXPECT_TRUE(ReadTree(L"FrameworkTests.Thermometer.1").empty());
    EXPECT_EQ(COleObjectFactory::UpdateRegistryAll(false), S_OK);  // nothing there is no error
}

TEST(Registration, SaysWhenThereIsNoTypeLibrary) {
    EXPECT_TRUE(FAILED(RegisterTypeLibrary()));  // this program has none
    EXPECT_EQ(UnregisterTypeLibrary(kThermometerInterface, 1, 0), S_OK);
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
