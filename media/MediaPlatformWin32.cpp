#include <windows.h>

#include <mmsystem.h>

#include "media/MediaPlatform.h"
#include "util/Settings.h"

namespace norix::platform {

bool PostToWindow(WindowHandle window, std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam) {
    return !window || PostMessageW(window, message, wParam, lParam);
}

void SendToWindow(WindowHandle window, std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam) {
    if (window) SendMessageW(window, message, wParam, lParam);
}

bool SendToWindowWithin(std::uint32_t milliseconds, WindowHandle window, std::uint32_t message,
                        std::uintptr_t wParam, std::intptr_t lParam) {
    DWORD_PTR result = 0;
    return window &&
           SendMessageTimeoutW(window, message, wParam, lParam, SMTO_NORMAL, milliseconds, &result) != 0;
}

MediaSettings ReadMediaSettings() noexcept {
    namespace settings = util::Settings;
    MediaSettings read;
    read.videoBufferNum = settings::VideoBufferNum();
    read.videoBufferSize = settings::VideoBufferSize();
    read.audioBufferNum = settings::AudioBufferNum();
    read.audioBufferSize = settings::AudioBufferSize();
    read.enableDecodeFrameDrop = settings::EnableDecodeFrameDrop();
    read.enableDisplayFrameDrop = settings::EnableDisplayFrameDrop();
    return read;
}

PtsSettings ReadPtsSettings(int frameRate) noexcept {
    return {util::Settings::TargetPTSDiff(frameRate), util::Settings::TargetPTSDiffRange()};
}

std::uint32_t TimerMs() noexcept {
    return timeGetTime();
}

std::uint64_t Ticks100ns() noexcept {
    LARGE_INTEGER frequency;
    LARGE_INTEGER count;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&count);
    constexpr std::uint64_t kPerSecond = 10'000'000;
    const std::uint64_t ticks = static_cast<std::uint64_t>(count.QuadPart);
    const std::uint64_t perSecond = static_cast<std::uint64_t>(frequency.QuadPart);
    return ticks / perSecond * kPerSecond + ticks % perSecond * kPerSecond / perSecond;
}

void SleepMs(std::uint32_t milliseconds) noexcept {
    Sleep(milliseconds);
}

void AnswerSentMessages(std::uint32_t milliseconds) noexcept {
    // Looks in any case: a message that was there before the wait began need not end it.
    MsgWaitForMultipleObjectsEx(0, nullptr, milliseconds, QS_SENDMESSAGE, MWMO_INPUTAVAILABLE);
    MSG message;
    PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE | PM_QS_SENDMESSAGE);
}

namespace {
constexpr UINT kFinestMs = 1;
}

FineTimer::FineTimer() noexcept {
    timeBeginPeriod(kFinestMs);
}

FineTimer::~FineTimer() {
    timeEndPeriod(kFinestMs);
}

}  // namespace norix::platform
