#include "util/ScreenDpi.h"

#include "util/Handles.h"

namespace util {

int DpiOf(HWND window) noexcept {
    // Windows 10 knows it for each window.
    using GetDpiForWindow = UINT(WINAPI*)(HWND);
    const HMODULE user = GetModuleHandleW(L"user32.dll");
    const auto ofWindow = reinterpret_cast<GetDpiForWindow>(
        reinterpret_cast<void*>(user ? GetProcAddress(user, "GetDpiForWindow") : nullptr));
    if (const UINT dpi = ofWindow && window ? ofWindow(window) : 0) return static_cast<int>(dpi);
    const WindowDc dc(window);
    const int dpi = dc ? GetDeviceCaps(dc.Get(), LOGPIXELSY) : 0;
    return dpi > 0 ? dpi : USER_DEFAULT_SCREEN_DPI;
}

}  // namespace util
