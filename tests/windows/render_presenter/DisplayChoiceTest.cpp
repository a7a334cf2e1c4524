#include "render/DisplayChoice.h"

#include <gtest/gtest.h>

#include "tests/windows/render_presenter/OtherSystem.h"
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

TEST(DisplayChoice, ForcedGdiAndMotionJpegNeverGetDirectDraw) {
    const TestWindow window({0, 0, 64, 48}, RGB(0, 0, 0));
    const DisplayChoice forced = ChooseDisplayMode(true, 4, window.Handle());
    EXPECT_EQ(forced.mode, DisplayMode::Gdi);
    EXPECT_FALSE(forced.directDrawAvailable);

    const DirectDrawFunctions& real = DirectDrawFunctions::System();
    EXPECT_TRUE(ProbeDirectDraw(window.Handle(), kWindows8, real));
    const DisplayChoice h264 = ChooseDisplayMode(false, 4, window.Handle());
    const DisplayChoice jpeg = ChooseDisplayMode(false, 2, window.Handle());
    EXPECT_EQ(h264.mode == DisplayMode::DirectDraw, h264.directDrawAvailable);
    EXPECT_EQ(jpeg.mode, DisplayMode::Gdi);
    EXPECT_EQ(jpeg.directDrawAvailable, h264.directDrawAvailable);  // the probe was still asked
}

TEST(DisplayChoice, ProbeFailsWhereDirectDrawDoes) {
    const HWND window = GetDesktopWindow();
    DirectDrawFunctions broken;
    EXPECT_FALSE(ProbeDirectDraw(window, 0x603, broken));
    broken.createEx = NoDirectDraw;
    EXPECT_FALSE(ProbeDirectDraw(window, 0x603, broken));
}

// What the other process answers is explained in Main.cpp.
TEST(DisplayChoice, DriverCountsBeforeWindows8Only) {
    OtherSystem system;
    if (!system.IsPossible()) GTEST_SKIP() << "the system's version cannot be changed";
    const auto choiceOn = [&system](const wchar_t* version) {
        system.SetWindowsVersion(version);
        return system.Run(L"--display-choice");
    };
    // Wine's driver has no overlays, so only the versions that do not ask get DirectDraw.
    constexpr DWORD kDirectDraw = static_cast<DWORD>(DisplayMode::DirectDraw) << 16;
    EXPECT_EQ(choiceOn(L"winxp"), 0u);
    EXPECT_EQ(choiceOn(L"vista"), 0x600u);
    EXPECT_EQ(choiceOn(L"win7"), 0x601u);
    EXPECT_EQ(choiceOn(L"win8"), 0x602u | kDirectDraw);
    EXPECT_EQ(choiceOn(L"win10") & kDirectDraw, kDirectDraw);
}

}  // namespace
}  // namespace norix
