#include "render/present/Monitors.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/windows/render_presenter/Screen.h"

namespace norix {
namespace {

TEST(Monitors, KnowTheSystemsOwn) {
    const CMonitors monitors;
    const TestWindow window({10, 10, 60, 60}, RGB(0, 0, 0));
    const CMonitor nearest = monitors.NearestTo(window.Handle());
    EXPECT_NE(nearest.Handle(), nullptr);
    EXPECT_TRUE(nearest.IsPrimary());
    EXPECT_EQ(nearest.Rect(),
              (PixelRect{0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)}));

    // Far outside there is still a nearest one.
    EXPECT_NE(monitors.NearestTo(POINT{-30000, 30000}).Handle(), nullptr);
    EXPECT_NE(monitors.NearestTo(RECT{-30000, 0, -29000, 10}).Handle(), nullptr);
    const std::vector<CMonitor> all = monitors.All();
    EXPECT_EQ(static_cast<int>(all.size()), GetSystemMetrics(SM_CMONITORS));
    EXPECT_EQ(std::count_if(all.begin(), all.end(), [](const CMonitor& m) { return m.IsPrimary(); }), 1);
}

TEST(Monitors, MakeDoWithOneScreenWhereTheFunctionsAreMissing) {
    MonitorFunctions functions = MonitorFunctions::FromUser32();
    ASSERT_TRUE(functions.Complete());
    functions.enumDisplayDevices = nullptr;
    const CMonitors monitors(functions);
    const CMonitor only = monitors.NearestTo(GetDesktopWindow());
    EXPECT_EQ(only.Handle(), nullptr);
    EXPECT_TRUE(only.IsPrimary());
    EXPECT_EQ(only.Rect().Width(), GetSystemMetrics(SM_CXSCREEN));
    EXPECT_EQ(monitors.All().size(), 1u);
}

}  // namespace
}  // namespace norix
