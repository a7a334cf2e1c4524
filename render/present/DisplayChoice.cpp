#include "render/present/DisplayChoice.h"

#include <wrl/client.h>

#include "util/Registry.h"

namespace norix {
namespace {

constexpr std::uint32_t kMotionJpeg = 2;

bool RegistrySaysWindows81() {
    const util::StringReg version(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion",
                                  L"CurrentVersion");
    return version.Value() == L"6.3";
}

}  // namespace

DisplayChoice ChooseDisplayMode(bool forceGdi, std::uint32_t decoderKind, HWND videoWindow,
                                const DirectDrawFunctions& directDraw) {
    if (forceGdi) return {};
    const bool available = ProbeDirectDraw(videoWindow, WindowsVersionCode(), directDraw);
    const bool use = available && decoderKind != kMotionJpeg;
    return {use ? DisplayMode::DirectDraw : DisplayMode::Gdi, available};
}

std::uint32_t WindowsVersionCode() {
    if (RegistrySaysWindows81()) return 0x603;
    OSVERSIONINFOA version = {};
    version.dwOSVersionInfoSize = sizeof(version);
    if (!GetVersionExA(&version) || version.dwMajorVersion != 6 || version.dwMinorVersion > 2) return 0;
    return version.dwMajorVersion << 8 | version.dwMinorVersion;
}

bool ProbeDirectDraw(HWND videoWindow, std::uint32_t windowsVersion, const DirectDrawFunctions& directDraw) {
    Microsoft::WRL::ComPtr<IDirectDraw7> object;
    if (FAILED(directDraw.CreateEx(nullptr, reinterpret_cast<void**>(object.GetAddressOf())))) return false;
    if (FAILED(object->SetCooperativeLevel(videoWindow, DDSCL_NORMAL))) return false;
    if (windowsVersion >= kWindows8) return true;
    DDCAPS driver = {};
    driver.dwSize = sizeof(driver);
    static_assert(sizeof(driver) == 380);
    if (FAILED(object->GetCaps(&driver, nullptr))) return false;
    return DriverCapsSuffice(driver.dwCaps);
}

}  // namespace norix
