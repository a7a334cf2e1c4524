#include "render/present/DisplayChoice.h"

#include <gtest/gtest.h>

#include "tests/windows/render_presenter/Screen.h"

namespace norix {
namespace {

HRESULT WINAPI NoDirectDraw(GUID*, void**, REFIID, IUnknown*) {
    return DDERR_GENERIC;
}

TEST(DisplayChoice, AsksTheDriverForWhatPresentingNeeds) {
    constexpr std::uint32_t kNeeded = DDCAPS_BLT | DDCAPS_OVERLAY | DDCAPS_BLTCOLORFILL;
    struct {
        std::uint32_t caps;
        bool suffice;
    } const cases[] = {{0, false},
                       {kNeeded, true},
                       {kNeeded & ~static_cast<std::uint32_t>(DDCAPS_BLT), false},
                       {kNeeded & ~static_cast<std::uint32_t>(DDCAPS_OVERLAY), false},
                       {kNeeded & ~static_cast<std::uint32_t>(DDCAPS_BLTCOLORFILL), false},
                       {kNeeded | DDCAPS_BLTQUEUE, false},
                       {kNeeded | DDCAPS_BLTQUEUE | DDCAPS_BLTSTRETCH, true},
                       {kNeeded | DDCAPS_BLTSTRETCH, true},
                       {DDCAPS_BLTQUEUE | DDCAPS_BLTSTRETCH, false}};
    for (const auto& [caps, suffice] : cases)
        EXPECT_EQ(DriverCapsSuffice(caps), suffice) << std::hex << caps;
}

TEST(DisplayChoice, DriverCountsBeforeWindows8Only) {
    const TestWindow window({0, 0, 64, 48}, RGB(0, 0, 0));
    const DirectDrawFunctions& real = DirectDrawFunctions::System();
    EXPECT_TRUE(ProbeDirectDraw(window.Handle(), kWindows8, real));
    for (const std::uint32_t version : {0u, 0x600u, 0x601u})
        EXPECT_FALSE(ProbeDirectDraw(window.Handle(), version, real)) << "Wine's driver has no overlays";
    const WORD system = LOWORD(GetVersion());
    EXPECT_GE(WindowsVersionCode(), static_cast<std::uint32_t>(LOBYTE(system) << 8 | HIBYTE(system)));
}

TEST(DisplayChoice, ProbeFailsWhereDirectDrawDoes) {
    const HWND window = GetDesktopWindow();
    DirectDrawFunctions broken;
    EXPECT_FALSE(ProbeDirectDraw(window, 0x603, broken));
    broken.createEx = NoDirectDraw;
    EXPECT_FALSE(ProbeDirectDraw(window, 0x603, broken));
}

}  // namespace
}  // namespace norix
