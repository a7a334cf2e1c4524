#include <chrono>
#include <mutex>
#include <thread>

#include "media/MediaPlatform.h"
#include "tests/support/MediaPlatformFake.h"

namespace norix::platform {
namespace {

std::mutex g_lock;
FakePlatform* g_fake = nullptr;                 // guarded by g_lock
std::vector<FakePlatform::Message> g_messages;  // guarded by g_lock
int g_window;                                   // its address stands for a window

void Keep(bool sent, std::uint32_t id, std::uintptr_t wParam, std::intptr_t lParam) {
    const FakePlatform::Message message{sent, id, wParam, lParam};
    std::function<void(const FakePlatform::Message&)> onSend;
    {
        std::lock_guard<std::mutex> lock(g_lock);
        if (!g_fake) return;
        g_messages.push_back(message);
        if (sent) onSend = g_fake->onSend;
    }
    if (onSend) onSend(message);
}

}  // namespace

FakePlatform::FakePlatform() {
    std::lock_guard<std::mutex> lock(g_lock);
    g_fake = this;
    g_messages.clear();
}

FakePlatform::~FakePlatform() {
    std::lock_guard<std::mutex> lock(g_lock);
    g_fake = nullptr;
}

WindowHandle FakePlatform::Window() {
    return reinterpret_cast<WindowHandle>(&g_window);
}

std::vector<FakePlatform::Message> FakePlatform::Messages() const {
    std::lock_guard<std::mutex> lock(g_lock);
    return g_messages;
}

bool PostToWindow(WindowHandle window, std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam) {
    {
        std::lock_guard<std::mutex> lock(g_lock);
        if (g_fake && g_fake->queueFull) return false;
    }
    if (window) Keep(false, message, wParam, lParam);
    return true;
}

void SendToWindow(WindowHandle window, std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam) {
    if (window) Keep(true, message, wParam, lParam);
}

bool SendToWindowWithin(std::uint32_t, WindowHandle window, std::uint32_t message, std::uintptr_t wParam,
                        std::intptr_t lParam) {
    SendToWindow(window, message, wParam, lParam);
    return window != nullptr;
}

MediaSettings ReadMediaSettings() noexcept {
    std::lock_guard<std::mutex> lock(g_lock);
    return g_fake ? g_fake->media : MediaSettings();
}

PtsSettings ReadPtsSettings(int) noexcept {
    std::lock_guard<std::mutex> lock(g_lock);
    return g_fake ? g_fake->pts : PtsSettings();
}

std::uint64_t Ticks100ns() noexcept {
    using Unit = std::chrono::duration<std::uint64_t, std::ratio<1, 10'000'000>>;
    return std::chrono::duration_cast<Unit>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

std::uint32_t TimerMs() noexcept {
    std::lock_guard<std::mutex> lock(g_lock);
    return static_cast<std::uint32_t>(Ticks100ns() / 10'000) + (g_fake ? g_fake->skippedMs : 0);
}

void SleepMs(std::uint32_t milliseconds) noexcept {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

void AnswerSentMessages(std::uint32_t milliseconds) noexcept {
    SleepMs(milliseconds);
}

FineTimer::FineTimer() noexcept = default;
FineTimer::~FineTimer() = default;

}  // namespace norix::platform
