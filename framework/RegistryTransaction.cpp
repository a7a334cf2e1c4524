#include "framework/RegistryTransaction.h"

#include <algorithm>

#include "util/Handles.h"

namespace framework {

namespace {

constexpr wchar_t kClasses[] = L"Software\\Classes";

HRESULT Result(LSTATUS status) {
    return HRESULT_FROM_WIN32(status);
}

// Of a key's name and of a value's (winreg.h limits), with the zero at the end.
constexpr DWORD kNameSize = 256;
constexpr DWORD kValueNameSize = 16384;

}  // namespace

RegistryTransaction::RegistryTransaction(RegistrationScope scope) noexcept
    : m_hive(scope == RegistrationScope::User ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE) {}

RegistryTransaction::~RegistryTransaction() {
    try {
        for (auto before = m_before.rbegin(); before != m_before.rend(); ++before) {
            RegDeleteTreeW(m_hive, Path(before->tree).c_str());
            if (before->content) {
                Write(m_hive, *before->content);
            } else {
                RemoveEmptyParents(before->tree);
            }
        }
    } catch (...) {  // No memory: nothing more can be put back.
    }
}

HRESULT RegistryTransaction::Set(const std::wstring& tree, const std::wstring& subkey, const wchar_t* name,
                                 const std::wstring& text) {
    const LSTATUS remembered = Remember(tree);
    if (remembered != ERROR_SUCCESS) return Result(remembered);
    const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
    const std::wstring path = Path(subkey.empty() ? tree : tree + L"\\" + subkey);
    return Result(RegSetKeyValueW(m_hive, path.c_str(), name, REG_SZ, text.c_str(), bytes));
}

HRESULT RegistryTransaction::Remove(const std::wstring& tree) {
    const LSTATUS remembered = Remember(tree);
    if (remembered != ERROR_SUCCESS) return Result(remembered);
    const LSTATUS removed = RegDeleteTreeW(m_hive, Path(tree).c_str());
    if (removed == ERROR_FILE_NOT_FOUND) return S_OK;
    if (removed == ERROR_SUCCESS) RemoveEmptyParents(tree);
    return Result(removed);
}

std::wstring RegistryTransaction::Path(const std::wstring& below) const {
    return std::wstring(kClasses) + L"\\" + below;
}

LSTATUS RegistryTransaction::Remember(const std::wstring& tree) {
    const auto same = [&](const Before& before) { return before.tree == tree; };
    if (std::any_of(m_before.begin(), m_before.end(), same)) return ERROR_SUCCESS;
    Key key{.name = Path(tree), .values = {}, .keys = {}};
    const LSTATUS status = Read(m_hive, key);
    if (status == ERROR_FILE_NOT_FOUND) {
        m_before.push_back({tree, std::nullopt});
        return ERROR_SUCCESS;
    }
    if (status == ERROR_SUCCESS) m_before.push_back({tree, std::move(key)});
    return status;
}

LSTATUS RegistryTransaction::Read(HKEY parent, Key& key) {
    util::RegKey opened;
    const LSTATUS status = RegOpenKeyExW(parent, key.name.c_str(), 0, KEY_READ, opened.Put());
    if (status != ERROR_SUCCESS) return status;

    DWORD longest = 0;
    RegQueryInfoKeyW(opened.Get(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                     &longest, nullptr, nullptr);
    std::wstring found(kValueNameSize, L'\0');
    for (DWORD index = 0;; ++index) {
        Value value{.name = {}, .type = REG_NONE, .data = std::vector<BYTE>(longest)};
        DWORD length = kValueNameSize;
        DWORD size = longest;
        const LSTATUS read = RegEnumValueW(opened.Get(), index, found.data(), &length, nullptr, &value.type,
                                           value.data.data(), &size);
        if (read == ERROR_NO_MORE_ITEMS) break;
        if (read != ERROR_SUCCESS) return read;
        value.name.assign(found, 0, length);
        value.data.resize(size);
        key.values.push_back(std::move(value));
    }
    for (DWORD index = 0;; ++index) {
        DWORD length = kNameSize;
        const LSTATUS read =
            RegEnumKeyExW(opened.Get(), index, found.data(), &length, nullptr, nullptr, nullptr, nullptr);
        if (read == ERROR_NO_MORE_ITEMS) return ERROR_SUCCESS;
        if (read != ERROR_SUCCESS) return read;
        Key below{.name = found.substr(0, length), .values = {}, .keys = {}};
        const LSTATUS inner = Read(opened.Get(), below);
        if (inner != ERROR_SUCCESS) return inner;
        key.keys.push_back(std::move(below));
    }
}

void RegistryTransaction::Write(HKEY parent, const Key& key) {
    util::RegKey made;
    if (RegCreateKeyExW(parent, key.name.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, made.Put(), nullptr) !=
        ERROR_SUCCESS) {
        return;
    }
    for (const Value& value : key.values) {
        RegSetValueExW(made.Get(), value.name.c_str(), 0, value.type, value.data.data(),
                       static_cast<DWORD>(value.data.size()));
    }
    for (const Key& below : key.keys)
        Write(made.Get(), below);
}

void RegistryTransaction::RemoveEmptyParents(const std::wstring& tree) const {
    for (std::size_t end = tree.rfind(L'\\'); end != std::wstring::npos; end = tree.rfind(L'\\', end - 1)) {
        const std::wstring parent = Path(tree.substr(0, end));
        DWORD keys = 0;
        DWORD values = 0;
        {
            util::RegKey opened;
            if (RegOpenKeyExW(m_hive, parent.c_str(), 0, KEY_READ, opened.Put()) != ERROR_SUCCESS) return;
            if (RegQueryInfoKeyW(opened.Get(), nullptr, nullptr, nullptr, &keys, nullptr, nullptr, &values,
                                 nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) {
                return;
            }
        }
        if (keys != 0 || values != 0 || RegDeleteKeyW(m_hive, parent.c_str()) != ERROR_SUCCESS) return;
    }
}

}  // namespace framework
