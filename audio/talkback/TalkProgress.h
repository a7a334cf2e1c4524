#pragma once

#include <windows.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

#include "util/AnsweringWait.h"
#include "util/Handles.h"

namespace norix {

/// Where talking stands. From Occupied on it has ended by itself.
enum class TalkState {
    Off,
    Asking,   // the microphone is on; the camera hasn't taken the voice yet
    Talking,  // the camera gets the voice
    Occupied,
    Refused,       // the camera wants another sign-in
    NoAnswer,      // the camera is not to be reached
    Ended,         // by the camera
    NoMicrophone,  // it has gone
};

inline constexpr bool IsOn(TalkState state) {
    return state == TalkState::Asking || state == TalkState::Talking;
}

/// What one run of talk-back tells those who started it. Shared by them and the run's thread.
class TalkProgress {
  public:
    /// `changed`, which may be empty, is called on the run's thread after each change and must not wait.
    /// `whileOn` is let go when it ends.
    TalkProgress(std::function<void()> changed, std::shared_ptr<const void> whileOn)
        : m_changed(std::move(changed)), m_whileOn(std::move(whileOn)) {}

    TalkState State() const { return m_state.load(); }
    /// How loud the voice is just now, 0 to 100.
    int Level() const { return m_level.load(std::memory_order_relaxed); }

    /// Any thread. What has ended stays so.
    void Set(TalkState state) {
        std::shared_ptr<const void> ended;
        {
            const std::lock_guard<std::mutex> lock(m_lock);
            if (!IsOn(m_state.load())) return;
            m_state.store(state);
            if (!IsOn(state)) {
                ended.swap(m_whileOn);
                SetLevel(0);
            }
        }
        if (state != TalkState::Asking) m_decided.Set();
        if (m_changed) m_changed();
    }
    void SetLevel(int level) { m_level.store(level, std::memory_order_relaxed); }

    /// Waits until the camera's answer is known, at most that long, answering sent messages.
    bool AwaitDecision(DWORD milliseconds) const {
        return util::WaitAnsweringSentMessages(m_decided.Get(), milliseconds);
    }

  private:
    const std::function<void()> m_changed;
    std::atomic<TalkState> m_state{TalkState::Asking};
    std::atomic<int> m_level{0};
    util::Event m_decided{util::Event::Kind::kManualReset};
    std::mutex m_lock;                      // held while nobody is called
    std::shared_ptr<const void> m_whileOn;  // guarded by m_lock
};

}  // namespace norix
