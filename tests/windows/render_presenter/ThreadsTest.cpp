// Presenters at work on a display thread while the window thread does what hosts do.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <thread>

#include "render/present/Presenter.h"
#include "tests/windows/render_presenter/Screen.h"
#include "util/Handles.h"

namespace norix {
namespace {

constexpr PixelSize kPicture{320, 240};
constexpr DWORD kDeadline = 20000;

class ThreadsTest : public testing::TestWithParam<DisplayMode> {
  protected:
    ThreadsTest() {
        PresenterConfig config;
        config.videoWindow = window->Handle();
        config.notifyWindow = window->Handle();
        config.view = sharedView;
        presenter = CreatePresenter(GetParam(), config);
    }

    std::unique_ptr<TestWindow> window =
        std::make_unique<TestWindow>(PixelRect{100, 100, 300, 300}, RGB(0, 0, 0));
    const std::shared_ptr<PictureView> sharedView = std::make_shared<PictureView>();
    PictureView& view = *sharedView;
    std::unique_ptr<Presenter> presenter;
    util::Event done{util::Event::Kind::kManualReset};
};
INSTANTIATE_TEST_SUITE_P(Modes, ThreadsTest, testing::Values(DisplayMode::Gdi, DisplayMode::DirectDraw),
                         [](const auto& info) {
                             return info.param == DisplayMode::Gdi ? "Gdi" : "DirectDraw";
                         });

// Handles messages until the event is set. False at the deadline: somebody waits for somebody who waits.
bool PumpUntil(const util::Event& event) {
    const DWORD begin = GetTickCount();
    const HANDLE handle = event.Get();
    while (GetTickCount() - begin < kDeadline) {
        const DWORD woken = MsgWaitForMultipleObjects(1, &handle, FALSE, 100, QS_ALLINPUT);
        if (woken == WAIT_OBJECT_0) return true;
        PumpMessages();
    }
    return false;
}

TEST_P(ThreadsTest, WindowMayChangeAndGoWhilePicturesArePresented) {
    constexpr int kPictures = 300;
    GridPicture picture(TestGrid(), kPicture, presenter->Format());
    std::atomic<int> shown{0};
    std::atomic<int> turn{0};
    std::thread display([&] {
        presenter->Initialize(kPicture.width, kPicture.height);
        for (int i = 0; i < kPictures; ++i) {
            shown += presenter->Present(picture.Get()) == S_OK;
            ++turn;
        }
        done.Set();
    });

    const DWORD begin = GetTickCount();
    int nextChange = 0;  // each costs a picture: one after each picture would leave nothing to show
    view.EnableDigitalPtz(true);
    for (int i = 0; turn < kPictures * 2 / 3 && GetTickCount() - begin < kDeadline; ++i) {
        window->Move({100 + i % 50, 100, 300 + i % 7 * 20, 300 + i % 5 * 20});
        view.SetSourceRect(i % 100, i % 100, i % 100 + 100, i % 100 + 100);
        view.SetCaption(i % 3 ? L"caption" : L"");
        view.SetRotation(static_cast<Rotation>(i % 4 * 90));
        if (turn >= nextChange) {
            presenter->DisplayChanged();
            nextChange = turn + 8;
        }
    }
    const int shownBefore = shown;
    window.reset();  // pictures go on coming
    const bool ended = PumpUntil(done);
    EXPECT_TRUE(ended);
    if (!ended) std::abort();  // the thread cannot be joined
    display.join();
    EXPECT_GT(shownBefore, kPictures / 3);
}

// The window thread holds messages back, as it does while it waits for workers to stop.
TEST_P(ThreadsTest, PresentingDoesNotWaitForTheWindowThread) {
    ASSERT_EQ(presenter->Initialize(kPicture.width, kPicture.height), S_OK);
    GridPicture picture(TestGrid(), kPicture, presenter->Format());
    int shown = 0;
    std::thread display([&] {
        for (int i = 0; i < 20; ++i) {
            if (i == 10) presenter->DisplayChanged();
            shown += presenter->Present(picture.Get()) == S_OK;
        }
        done.Set();
    });
    EXPECT_TRUE(done.Wait(5000));
    EXPECT_TRUE(PumpUntil(done));  // lets a display thread that did wait go on, for the join
    display.join();
    EXPECT_GE(shown, 19);
}

}  // namespace
}  // namespace norix
