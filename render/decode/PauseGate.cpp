#include "render/decode/PauseGate.h"

namespace norix {

void PauseGate::Close() {
    std::lock_guard<std::mutex> lock(m_lock);
    m_closed = true;
    m_changed.notify_all();
}

void PauseGate::Enter() {
    std::unique_lock<std::mutex> lock(m_lock);
    m_changed.wait(lock, [this] { return !m_wanted; });
    m_running = true;
}

void PauseGate::Leave() {
    std::lock_guard<std::mutex> lock(m_lock);
    m_running = false;
    m_changed.notify_all();
}

void PauseGate::Pass() {
    std::unique_lock<std::mutex> lock(m_lock);
    if (!m_wanted) return;
    m_parked = true;
    m_changed.notify_all();
    m_changed.wait(lock, [this] { return !m_wanted; });
    m_parked = false;
}

bool PauseGate::Hold() {
    std::unique_lock<std::mutex> lock(m_lock);
    if (m_closed) return false;
    m_wanted = true;
    m_changed.wait(lock, [this] { return !m_running || m_parked || m_closed; });
    if (!m_running || m_parked) return true;
    m_wanted = false;
    return false;
}

void PauseGate::Resume() {
    std::lock_guard<std::mutex> lock(m_lock);
    m_wanted = false;
    m_changed.notify_all();
}

}  // namespace norix
