#pragma once

#include <windows.h>

namespace norix::bench {

/// A visible window of 16 by 9 above all others, for pictures to be shown in. Of the thread that makes it.
class Window {
  public:
    explicit Window(int width)
        : m_window(CreateWindowExW(WS_EX_TOPMOST | WS_EX_TOOLWINDOW, L"STATIC", L"",
                                   WS_POPUP | WS_CLIPCHILDREN | WS_CLIPSIBLINGS, 0, 0, width, width * 9 / 16,
                                   nullptr, nullptr, nullptr, nullptr)) {
        ShowWindow(m_window, SW_SHOWNOACTIVATE);
        UpdateWindow(m_window);
        PumpFor(0);
    }
    ~Window() {
        DestroyWindow(m_window);
        PumpFor(0);
    }
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    HWND Handle() const { return m_window; }

    /// Answers the thread's messages for so long, and all that wait now.
    static void PumpFor(DWORD ms) {
        const DWORD until = GetTickCount() + ms;
        for (;;) {
            MSG message;
            while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
                DispatchMessageW(&message);
            const int left = static_cast<int>(until - GetTickCount());
            if (left <= 0) return;
            MsgWaitForMultipleObjects(0, nullptr, FALSE, left, QS_ALLINPUT);
        }
    }

  private:
    const HWND m_window;
};

}  // namespace norix::bench
