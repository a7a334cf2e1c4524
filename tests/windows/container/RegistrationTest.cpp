// What the module's own entry points write into the registry, for the machine and for one user.

#include <windows.h>

#include <gtest/gtest.h>
#include <olectl.h>

#include "tests/windows/container/ControlModule.h"
#include "tests/windows/util/PrivateHives.h"
#include "tests/windows/util/RegistryText.h"

namespace {

using util::test::PrivateHives;
using util::test::RegistryText;

class RegistrationTest : public testing::Test {
  protected:
    RegistrationTest() {
        for (const HKEY hive : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER}) {
            hives.Store(hive, L"Software\\Classes", L"There", 1);
        }
        empty = OfUser();
    }

    template <class Function>
    Function Entry(const char* name) {
        return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module.Get(), name)));
    }
    HRESULT Install(bool install, const wchar_t* scope) {
        return Entry<HRESULT(STDAPICALLTYPE*)(BOOL, PCWSTR)>("DllInstall")(install, scope);
    }
    HRESULT Call(const char* name) { return Entry<HRESULT(STDAPICALLTYPE*)()>(name)(); }

    static std::wstring OfMachine() { return RegistryText(HKEY_LOCAL_MACHINE, L""); }
    static std::wstring OfUser() { return RegistryText(HKEY_CURRENT_USER, L""); }

    ControlModule module;
    PrivateHives hives;
    std::wstring empty;  // how a hive looks before anything is registered
};

TEST_F(RegistrationTest, OfOneUserIsTheMachinesInAnotherPlace) {
    ASSERT_EQ(Install(true, L"user"), S_OK);
    EXPECT_EQ(OfMachine(), empty);
    const std::wstring user = OfUser();
    for (const wchar_t* part :
         {L"\\Software\\Classes\\CLSID\\{A0C4B5E1-6D0B-4F43-9C37-5C1E2D7B8024}\\InprocServer32",
          L"\\Software\\Classes\\NORIXSDK.NorixSDKCtrl.1\\CLSID",
          L"\\Software\\Classes\\TypeLib\\{46CC53D7-7A6E-4D2D-8F38-E138B5E48024}\\1.0\\0\\win32",
          L"\\Software\\Classes\\Interface\\{BE59B29F-5A23-472A-A463-8ACCF2C58024}\\TypeLib",
          L"\\Software\\Classes\\Interface\\{614F8A5D-AF7D-4D8F-9049-5B89DD9C8024}\\TypeLib"}) {
        EXPECT_NE(user.find(part), std::wstring::npos) << std::wstring(part).c_str() << user.c_str();
    }
    EXPECT_EQ(Install(false, L"USER"), S_OK);
    EXPECT_EQ(OfUser(), empty);

    for (const bool byInstall : {false, true}) {
        EXPECT_EQ(byInstall ? Install(true, L"machine") : Call("DllRegisterServer"), S_OK);
        EXPECT_EQ(OfMachine(), user);
        EXPECT_EQ(OfUser(), empty);
        EXPECT_EQ(byInstall ? Install(false, nullptr) : Call("DllUnregisterServer"), S_OK);
        EXPECT_EQ(OfMachine(), empty);
    }
}

TEST_F(RegistrationTest, LeavesAloneWhatIsNotItsOwn) {
    hives.Store(HKEY_CURRENT_USER, L"Software\\Classes\\TypeLib\\{46CC53D7-7A6E-4D2D-8F38-E138B5E48024}\\2.0",
                nullptr, std::wstring(L"a later version"));
    hives.Store(HKEY_CURRENT_USER, L"Software\\Norix", L"Setting", 1);
    const std::wstring before = OfUser();
    EXPECT_EQ(Install(false, L"user"), S_OK);  // nothing there is no error
    EXPECT_EQ(Install(true, L"user"), S_OK);
    EXPECT_EQ(Install(true, L"user"), S_OK);  // over what is there
    EXPECT_NE(OfUser(), before);
    EXPECT_EQ(Install(false, L"user"), S_OK);
    EXPECT_EQ(OfUser(), before);

    EXPECT_EQ(Install(true, L"everybody"), E_INVALIDARG);
    EXPECT_EQ(OfUser(), before);
    EXPECT_EQ(OfMachine(), empty);
}

}  // namespace
