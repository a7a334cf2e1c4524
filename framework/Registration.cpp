#include "framework/Registration.h"

#include <oleauto.h>
#include <wrl/client.h>

#include <array>
#include <cwchar>
#include <vector>

#include "framework/Module.h"
#include "util/Handles.h"

namespace framework {

namespace {

// Component categories (comcat.h, objsafe.h).
constexpr const wchar_t* kCategories[] = {
    L"{40FC6ED4-2438-11CF-A3DB-080036F12502}",  // CATID_Control
    L"{7DD95801-9882-11CF-9FA9-00AA006C42C4}",  // CATID_SafeForScripting
    L"{7DD95802-9882-11CF-9FA9-00AA006C42C4}",  // CATID_SafeForInitializing
};

// The flags of a library that its FLAGS key has (LIBFLAGS in oaidl.h): restricted, control, hidden.
constexpr WORD kRegisteredFlags = LIBFLAG_FRESTRICTED | LIBFLAG_FCONTROL | LIBFLAG_FHIDDEN;

std::wstring GuidText(REFGUID guid) {
    std::array<wchar_t, 40> text{};
    StringFromGUID2(guid, text.data(), static_cast<int>(text.size()));
    return text.data();
}

/// Writes string values below one tree and remembers the first failure.
class TreeWriter {
  public:
    TreeWriter(RegistryTransaction& registry, std::wstring tree)
        : m_registry(registry), m_tree(std::move(tree)) {}

    TreeWriter& Set(const std::wstring& subkey, const wchar_t* name, const std::wstring& value) {
        if (SUCCEEDED(m_result)) m_result = m_registry.Set(m_tree, subkey, name, value);
        return *this;
    }
    TreeWriter& SetDefault(const std::wstring& subkey, const std::wstring& value) {
        return Set(subkey, nullptr, value);
    }
    HRESULT Result() const { return m_result; }

  private:
    RegistryTransaction& m_registry;
    const std::wstring m_tree;
    HRESULT m_result = S_OK;
};

std::wstring ClassTree(const ClassRegistration& registration) {
    return L"CLSID\\" + GuidText(registration.clsid);
}

HRESULT WriteProgId(RegistryTransaction& registry, const std::wstring& progId,
                    const ClassRegistration& registration) {
    TreeWriter key(registry, progId);
    key.SetDefault(L"", registration.description).SetDefault(L"CLSID", GuidText(registration.clsid));
    if (progId == registration.versionIndependentProgId) key.SetDefault(L"CurVer", registration.progId);
    return key.Result();
}

std::wstring TextAndFree(BSTR text) {
    const util::UniqueBstr owned(text);
    return text == nullptr ? std::wstring() : std::wstring(text, SysStringLen(text));
}

// The marshaller of interfaces that are IDispatch alone (PSDispatch).
constexpr wchar_t kDispatchMarshaller[] = L"{00020420-0000-0000-C000-000000000046}";

/// What the registry says of a type library.
struct LibraryFacts {
    std::wstring guid;
    std::wstring version;
    std::wstring description;
    WORD flags = 0;
    struct Interface {
        std::wstring guid;
        std::wstring name;
    };
    std::vector<Interface> interfaces;  // the dispatch interfaces in it

