#include "util/Registry.h"

#include <cwchar>
#include <vector>

namespace util {
namespace {

constexpr REGSAM kView = KEY_WOW64_32KEY;
constexpr REGSAM kReadWrite = KEY_READ | KEY_WRITE;
static_assert(kReadWrite == 0x2001f);

constexpr size_t kMaxStringChars = 32767;

RegKey OpenForReading(HKEY hive, const wchar_t* key) noexcept {
    RegKey opened;
    if (RegOpenKeyExW(hive, key, 0, KEY_READ | kView, opened.Put()) != ERROR_SUCCESS) opened.Release();
    return opened;
}

RegKey CreateKey(HKEY hive, const wchar_t* key) noexcept {
    RegKey created;
    if (RegCreateKeyExW(hive, key, 0, nullptr, REG_OPTION_NON_VOLATILE, kReadWrite | kView, nullptr,
                        created.Put(), nullptr) != ERROR_SUCCESS) {
        created.Release();
    }
    return created;
}

std::optional<uint32_t> QueryDword(const RegKey& key, const wchar_t* name) noexcept {
    DWORD type = 0;
    DWORD value = 0;
    DWORD size = sizeof value;
    if (RegQueryValueExW(key.Get(), name, nullptr, &type, reinterpret_cast<BYTE*>(&value), &size) !=
        ERROR_SUCCESS) {
        return std::nullopt;
    }
    if (type != REG_DWORD || size != sizeof value) return std::nullopt;
    return value;
}

std::optional<std::wstring> QueryString(const RegKey& key, const wchar_t* name) {
    // One buffer of the largest size: asking for the size first would race with a writer.
    std::vector<wchar_t> buffer(kMaxStringChars + 1);
    DWORD type = 0;
    DWORD size = static_cast<DWORD>(buffer.size() * sizeof(wchar_t));
    if (RegQueryValueExW(key.Get(), name, nullptr, &type, reinterpret_cast<BYTE*>(buffer.data()), &size) !=
        ERROR_SUCCESS) {
        return std::nullopt;
    }
    if (type != REG_SZ) return std::nullopt;
    return std::wstring(buffer.data(), wcsnlen(buffer.data(), size / sizeof(wchar_t)));
}

bool SetString(const RegKey& key, const wchar_t* name, const std::wstring& text) noexcept {
    const auto size = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
    return RegSetValueExW(key.Get(), name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()), size) ==
           ERROR_SUCCESS;
}

}  // namespace

IntReg::IntReg(HKEY hive, const wchar_t* key, const wchar_t* name) noexcept {
    const RegKey opened = OpenForReading(hive, key);
    if (opened) m_value = QueryDword(opened, name);
}

StringReg::StringReg(HKEY hive, const wchar_t* key, const wchar_t* name, bool create)
    : m_key(create ? CreateKey(hive, key) : OpenForReading(hive, key)), m_name(name) {
    if (m_key) m_value = QueryString(m_key, name);
}

bool StringReg::Set(const std::wstring& text) {
    if (!m_key || !SetString(m_key, m_name.c_str(), text)) return false;
    m_value = text;
    return true;
}

void CRegistryEx::Open(HKEY hive, const wchar_t* key) {
    if (m_key && RegCloseKey(m_key.Release()) != ERROR_SUCCESS) throw CRegistryError();
    m_key = CreateKey(hive, key);
    if (!m_key) throw CRegistryError();
}

std::optional<uint32_t> CRegistryEx::ReadDword(const wchar_t* name) const noexcept {
    return m_key ? QueryDword(m_key, name) : std::nullopt;
}

std::optional<std::wstring> CRegistryEx::ReadString(const wchar_t* name) const {
    return m_key ? QueryString(m_key, name) : std::nullopt;
}

bool CRegistryEx::WriteDword(const wchar_t* name, uint32_t value) noexcept {
    return m_key && RegSetValueExW(m_key.Get(), name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value),
                                   sizeof(value)) == ERROR_SUCCESS;
}

bool CRegistryEx::WriteString(const wchar_t* name, const std::wstring& text) noexcept {
    return m_key && SetString(m_key, name, text);
}

}  // namespace util
