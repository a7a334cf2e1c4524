#include "framework/Registration.h"

#include <oleauto.h>

#include <array>

#include "framework/Module.h"

namespace framework {

namespace {

// Component categories (comcat.h, objsafe.h).
constexpr const wchar_t* kCategories[] = {
    L"{40FC6ED4-2438-11CF-A3DB-080036F12502}",  // CATID_Control
    L"{7DD95801-9882-11CF-9FA9-00AA006C42C4}",  // CATID_SafeForScripting
    L"{7DD95802-9882-11CF-9FA9-00AA006C42C4}",  // CATID_SafeForInitializing
};

std::wstring GuidText(REFGUID guid) {
    std::array<wchar_t, 40> text{};
    StringFromGUID2(guid, text.data(), static_cast<int>(text.size()));
    return text.data();
}

/// Writes string values below one key of HKEY_CLASSES_ROOT and remembers the first failure.
class KeyWriter {
  public:
    explicit KeyWriter(std::wstring root) : m_root(std::move(root)) {}

    KeyWriter& Set(const std::wstring& subkey, const wchar_t* name, const std::wstring& value) {
        const std::wstring key = subkey.empty() ? m_root : m_root + L"\\" + subkey;
        const auto bytes = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
        const LSTATUS status =
            RegSetKeyValueW(HKEY_CLASSES_ROOT, key.c_str(), name, REG_SZ, value.c_str(), bytes);
        if (status != ERROR_SUCCESS && SUCCEEDED(m_result)) m_result = HRESULT_FROM_WIN32(status);
        return *this;
    }
    KeyWriter& SetDefault(const std::wstring& subkey, const std::wstring& value) {
        return Set(subkey, nullptr, value);
    }
    HRESULT Result() const { return m_result; }

  private:
    const std::wstring m_root;
    HRESULT m_result = S_OK;
};

HRESULT DeleteKey(const std::wstring& key) {
    const LSTATUS status = RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str());
    return status == ERROR_FILE_NOT_FOUND ? S_OK : HRESULT_FROM_WIN32(status);
}

HRESULT WriteProgId(const std::wstring& progId, const ClassRegistration& registration) {
    KeyWriter key(progId);
    key.SetDefault(L"", registration.description).SetDefault(L"CLSID", GuidText(registration.clsid));
    if (progId == registration.versionIndependentProgId) key.SetDefault(L"CurVer", registration.progId);
    return key.Result();
}

}  // namespace

std::wstring ModulePath() {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(COleControlModule::Get().Instance(), path.data(),
                                                static_cast<DWORD>(path.size()));
        if (length < path.size()) {
            path.resize(length);
            return path;
        }
        path.resize(path.size() * 2);
    }
}

HRESULT RegisterClass(const ClassRegistration& registration) {
    const std::wstring modulePath = ModulePath();
    KeyWriter key(L"CLSID\\" + GuidText(registration.clsid));
    key.SetDefault(L"", registration.description)
        .SetDefault(L"InprocServer32", modulePath)
        .Set(L"InprocServer32", L"ThreadingModel", L"Apartment");
    if (registration.progId == nullptr) return key.Result();

    key.SetDefault(L"ProgID", registration.progId)
        .SetDefault(L"VersionIndependentProgID", registration.versionIndependentProgId)
        .SetDefault(L"TypeLib", GuidText(registration.typeLibrary))
        .SetDefault(L"Version", registration.version)
        .SetDefault(L"Control", L"")
        .SetDefault(L"MiscStatus", L"0")
        .SetDefault(L"MiscStatus\\1", std::to_wstring(registration.miscStatus))
        .SetDefault(L"ToolboxBitmap32", modulePath + L", " + std::to_wstring(registration.toolboxBitmap));
    for (const wchar_t* category : kCategories) {
        key.SetDefault(std::wstring(L"Implemented Categories\\") + category, L"");
    }
    if (FAILED(key.Result())) return key.Result();
    const HRESULT versioned = WriteProgId(registration.progId, registration);
    return FAILED(versioned) ? versioned : WriteProgId(registration.versionIndependentProgId, registration);
}

HRESULT UnregisterClass(const ClassRegistration& registration) {
    HRESULT result = DeleteKey(L"CLSID\\" + GuidText(registration.clsid));
    if (registration.progId == nullptr) return result;
    for (const wchar_t* progId : {registration.progId, registration.versionIndependentProgId}) {
        const HRESULT deleted = DeleteKey(progId);
        if (FAILED(deleted)) result = deleted;
    }
    return result;
}

HRESULT RegisterTypeLibrary() {
    ITypeLib* library = nullptr;
    const HRESULT result = LoadTypeLibEx(ModulePath().c_str(), REGKIND_REGISTER, &library);
    if (library != nullptr) library->Release();
    return result;
}

HRESULT UnregisterTypeLibrary(REFGUID library, WORD major, WORD minor) {
    BSTR path = nullptr;
    if (FAILED(QueryPathOfRegTypeLib(library, major, minor, LANG_NEUTRAL, &path))) return S_OK;  // not there
    SysFreeString(path);
    return UnRegisterTypeLib(library, major, minor, LANG_NEUTRAL, SYS_WIN32);
}

}  // namespace framework
