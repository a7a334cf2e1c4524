#pragma once

// A part of the registry as text, to be compared.

#include <windows.h>

#include <set>
#include <string>

namespace util::test {

/// One line for each key and value below `path`, sorted; what stands in texts and numbers, the rest by its
/// size.
inline std::wstring RegistryText(HKEY hive, const std::wstring& path, const std::wstring& shown = L"") {
    HKEY opened = nullptr;
    if (RegOpenKeyExW(hive, path.c_str(), 0, KEY_READ, &opened) != ERROR_SUCCESS) return {};
    std::set<std::wstring> lines;
    wchar_t name[512];
    BYTE data[2048];
    for (DWORD index = 0;; ++index) {
        DWORD length = 512;
        DWORD size = sizeof data - sizeof(wchar_t);
        DWORD type = 0;
        if (RegEnumValueW(opened, index, name, &length, nullptr, &type, data, &size) != ERROR_SUCCESS) break;
        data[size] = data[size + 1] = 0;
        std::wstring line = shown + L"@" + name + L" = " + std::to_wstring(type) + L" ";
        line += type == REG_SZ ? std::wstring(reinterpret_cast<const wchar_t*>(data)) : std::to_wstring(size);
        if (type == REG_DWORD) line += L" " + std::to_wstring(*reinterpret_cast<const DWORD*>(data));
        lines.insert(line + L"\n");
    }
    for (DWORD index = 0;; ++index) {
        DWORD length = 512;
        if (RegEnumKeyExW(opened, index, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
            break;
        const std::wstring child = shown + L"\\" + name;
        lines.insert(child + L"\n" + RegistryText(opened, name, child));
    }
    RegCloseKey(opened);
    std::wstring text;
    for (const std::wstring& line : lines)
        text += line;
    return text;
}

}  // namespace util::test
