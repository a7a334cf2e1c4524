#pragma once

// While one of these lives, this process sees an empty registry of its own in place of the local machine's
// and the current user's hives, so that tests can neither meet real settings nor one another.

#include <windows.h>

#include <string>

namespace util::test {

class PrivateHives {
  public:
    PrivateHives() {
        const std::wstring root = Root();
        RegCreateKeyW(HKEY_CURRENT_USER, (root + L"\\Machine").c_str(), &m_machine);
        RegCreateKeyW(HKEY_CURRENT_USER, (root + L"\\User").c_str(), &m_user);
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, m_machine);
        RegOverridePredefKey(HKEY_CURRENT_USER, m_user);
    }
    ~PrivateHives() {
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
        RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
        RegCloseKey(m_machine);
        RegCloseKey(m_user);
        RegDeleteTreeW(HKEY_CURRENT_USER, Root().c_str());
    }
    PrivateHives(const PrivateHives&) = delete;
    PrivateHives& operator=(const PrivateHives&) = delete;

    // Stores any bytes under any type.
    void Store(HKEY hive, const wchar_t* key, const wchar_t* name, DWORD type, const void* data, DWORD size) {
        HKEY opened = nullptr;
        RegCreateKeyW(hive, key, &opened);
        RegSetValueExW(opened, name, 0, type, static_cast<const BYTE*>(data), size);
        RegCloseKey(opened);
    }
    void Store(HKEY hive, const wchar_t* key, const wchar_t* name, DWORD value) {
        Store(hive, key, name, REG_DWORD, &value, sizeof value);
    }
    void Store(HKEY hive, const wchar_t* key, const wchar_t* name, const std::wstring& text) {
        Store(hive, key, name, REG_SZ, text.c_str(), static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
    }

  private:
    static std::wstring Root() {
        return L"Software\\NorixSDKTests\\" + std::to_wstring(GetCurrentProcessId());
    }

    HKEY m_machine = nullptr;
    HKEY m_user = nullptr;
};

}  // namespace util::test
