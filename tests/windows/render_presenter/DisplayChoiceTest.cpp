#include "render/DisplayChoice.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "tests/windows/render_presenter/Screen.h"
#include "util/Handles.h"

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

// Runs this program once more, as it finds itself on another Windows version. Under Wine only, where that is
// a setting; what it answers is explained in Main.cpp.
class OtherWindows : public testing::Test {
  protected:
    void SetUp() override {
        if (!GetProcAddress(GetModuleHandleW(L"ntdll"), "wine_get_version"))
            GTEST_SKIP() << "the system's version cannot be changed";
        wchar_t path[MAX_PATH];
        GetModuleFileNameW(nullptr, path, MAX_PATH);
        program = path;
        key = L"Software\\Wine\\AppDefaults\\" + program.substr(program.find_last_of(L'\\') + 1);
    }
    void TearDown() override {
        if (!key.empty()) RegDeleteKeyW(HKEY_CURRENT_USER, key.c_str());
    }

    DWORD ChoiceOn(const wchar_t* version) const {
        util::RegKey settings;
        RegCreateKeyW(HKEY_CURRENT_USER, key.c_str(), settings.Put());
        RegSetValueExW(settings.Get(), L"Version", 0, REG_SZ, reinterpret_cast<const BYTE*>(version),
                       static_cast<DWORD>((wcslen(version) + 1) * sizeof(wchar_t)));
        std::wstring command = L"\"" + program + L"\" --display-choice";
        STARTUPINFOW start = {};
        start.cb = sizeof(start);
        PROCESS_INFORMATION process = {};
        if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start,
                            &process))
            return MAXDWORD;
        const util::UniqueHandle thread(process.hThread);
        const util::UniqueHandle handle(process.hProcess);
        DWORD code = MAXDWORD;
        if (WaitForSingleObject(handle.Get(), 30000) == WAIT_OBJECT_0)
            GetExitCodeProcess(handle.Get(), &code);
        return code;
    }

    std::wstring program;
    std::wstring key;
};

TEST_F(OtherWindows, DriverCountsBeforeWindows8Only) {
    // Wine's driver has no overlays, so only the versions that do not ask get DirectDraw.
    constexpr DWORD kDirectDraw = static_cast<DWORD>(DisplayMode::DirectDraw) << 16;
    EXPECT_EQ(ChoiceOn(L"winxp"), 0u);
    EXPECT_EQ(ChoiceOn(L"vista"), 0x600u);
    EXPECT_EQ(ChoiceOn(L"win7"), 0x601u);
    EXPECT_EQ(ChoiceOn(L"win8"), 0x602u | kDirectDraw);
    EXPECT_EQ(ChoiceOn(L"win10") & kDirectDraw, kDirectDraw);
}

}  // namespace
}  // namespace norix
