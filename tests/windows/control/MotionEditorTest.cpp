// The editor of motion windows: what it shows of the camera's settings, and what it makes of the user's
// doing.

#include "control/view/motion/MotionEditor.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "control/view/ViewCommands.h"
#include "media/CtrlParam.h"
#include "protocol/Text.h"
#include "util/Handles.h"
#include "util/Text.h"

namespace norix::test {
namespace {

constexpr int kFirstCheck = 1, kFirstName = 11, kSave = 22;  // the panel's children

class MotionEditorTest : public testing::Test, protected ViewHost, protected MotionEditHost {
  protected:
    MotionEditorTest() {
        m_window = CreateWindowExW(0, L"STATIC", L"", WS_POPUP | WS_CLIPCHILDREN | WS_VISIBLE, 0, 0, 320, 180,
                                   nullptr, nullptr, nullptr, nullptr);
        camera.sensitivity = 50;
        camera.referenceWidth = 1000;  // none of the video's
        camera.referenceHeight = 1000;
        camera.windows[0] = {"Gate\r", 1, 101, 103, 305, 307, 9};
        camera.windows[2] = {"off", 0, 1, 2, 3, 4, 9};
        view.SetVideoSize(640, 360);
    }
    ~MotionEditorTest() override {
        editor.Close();
        DestroyWindow(m_window);
    }

    HWND Window() const override { return m_window; }
    CCtrlParam& Param() override { return m_param; }
    std::shared_ptr<CDecoder> Decoder() override { return {}; }
    void DrawByGdi() override {}
    void ViewChanged() override {}
    void OverlaysChanged() override {}
    void OnViewMoved() override {}
    void StartDeferredViewTimer() override {}
    void StopDeferredViewTimer() override {}
    MotionSettings CameraMotion(bool) override { return camera; }
    bool SaveCameraMotion(const MotionSettings& settings) override {
        if (!refuses) camera = settings;
        return !refuses;
    }
    std::string MotionSource() override { return source; }
    std::wstring MotionName(const std::string& name) override {
        return util::Utf8ToWide(protocol::trim(name));
    }
    int CornerHeight() override { return 0; }
    bool WantsMotionEditor() override { return wanted; }
    void SaveMotionLater() override { told.push_back(editor.Save()); }

    HWND Child(int id) { return GetDlgItem(editor.Panel().Window(), id); }
    void Click(int id) { SendMessageW(Child(id), BM_CLICK, 0, 0); }
    std::string Place(long index) {
        const auto window = editor.Windows().Get(index);
        if (!window) return "none";
        const ViewBox& box = window->place;
        return std::to_string(box.corner.x) + ',' + std::to_string(box.corner.y) + ' ' +
               std::to_string(box.size.width) + 'x' + std::to_string(box.size.height);
    }
    MotionSaving Saved() {
        Click(kSave);
        return told.back();
    }

    MotionSettings camera;
    bool refuses = false;
    std::string source = "a camera";
    bool wanted = true;
    std::vector<MotionSaving> told;

  private:
    HWND m_window = nullptr;
    CCtrlParam m_param;

