#pragma once

// Which presenter a connection gets. Asked once per decoder, on the thread that makes it.

#include <windows.h>

#include <cstdint>

#include "render/present/DirectDrawFunctions.h"
#include "render/present/Presenter.h"

namespace norix {

struct DisplayChoice {
    DisplayMode mode = DisplayMode::Gdi;
    bool directDrawAvailable = false;  // what the probe said; false too when GDI was forced
};

/// GDI when it is forced or the stream is Motion JPEG (decoder kind 2), else what the probe says.
DisplayChoice ChooseDisplayMode(bool forceGdi, std::uint32_t decoderKind, HWND videoWindow,
                                const DirectDrawFunctions& directDraw = DirectDrawFunctions::System());

/// Major version << 8 | minor version, for 6.0 to 6.3; 0 for all others. From 6.3 on the system reports the
/// version that the host was built for, so that one is recognised by the registry.
std::uint32_t WindowsVersionCode();
inline constexpr std::uint32_t kWindows8 = 0x602;

/// Whether DirectDraw will do: it can be created for the window and, before Windows 8, its driver has
/// overlays and the blits we need. From Windows 8 on the system emulates them whatever the driver says.
bool ProbeDirectDraw(HWND videoWindow, std::uint32_t windowsVersion, const DirectDrawFunctions& directDraw);

/// The driver's part of that answer, from its DDCAPS word.
constexpr bool DriverCapsSuffice(std::uint32_t caps) {
    constexpr std::uint32_t needed = DDCAPS_BLT | DDCAPS_OVERLAY | DDCAPS_BLTCOLORFILL;
    if ((caps & needed) != needed) return false;
    return (caps & DDCAPS_BLTQUEUE) == 0 || (caps & DDCAPS_BLTSTRETCH) != 0;
}

}  // namespace norix
