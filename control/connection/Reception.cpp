#include "control/connection/Reception.h"

#include "control/connection/SessionContext.h"
#include "include/HTTP/HttpStreamReceiver.h"
#include "include/RTSP/RTSPCoumm.h"

namespace norix {

namespace {

/// The session's parameter block as one connection shares it: a reference of its own kind, which tells when
/// the last of the connection's threads has let go, and keeps the session alive until then.
std::shared_ptr<CCtrlParam> ShareParam(std::shared_ptr<SessionContext> session) {
    auto lease = std::make_shared<std::shared_ptr<SessionContext>>(std::move(session));
    CCtrlParam* const param = &(*lease)->param;
    return {std::move(lease), param};
}

}  // namespace

Reception::Reception(std::shared_ptr<SessionContext> session)
    : m_param(ShareParam(std::move(session))), m_players(std::make_shared<Playback>(m_param)) {}

Reception::~Reception() {
    Stop();
}

bool Reception::StartRtsp(const RtspSource& source) {
    m_rtsp = std::make_unique<RTSPCoumm>(m_param, m_players);
    m_rtsp->protocol = static_cast<ConnectProtocol>(source.protocol);
    m_rtsp->streamUri = source.uri;
    m_rtsp->userName = source.user;
    m_rtsp->password = source.password;
    m_rtsp->tunnelOverHttpPort = source.tunnelPort;
    constexpr std::int64_t kMicroseconds = 1000;
    m_rtsp->periods.connectCheck = source.timeoutMs * kMicroseconds;
    m_rtsp->callback = source.callback;
    m_rtsp->userData = source.userData;
    return m_rtsp->StartStreaming() != 0;
}

bool Reception::StartHttp(const HttpSource& source) {
    HttpStreamRequest request;
    request.host = source.host;
    request.port = source.port;
    request.user = source.user;
    request.password = source.password;
    request.timeLimitMs = source.timeoutMs;
    using Kind = HttpStreamReceiver::Kind;
    if (!source.videoPath.empty()) {
        m_httpVideo = std::make_unique<HttpStreamReceiver>(Kind::Video, m_param, m_players);
        request.path = source.videoPath;
        if (!m_httpVideo->Start(request)) return false;
        // By it the camera knows that the sound belongs to these pictures.
        if (const std::string cookie = m_httpVideo->SessionCookie(); !cookie.empty())
            request.headers = "x-sessioncookie: " + cookie + "\r\n";
    }
    if (!source.audioPath.empty()) {
        m_httpAudio = std::make_unique<HttpStreamReceiver>(Kind::Audio, m_param, m_players);
        request.path = source.audioPath;
        if (!m_httpAudio->Start(request)) return false;
    }
    return true;
}

bool Reception::Stop() {
    const bool video = !m_httpVideo || m_httpVideo->Stop();
    const bool audio = !m_httpAudio || m_httpAudio->Stop();
    const bool rtsp = !m_rtsp || m_rtsp->StopStreaming();
    const bool players = m_players->Close();
    return video && audio && rtsp && players;
}

}  // namespace norix
