#pragma once

#include <windows.h>

#include <memory>
#include <string>

#include "audio/talkback/TalkProgress.h"
#include "audio/talkback/VoiceFormat.h"
#include "audio/talkback/VoiceInput.h"
#include "protocol/HostRoute.h"
#include "util/GenericThread.h"

namespace norix {

/// Sends the microphone to a camera: one long POST on a plain socket, whose body is the coded voice until one
/// side ends the connection. One object per run of talk-back.
///
/// Belongs to the window's thread. The post thread owns the microphone and shares the progress, so that one
/// that has to be left alone, in a driver or a look-up, harms nobody; from PostUrlStop on it sends nothing.
class CWaveIn {
  public:
    CWaveIn(std::unique_ptr<VoiceInput> input, std::shared_ptr<TalkProgress> progress);
    ~CWaveIn();
    CWaveIn(const CWaveIn&) = delete;
    CWaveIn& operator=(const CWaveIn&) = delete;

    /// Opens the default microphone; false where there is none.
    bool Open(const VoiceFormat& format = {});
    /// Who signs in; an empty user is nobody. UTF-8.
    void SetAuthorization(std::string user, std::string password);
    /// What to connect to where an address names a host; asked on the window's thread.
    void SetRoute(protocol::HostRoute route) { m_route = std::move(route); }

    /// Begins to post to an http address. False without an open microphone, for an address that can't be
    /// asked, and without a thread. What comes of it is told by the progress.
    bool PostUrlSending(const std::string& url);

    /// Ends the post without waiting.
    void PostUrlStop();
    /// Ends the post and waits for its thread, but not longer than a fifth of a second: then somebody else
    /// does.
    void Close();

  private:
    std::unique_ptr<VoiceInput> m_input;  // null once the post thread has it
    const std::shared_ptr<TalkProgress> m_progress;
    VoiceFormat m_format;
    bool m_open = false;
    std::string m_user;
    std::string m_password;
    protocol::HostRoute m_route;
    std::shared_ptr<util::GenericThread> m_thread;  // null while nothing is posted
};

}  // namespace norix
