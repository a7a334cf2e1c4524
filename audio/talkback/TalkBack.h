#pragma once

#include <windows.h>

#include <functional>
#include <memory>
#include <string>

#include "audio/talkback/AudioLibrary.h"
#include "audio/talkback/TalkProgress.h"
#include "audio/talkback/VoiceFormat.h"
#include "audio/talkback/VoiceInput.h"
#include "audio/talkback/WaveIn.h"
#include "media/CtrlParam.h"
#include "protocol/HostRoute.h"

namespace norix {

/// Where the voice goes and who signs in there. UTF-8.
struct TalkTarget {
    std::string url;  // http
    VoiceFormat format;
    std::string user;  // empty: nobody
    std::string password;
    protocol::HostRoute route;
};

/// The control's talk-back: one voice at a time, by the maker's library where it is there, else by CWaveIn.
/// While it is on, what the camera sends is played at a lower volume. The window's thread.
class TalkBack {
  public:
    explicit TalkBack(std::shared_ptr<CCtrlParam> param) : m_param(std::move(param)) {}
    ~TalkBack() { Stop(); }
    TalkBack(const TalkBack&) = delete;
    TalkBack& operator=(const TalkBack&) = delete;

    /// Begins to talk, after the talk before has been ended. False where nothing was begun: no microphone, no
    /// such address. What comes of it is posted to the control's window as WM_OnTalkState.
    bool Start(const TalkTarget& target);
    /// The microphone is off within a fifth of a second; can be started again at once.
    void Stop();

    /// Waits for the camera's answer, answering sent messages; whether it takes the voice.
    bool AwaitAnswer();

    /// Off while there is nothing.
    TalkState State() const { return m_progress ? m_progress->State() : TalkState::Off; }
    bool IsOn() const { return norix::IsOn(State()); }
    /// How loud the voice is just now, 0 to 100.
    int Level() const { return m_progress ? m_progress->Level() : 0; }
    /// What a camera's being occupied is told as: the library has words of its own.
    const wchar_t* OccupiedText() const;

    /// Makes microphones; tests put others in their place.
    static std::unique_ptr<VoiceInput> (*makeInput)();

  private:
    bool StartOwn(const TalkTarget& target);

    const std::shared_ptr<CCtrlParam> m_param;
    std::shared_ptr<TalkProgress> m_progress;  // of the latest talk; null after Stop
    std::unique_ptr<AudioLibrary> m_library;
    std::unique_ptr<CWaveIn> m_waveIn;
};

}  // namespace norix
