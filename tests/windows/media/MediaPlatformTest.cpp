// What is the system's in media/: the semaphore and messages to a real window.

#include <windows.h>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "media/CountingSemaphore.h"
#include "media/CtrlParam.h"

namespace norix {
namespace {

std::vector<std::uint8_t> s_received;
UINT s_posted = 0;

LRESULT CALLBACK KeepFrame(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_OnNewFrame) {
        const auto& frame = *reinterpret_cast<const NewFrameDescription*>(wParam);
        const auto* const bytes = reinterpret_cast<const std::uint8_t*>(lParam);
        s_received.assign(bytes, bytes + frame.byteLength);
    }
    if (message == WM_OnResolutionChanged && wParam == 640 && lParam == 480) ++s_posted;
    return DefWindowProcW(window, message, wParam, lParam);
}

class ControlWindowTest : public testing::Test {
  protected:
    ControlWindowTest() {
        WNDCLASSW windowClass = {};
        windowClass.lpszClassName = L"NorixMediaTest";
        windowClass.lpfnWndProc = KeepFrame;
        RegisterClassW(&windowClass);
        m_window = CreateWindowW(windowClass.lpszClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                 nullptr, nullptr);
        m_param.window.Set(m_window);
    }
    ~ControlWindowTest() override {
        DestroyWindow(m_window);
        UnregisterClassW(L"NorixMediaTest", nullptr);
    }

    HWND m_window;
    CCtrlParam m_param;
};

TEST_F(ControlWindowTest, WaitingForReceiversAnswersWhatTheySend) {
    m_param.notifyVideoData.Set(true);
    s_received.clear();
    std::atomic<int> result{0};
    std::thread receiver([&] {
        const std::uint8_t frame[] = {1, 2, 3};
        result = m_param.InsertFrameToVideoBuffer(frame, sizeof frame, 40, 0);
    });
    while (m_param.GetFrameCount(FrameCounters::kReceived) == 0)
        Sleep(1);
    m_param.SetClosing(true);
    EXPECT_TRUE(m_param.WaitForInserts(5000));
    while (result == 0)
        platform::AnswerSentMessages(1);
    receiver.join();
    EXPECT_EQ(result, 1);
    EXPECT_EQ(s_received, (std::vector<std::uint8_t>{1, 2, 3}));
}

TEST_F(ControlWindowTest, ReportsANewPictureSizeByAPostedMessage) {
    s_posted = 0;
    m_param.SetPictureSize(640, 480);
    EXPECT_EQ(s_posted, 0u);
    MSG message;
    while (PeekMessageW(&message, m_window, 0, 0, PM_REMOVE))
        DispatchMessageW(&message);
    EXPECT_EQ(s_posted, 1u);
    m_param.window.Set(nullptr);
    m_param.SetPictureSize(320, 240);  // nobody to tell
}

}  // namespace
}  // namespace norix
