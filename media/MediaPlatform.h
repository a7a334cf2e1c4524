#pragma once

// What media/ needs of the system. MediaPlatformWin32.cpp is the product's; that of tests/support serves
// the builds for the development machine, whose tests see and set it through MediaPlatformFake.h.

#include <cstdint>

#include "media/MediaSettings.h"

/// The system's own declaration: HWND is a pointer to this.
struct HWND__;

namespace norix {

using WindowHandle = HWND__*;

namespace platform {

/// Post and Send do nothing for a null window. Send waits until the window's thread has handled the message.
/// Post returns false when the window's queue is full.
bool PostToWindow(WindowHandle window, std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam);
void SendToWindow(WindowHandle window, std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam);
/// Waits at most so long, and no longer than the window is there. True when the message was handled.
bool SendToWindowWithin(std::uint32_t milliseconds, WindowHandle window, std::uint32_t message,
                        std::uintptr_t wParam, std::intptr_t lParam);

MediaSettings ReadMediaSettings() noexcept;
PtsSettings ReadPtsSettings(int frameRate) noexcept;

/// The multimedia timer: milliseconds, wraps after 49.7 days.
std::uint32_t TimerMs() noexcept;

/// A clock for measuring spans: 100 ns units from an arbitrary start, never set back.
std::uint64_t Ticks100ns() noexcept;

void SleepMs(std::uint32_t milliseconds) noexcept;

/// Waits at most so long while answering the messages that other threads send to windows of this thread, and
/// no others. What a window's thread does instead of sleeping while it waits for a worker that may be
/// sending.
void AnswerSentMessages(std::uint32_t milliseconds) noexcept;

/// While one lives, the timer and SleepMs are as fine as the system allows: a millisecond.
class FineTimer {
  public:
    FineTimer() noexcept;
    ~FineTimer();
    FineTimer(const FineTimer&) = delete;
    FineTimer& operator=(const FineTimer&) = delete;
};

}  // namespace platform
}  // namespace norix
