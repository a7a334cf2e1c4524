#pragma once

#include <windows.h>

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

}  // namespace util
