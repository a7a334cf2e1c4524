#include "media/ControlWindow.h"

namespace norix {

void ControlWindow::Send(ControlMessage message, const void* wParam, const void* lParam) {
    // Counted before the flag is read, so that FinishSends cannot miss a send that it did not prevent.
    ++m_sending;
    if (!m_closed.load()) {
        platform::SendToWindow(Get(), message, reinterpret_cast<std::uintptr_t>(wParam),
                               reinterpret_cast<std::intptr_t>(lParam));
    }
    --m_sending;
}

bool ControlWindow::FinishSends(std::uint32_t milliseconds) {
    constexpr std::uint32_t kStepMs = 5;
    m_closed.store(true);
    const std::uint32_t begin = platform::TimerMs();
    while (m_sending.load() != 0) {
        if (platform::TimerMs() - begin >= milliseconds) return false;
        platform::AnswerSentMessages(kStepMs);
    }
    return true;
}

}  // namespace norix
