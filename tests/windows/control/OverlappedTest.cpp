// Windows over the picture, and the whole screen for it.

#include "control/view/FullScreen.h"

#include <utility>

#include "tests/windows/control/ControlFixture.h"

namespace norix::test {
namespace {

// The video has twice the window's pixels each way.
class OverlappedTest : public ControlTest {
  protected:
    OverlappedTest() {
        Create();
        MoveWindow(Window(), 0, 0, 320, 240, FALSE);
        Control().SetVideoSize(640, 480);
    }
    HWND Child() const { return GetWindow(Window(), GW_CHILD); }
    std::wstring Title() const {
        wchar_t text[64] = L"";
        GetWindowTextW(Child(), text, 64);
        return text;
    }
    // Its rectangle after the user has proposed one, both in the control's client pixels.
    RECT Propose(UINT message, RECT rect) {
        MapWindowPoints(Window(), nullptr, reinterpret_cast<POINT*>(&rect), 2);
        SendMessageW(Child(), message, WMSZ_RIGHT, reinterpret_cast<LPARAM>(&rect));
        MapWindowPoints(nullptr, Window(), reinterpret_cast<POINT*>(&rect), 2);
        return rect;
    }
    std::wstring Json(long left, long top, long width, long height) const {
        return L"{ \"left\": " + std::to_wstring(left) + L", \"top\": " + std::to_wstring(top) +
               L", \"width\": " + std::to_wstring(width) + L", \"height\": " + std::to_wstring(height) +
               L", \"video_width\": 640, \"video_height\": 480 }";
    }
};

TEST_F(OverlappedTest, AreMadeMovedAndDeletedByIndex) {
    EXPECT_EQ(Control().GetOverlappedWindowInJSON(5), L"");
    EXPECT_EQ(Control().DeleteOverlappedWindow(5), E_FAIL);
    EXPECT_EQ(Control().CreateOverlappedWindow(5, 100, 60, 200, 120, true, false, L"first"), S_OK);
    EXPECT_EQ(Control().GetOverlappedWindowInJSON(5), Json(100, 60, 200, 120));
    EXPECT_EQ(GetWindowLongW(Child(), GWL_STYLE) & ~WS_VISIBLE, 0x54C00000 & ~WS_VISIBLE);
    EXPECT_EQ(GetWindowLongW(Child(), GWL_EXSTYLE) & 0x180, 0x180);
    const HWND first = Child();
    EXPECT_EQ(Control().CreateOverlappedWindow(5, 20, 40, 160, 140, false, false, L"again"), S_OK);
    EXPECT_EQ(Child(), first);
    EXPECT_EQ(GetWindow(first, GW_HWNDNEXT), nullptr);
    EXPECT_EQ(Title(), L"again");
    EXPECT_EQ(GetWindowLongW(first, GWL_STYLE) & WS_VISIBLE, 0);
    EXPECT_EQ(Control().GetOverlappedWindowInJSON(5), Json(20, 40, 160, 140));
    EXPECT_EQ(Control().DeleteOverlappedWindow(5), S_OK);
    EXPECT_FALSE(IsWindow(first));
    Control().SetVideoSize(0, 0);
    EXPECT_EQ(Control().CreateOverlappedWindow(5, 1, 1, 1, 1, true, true, L""), E_FAIL) << "no video size";
}

TEST_F(OverlappedTest, ObeyTheUserWithinTheirLimits) {
    Control().CreateOverlappedWindow(1, 100, 60, 200, 120, true, true, L"");
    EXPECT_EQ(GetWindowLongW(Child(), GWL_STYLE) & WS_THICKFRAME, WS_THICKFRAME);
    RECT rect = Propose(WM_MOVING, {300, -10, 400, 50});
    EXPECT_EQ(rect.left, 220);
    EXPECT_EQ(rect.top, 0);
    rect = Propose(WM_SIZING, {50, 30, 60, 90});
    EXPECT_EQ(rect.right - rect.left, 32);
    EXPECT_EQ(rect.left, 50);

    SendMessageW(Child(), WM_KEYDOWN, VK_RIGHT, 0);
    SendMessageW(Child(), WM_KEYDOWN, VK_UP, 0);
    EXPECT_EQ(Control().GetOverlappedWindowInJSON(1), Json(108, 52, 200, 120));
    SendMessageW(Child(), WM_CLOSE, 0, 0);
    EXPECT_TRUE(IsWindow(Child()));

    // Where the user has put it, it stays on the video.
    MoveWindow(Window(), 0, 0, 160, 120, FALSE);
    EXPECT_EQ(Control().GetOverlappedWindowInJSON(1), Json(108, 52, 200, 120));
    MoveWindow(Window(), 0, 0, 320, 240, FALSE);
    EXPECT_EQ(Control().GetOverlappedWindowInJSON(1), Json(108, 52, 200, 120));
}

CNorixSDKCtrl* s_control = nullptr;  // deletes its window with the next move

LRESULT CALLBACK DeleteWhileMoving(int code, WPARAM wParam, LPARAM lParam) {
    const auto& message = *reinterpret_cast<const CWPSTRUCT*>(lParam);
    if (code >= 0 && message.message == WM_WINDOWPOSCHANGED && s_control)
        std::exchange(s_control, nullptr)->DeleteOverlappedWindow(1);
    return CallNextHookEx(nullptr, code, wParam, lParam);
}

// The host deletes it from inside of what it does.
TEST_F(OverlappedTest, MayGoWhileTheyHandleAMessage) {
    Control().CreateOverlappedWindow(1, 0, 0, 200, 120, true, true, L"");
    const HWND child = Child();
    s_control = &Control();
    const HHOOK hook = SetWindowsHookExW(WH_CALLWNDPROC, DeleteWhileMoving, nullptr, GetCurrentThreadId());
    SendMessageW(child, WM_KEYDOWN, VK_RIGHT, 0);
    UnhookWindowsHookEx(hook);
    EXPECT_EQ(s_control, nullptr);
    EXPECT_FALSE(IsWindow(child));
    EXPECT_EQ(Control().DeleteOverlappedWindow(1), E_FAIL);
}

struct Windows {
    Windows()
        : parent(CreateWindowW(L"STATIC", L"", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 50, 60, 500, 400, nullptr,
                               nullptr, nullptr, nullptr)),
          child(CreateWindowW(L"STATIC", L"", WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS, 10, 20, 300, 200,
                              parent, nullptr, nullptr, nullptr)) {}
    ~Windows() {
        if (IsWindow(child)) DestroyWindow(child);
        if (IsWindow(parent)) DestroyWindow(parent);
    }
    static RECT Place(HWND window) {
        RECT rect = {};
        GetWindowRect(window, &rect);
        return rect;
    }
    const HWND parent;
    const HWND child;
};

TEST(FullScreenTest, FillsTheMonitorAndComesBackAsItWas) {
    const Windows windows;
    const RECT before = Windows::Place(windows.child);
    const LONG style = GetWindowLongW(windows.child, GWL_STYLE);
    FullScreen full;
    EXPECT_FALSE(full.Enter(windows.parent)) << "no child";
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(full.Enter(windows.child));
        const RECT filled = Windows::Place(windows.child);
        EXPECT_EQ(filled.right - filled.left, GetSystemMetrics(SM_CXSCREEN));
        EXPECT_EQ(filled.bottom - filled.top, GetSystemMetrics(SM_CYSCREEN));
        EXPECT_TRUE(IsWindowVisible(windows.child));
        full.Leave();
        EXPECT_FALSE(full.IsOn());
        const RECT after = Windows::Place(windows.child);
        EXPECT_TRUE(EqualRect(&after, &before));
        EXPECT_EQ(GetWindowLongW(windows.child, GWL_STYLE), style);
        EXPECT_EQ(GetAncestor(windows.child, GA_PARENT), windows.parent);
        EXPECT_TRUE(IsWindowVisible(windows.child));
    }
    ASSERT_TRUE(full.Enter(windows.child));
    DestroyWindow(windows.parent);
    EXPECT_FALSE(IsWindow(windows.child)) << "it goes with the host's window";
    full.Leave();
}

}  // namespace
}  // namespace norix::test
