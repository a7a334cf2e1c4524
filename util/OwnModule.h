#pragma once

#include <windows.h>

#include <string>

#include "util/Handles.h"

namespace util {

/// A reference to the module that holds this code, for threads that run in it: it stays loaded while they do.
/// For the main program it counts nothing.
inline UniqueModule ReferenceOwnModule() noexcept {
    static const char s_anchor = 0;
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<LPCWSTR>(&s_anchor), &module);
    return UniqueModule(module);
}

/// The folder of the module that holds this code, with a final backslash; empty when it can't be told.
inline std::wstring OwnModuleFolder() {
    static const char s_anchor = 0;
    HMODULE module = nullptr;
    if (!GetModuleHandleExW(
            GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
            reinterpret_cast<LPCWSTR>(&s_anchor), &module))
        return {};
    constexpr DWORD kLongestPath = 32768;
    std::wstring path(kLongestPath, L'\0');
    const DWORD length = GetModuleFileNameW(module, path.data(), kLongestPath);
    if (length == 0 || length == kLongestPath) return {};
    path.resize(length);
    path.resize(path.rfind(L'\\') + 1);  // npos + 1 is 0
    return path;
}

}  // namespace util
