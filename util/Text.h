#pragma once

// Conversions between the text forms the control meets: UTF-16 (COM, Win32, paths), UTF-8 (protocols) and the
// system's ANSI code page (byte interfaces of the system). Embedded zeros are kept.
//
// Malformed input never fails: what can't be read becomes U+FFFD.
//
// Pure functions, any thread. Throw std::bad_alloc, and std::length_error for texts beyond 2^31 - 1 units.

#include <windows.h>

#include <oleauto.h>

#include <string>
#include <string_view>

#include "util/Handles.h"

namespace util {

std::wstring Utf8ToWide(std::string_view text);
std::string WideToUtf8(std::wstring_view text);

std::wstring AnsiToWide(std::string_view text);

/// A BSTR's characters; a null BSTR is the empty text. The BSTR stays the caller's.
std::wstring_view BstrView(BSTR text) noexcept;

/// Null when memory is short, which COM's callers report as E_OUTOFMEMORY.
UniqueBstr MakeBstr(std::wstring_view text) noexcept;

}  // namespace util