  protected:
    ViewCommands view{*this};
    MotionEditor editor{*this, view, *this};
};

TEST_F(MotionEditorTest, ShowsTheCamerasWindowsAndGivesThemBack) {
    const MotionSettings before = camera;
    editor.Open(false);
    EXPECT_EQ(SendMessageW(Child(kFirstCheck), BM_GETCHECK, 0, 0), BST_CHECKED);
    EXPECT_EQ(SendMessageW(Child(kFirstCheck + 2), BM_GETCHECK, 0, 0), BST_UNCHECKED);
    EXPECT_EQ(editor.Panel().Name(0), L"Gate");
    EXPECT_EQ(Place(0), "65,37 195x111");
    EXPECT_EQ(Place(2), "none");
    EXPECT_EQ(Saved(), MotionSaving::Saved);
    EXPECT_EQ(camera.windows[0].left, before.windows[0].left);
    EXPECT_EQ(camera.windows[0].height, before.windows[0].height);
    EXPECT_EQ(camera.windows[2].width, 3);

    camera.windows[0].left = 500;  // the camera has other ones meanwhile
    editor.Refresh(0);
    EXPECT_EQ(Place(0), "320,37 195x111");
    SetWindowTextW(Child(kFirstName), L"Mine");
    camera.windows[0].name = "Theirs";
    camera.windows[2].enable = 1;
    editor.Refresh(2);
    EXPECT_EQ(editor.Panel().Name(0), L"Mine") << "of another window the user's stays";
    EXPECT_EQ(Place(2), "1,1 2x1");

    // However large it is, and wherever it was clicked, the panel lies above.
    editor.Windows().Create(2, {{0, 0}, {640, 360}}, true, true, L"");
    SendMessageW(GetWindow(editor.Panel().Window(), GW_HWNDNEXT), WM_LBUTTONDOWN, 0, 0);
    EXPECT_EQ(GetWindow(editor.Panel().Window(), GW_HWNDPREV), nullptr);
    editor.Close();
    EXPECT_EQ(GetWindow(Window(), GW_CHILD), nullptr) << "something is left";
}

TEST_F(MotionEditorTest, SavesWhatTheUserMakes) {
    editor.Open(false);
    Click(kFirstCheck);  // off
    SetWindowTextW(Child(kFirstName + 2), L"Door");
    Click(kFirstCheck + 2);
    EXPECT_EQ(Place(2), "0,0 320x180");
    SetWindowTextW(Child(kFirstName + 2), L"Tor, T\u00fcr");
    EXPECT_EQ(Saved(), MotionSaving::BadName);
    SetWindowTextW(Child(kFirstName + 2), L"Tor");
    editor.Windows().Create(2, {{320, 90}, {31, 90}}, true, true, L"Tor");
    EXPECT_EQ(Saved(), MotionSaving::TooSmall);
    editor.Windows().Create(2, {{320, 90}, {32, 90}}, true, true, L"Tor");
    refuses = true;
    EXPECT_EQ(Saved(), MotionSaving::Failed);
    EXPECT_EQ(camera.windows[0].enable, 1) << "the camera has what it had";
    EXPECT_EQ(editor.Windows().Get(2)->caption, L"Tor") << "the user has what he made";
    refuses = false;
    EXPECT_EQ(Saved(), MotionSaving::Saved);
    EXPECT_EQ(camera.windows[0].enable, 0);
    const MotionWindow& saved = camera.windows[2];
    EXPECT_EQ(saved.name, "Tor");
    EXPECT_EQ(saved.enable, 1);
    EXPECT_EQ(saved.left, 500);
    EXPECT_EQ(saved.top, 250);
    EXPECT_EQ(saved.width, 50);
    EXPECT_EQ(saved.height, 250);
}

TEST_F(MotionEditorTest, SavesNothingThatTheCameraHasNotTold) {
    const MotionSettings before = camera;
    camera = {};  // did not answer
    editor.Open(false);
    Click(kFirstCheck);
    EXPECT_EQ(Saved(), MotionSaving::Failed);
    EXPECT_EQ(camera.windows[0].enable, 0);
    camera = before;
    editor.OnCameraTold();  // late
    EXPECT_EQ(Place(0), "65,37 195x111");
    editor.Close();

    editor.Open(false);
    camera = {};  // a connection that has not come to ask
    editor.Refresh(0);
    EXPECT_EQ(Place(0), "65,37 195x111") << "what was read stays";
    source = "another camera";
    camera = before;
    camera.windows[0].left = 500;
    Click(kFirstCheck);  // off
    EXPECT_EQ(Saved(), MotionSaving::Failed);
    EXPECT_EQ(camera.windows[0].enable, 1) << "the other camera keeps its own";
    EXPECT_EQ(Place(0), "320,37 195x111") << "which is shown now";
}

TEST_F(MotionEditorTest, FollowsAVideoOfAnotherSize) {
    MoveWindow(Window(), 0, 0, 0, 0, FALSE);  // a hidden page: nothing can be placed
    editor.Open(false);
    EXPECT_EQ(Place(0), "none");
    EXPECT_EQ(Saved(), MotionSaving::Saved);
    EXPECT_EQ(camera.windows[0].enable, 1) << "switched on, and not shown";
    MoveWindow(Window(), 0, 0, 320, 180, FALSE);
    editor.Follow();
    EXPECT_EQ(Place(0), "65,37 195x111");

    editor.Windows().Create(1, {{320, 180}, {400, 90}}, true, true, L"");  // leaves the video
    SendMessageW(Child(kFirstCheck + 1), BM_SETCHECK, BST_CHECKED, 0);
    view.SetVideoSize(1920, 1080);
    MoveWindow(Window(), 0, 0, 0, 0, FALSE);  // hidden again: nothing is lost
    editor.Follow();
    SetWindowTextW(Child(kFirstName + 1), L"Mine");
    MoveWindow(Window(), 0, 0, 320, 180, FALSE);
    editor.Follow();
    EXPECT_EQ(editor.Panel().Name(1), L"Mine");
    EXPECT_EQ(Place(0), "194,111 586x332");
    EXPECT_EQ(Place(1), "960,540 1200x270");
    EXPECT_EQ(Saved(), MotionSaving::Saved);
    EXPECT_EQ(camera.windows[0].left, 101);
    EXPECT_EQ(camera.windows[0].width, 305);
    EXPECT_EQ(camera.windows[1].left, 500);
    EXPECT_EQ(camera.windows[1].width, 500) << "cut to the video";
}

TEST_F(MotionEditorTest, StaysAwayWithoutAPicture) {
    wanted = false;  // left while the user was asked whether the camera may be reached
    editor.Open(true);
    wanted = true;
    view.SetVideoSize(0, 0);
    editor.Open(true);
    editor.Refresh(1);
    EXPECT_FALSE(editor.IsOpen());
    EXPECT_EQ(GetWindow(Window(), GW_CHILD), nullptr);
}

}  // namespace
}  // namespace norix::test
