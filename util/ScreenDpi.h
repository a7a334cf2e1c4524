#pragma once

#include <windows.h>

namespace util {

/// The dots per inch at which a window's content is to be drawn; 96 where nothing better is known. Any
/// thread.
int DpiOf(HWND window) noexcept;

}  // namespace util
