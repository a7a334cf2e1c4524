#include <gtest/gtest.h>

#include <cstring>

#include "render/DisplayChoice.h"
#include "tests/windows/render_presenter/Screen.h"

// Run with --display-choice the program answers what DisplayChoiceTest asks a process of another Windows
// version: the version code in the low word of its exit code, the display mode above.
int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], "--display-choice") == 0) {
        const norix::TestWindow window({0, 0, 64, 48}, RGB(0, 0, 0));
        const norix::DisplayChoice choice = norix::ChooseDisplayMode(false, 4, window.Handle());
        return static_cast<int>(norix::WindowsVersionCode() | static_cast<std::uint32_t>(choice.mode) << 16);
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
