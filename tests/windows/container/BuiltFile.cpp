#include "tests/windows/container/BuiltFile.h"

#include <windows.h>

#include <filesystem>

std::wstring FindBuiltFile(const std::wstring& name) {
    wchar_t self[MAX_PATH];
    GetModuleFileNameW(nullptr, self, MAX_PATH);
    std::error_code error;
    for (auto folder = std::filesystem::path(self).parent_path(); folder.has_relative_path();
         folder = folder.parent_path()) {
        const auto candidate = folder / name;
        if (std::filesystem::exists(candidate, error)) return candidate.wstring();
    }
    return name;
}
