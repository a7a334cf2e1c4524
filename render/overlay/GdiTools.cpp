#include "render/overlay/GdiTools.h"

#include <algorithm>

namespace norix {
namespace {

constexpr int kTenthsOfPointsPerInch = 720;
// Larger glyphs than this fill no screen, and take memory by the megabyte each.
constexpr int kLargestFontPixels = 2000;

}  // namespace

int DpiOf(HWND window) {
    // Windows 10 knows it for each window.
    using GetDpiForWindow = UINT(WINAPI*)(HWND);
    const HMODULE user = GetModuleHandleW(L"user32.dll");
    const auto ofWindow = reinterpret_cast<GetDpiForWindow>(
        reinterpret_cast<void*>(user ? GetProcAddress(user, "GetDpiForWindow") : nullptr));
    if (const UINT dpi = ofWindow && window ? ofWindow(window) : 0) return static_cast<int>(dpi);
    const util::WindowDc dc(window);
    const int dpi = dc ? GetDeviceCaps(dc.Get(), LOGPIXELSY) : 0;
    return dpi > 0 ? dpi : USER_DEFAULT_SCREEN_DPI;
}

util::UniqueFont MakePointFont(long tenthsOfPoint, const wchar_t* face, int dpi) {
    const int pixels = std::clamp(MulDiv(tenthsOfPoint, dpi, kTenthsOfPointsPerInch), -kLargestFontPixels,
                                  kLargestFontPixels);
    LOGFONTW font = {};
    font.lfHeight = -pixels;
    font.lfCharSet = DEFAULT_CHARSET;
    lstrcpynW(font.lfFaceName, face, LF_FACESIZE);
    return util::UniqueFont(CreateFontIndirectW(&font));
}

}  // namespace norix