    std::wstring Tree() const { return L"TypeLib\\" + guid; }
};

/// The facts of one type that is a dispatch interface; none of another.
HRESULT ReadInterface(ITypeLib& library, UINT index, LibraryFacts& facts) {
    TYPEKIND kind{};
    HRESULT result = library.GetTypeInfoType(index, &kind);
    if (FAILED(result) || kind != TKIND_DISPATCH) return result;
    Microsoft::WRL::ComPtr<ITypeInfo> type;
    result = library.GetTypeInfo(index, &type);
    if (FAILED(result)) return result;
    TYPEATTR* attributes = nullptr;
    result = type->GetTypeAttr(&attributes);
    if (FAILED(result)) return result;
    const GUID guid = attributes->guid;
    type->ReleaseTypeAttr(attributes);
    BSTR name = nullptr;
    result = type->GetDocumentation(MEMBERID_NIL, &name, nullptr, nullptr, nullptr);
    if (FAILED(result)) return result;
    facts.interfaces.push_back({GuidText(guid), TextAndFree(name)});
    return S_OK;
}

HRESULT ReadLibrary(const std::wstring& path, LibraryFacts& facts) {
    Microsoft::WRL::ComPtr<ITypeLib> library;
    HRESULT result = LoadTypeLibEx(path.c_str(), REGKIND_NONE, &library);
    if (FAILED(result)) return result;
    TLIBATTR* attributes = nullptr;
    result = library->GetLibAttr(&attributes);
    if (FAILED(result)) return result;
    std::array<wchar_t, 16> version{};  // in hexadecimal, as the system looks for it
    swprintf_s(version.data(), version.size(), L"%x.%x", unsigned{attributes->wMajorVerNum},
               unsigned{attributes->wMinorVerNum});
    facts.guid = GuidText(attributes->guid);
    facts.version = version.data();
    facts.flags = attributes->wLibFlags & kRegisteredFlags;
    library->ReleaseTLibAttr(attributes);
    BSTR description = nullptr;
    result = library->GetDocumentation(MEMBERID_NIL, nullptr, &description, nullptr, nullptr);
    if (FAILED(result)) return result;
    facts.description = TextAndFree(description);
    for (UINT index = 0; SUCCEEDED(result) && index < library->GetTypeInfoCount(); ++index) {
        result = ReadInterface(*library.Get(), index, facts);
    }
    return result;
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

HRESULT RegisterClass(RegistryTransaction& registry, const ClassRegistration& registration) {
    const std::wstring modulePath = ModulePath();
    TreeWriter key(registry, ClassTree(registration));
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
    const HRESULT versioned = WriteProgId(registry, registration.progId, registration);
    return FAILED(versioned) ? versioned
                             : WriteProgId(registry, registration.versionIndependentProgId, registration);
}

HRESULT UnregisterClass(RegistryTransaction& registry, const ClassRegistration& registration) {
    HRESULT result = registry.Remove(ClassTree(registration));
    if (registration.progId == nullptr) return result;
    for (const wchar_t* progId : {registration.progId, registration.versionIndependentProgId}) {
        if (SUCCEEDED(result)) result = registry.Remove(progId);
    }
    return result;
}

// By hand, because the system's own function for one user is missing before Windows Vista and leaves to the
// reader where it writes; what both write is the same.
HRESULT RegisterTypeLibrary(RegistryTransaction& registry) {
    const std::wstring path = ModulePath();
    LibraryFacts facts;
    const HRESULT read = ReadLibrary(path, facts);
    if (FAILED(read)) return read;

    TreeWriter library(registry, facts.Tree());
    library.SetDefault(facts.version, facts.description)
        .SetDefault(facts.version + L"\\0\\win32", path)
        .SetDefault(facts.version + L"\\FLAGS", std::to_wstring(facts.flags));
    HRESULT result = library.Result();
    for (const LibraryFacts::Interface& found : facts.interfaces) {
        if (FAILED(result)) break;
        TreeWriter key(registry, L"Interface\\" + found.guid);
        key.SetDefault(L"", found.name)
            .SetDefault(L"ProxyStubClsid32", kDispatchMarshaller)
            .SetDefault(L"TypeLib", facts.guid)
            .Set(L"TypeLib", L"Version", facts.version);
        result = key.Result();
    }
    return result;
}

HRESULT UnregisterTypeLibrary(RegistryTransaction& registry) {
    LibraryFacts facts;
    const HRESULT read = ReadLibrary(ModulePath(), facts);
    if (FAILED(read)) return read;
    HRESULT result = registry.Remove(facts.Tree() + L"\\" + facts.version);
    for (const LibraryFacts::Interface& found : facts.interfaces) {
        if (SUCCEEDED(result)) result = registry.Remove(L"Interface\\" + found.guid);
    }
    return result;
}

}  // namespace framework
