#pragma once

#include <memory>
#include <string>

#include "control/Enumerations.h"
#include "control/connection/Playback.h"
#include "control/connection/SavedCredentials.h"
#include "include/RTSP/ConnectionTypes.h"

namespace norix {

class CCtrlParam;
class HttpStreamReceiver;
class RTSPCoumm;
struct SessionContext;

/// The receivers of one connection, over RTSP or over HTTP, and the players that they feed. One per
/// connection. Window thread, which can be entered again while a start waits; whoever starts holds on to the
/// object.
class Reception {
  public:
    explicit Reception(std::shared_ptr<SessionContext> session);
    /// Stops.
    ~Reception();
    Reception(const Reception&) = delete;
    Reception& operator=(const Reception&) = delete;

    Playback& Players() { return *m_players; }
    const Playback& Players() const { return *m_players; }
    /// The parameter block as this connection shares it: everything of the connection that can still touch
    /// the block keeps this pointer alive, and nothing else does.
    std::weak_ptr<CCtrlParam> Param() const { return m_param; }

    /// UTF-8.
    struct RtspSource {
        std::string uri;
        EConnectProtocol protocol = ecpUDP;
        std::string user;
        std::string password;
        unsigned tunnelPort = 80;
        unsigned timeoutMs = 5000;  // a stream that does not play by then has failed
        RTSPStatusCallback* callback = nullptr;
        void* userData = nullptr;
    };
    /// Starts the session's thread; what becomes of the session is told to the callback.
    bool StartRtsp(const RtspSource& source);

    /// Empty paths are not received.
    struct HttpSource {
        std::string host;
        std::uint16_t port = 80;
        std::string user;
        std::string password;
        std::string videoPath;
        std::string audioPath;
        unsigned timeoutMs = 5000;
    };
    /// True once all the streams have begun; waits for that at most timeoutMs per stream, answering messages
    /// that other threads send. What becomes of the streams later is posted to the control's window.
    bool StartHttp(const HttpSource& source);

    /// Stops the receivers, then the players. Nothing is reported from its beginning on. False when one of
    /// their threads had to be abandoned.
    bool Stop();

  private:
    const std::shared_ptr<CCtrlParam> m_param;  // shared with all threads of the connection
    const std::shared_ptr<Playback> m_players;  // shared with the receivers' threads
    std::unique_ptr<HttpStreamReceiver> m_httpVideo;
    std::unique_ptr<HttpStreamReceiver> m_httpAudio;
    std::unique_ptr<RTSPCoumm> m_rtsp;
};

}  // namespace norix
