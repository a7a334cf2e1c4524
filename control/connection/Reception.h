#pragma once

#include <memory>

#include "control/connection/Playback.h"
#include "control/connection/SessionContext.h"
#include "control/connection/StreamReception.h"

namespace norix {

class HttpStreamReceiver;
class RTSPCoumm;

/// The product's receivers: RTSPCoumm, or an HttpStreamReceiver for pictures and one for sound.
class Reception final : public StreamReception {
  public:
    explicit Reception(const std::shared_ptr<SessionContext>& session);
    /// Stops.
    ~Reception() override;
    Reception(const Reception&) = delete;
    Reception& operator=(const Reception&) = delete;

    bool StartRtsp(SessionSettings source) override;
    bool BeginHttp(const HttpSource& source, std::function<void()> decided) override;
    Answer TakeHttpAnswer() override;
    std::shared_ptr<CDecoder> Decoder() const override { return m_players->Decoder(); }
    void StopOutput() override { m_players->StopOutput(); }
    void BeginStop() override;
    bool Stop() override;
    std::weak_ptr<const void> Users() const override { return m_users; }

  private:
    void StartSound();

    std::shared_ptr<CCtrlParam> m_param;  // shared with all threads of the connection; let go by Stop
    const std::weak_ptr<CCtrlParam> m_users;
    const std::shared_ptr<Playback> m_players;  // shared with the receivers' threads
    HttpSource m_http;
    std::unique_ptr<HttpStreamReceiver> m_httpVideo;
    std::unique_ptr<HttpStreamReceiver> m_httpAudio;
    std::unique_ptr<RTSPCoumm> m_rtsp;
};

}  // namespace norix
