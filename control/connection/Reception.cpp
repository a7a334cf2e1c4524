#include "control/connection/Reception.h"

#include "include/HTTP/HttpStreamReceiver.h"
#include "include/RTSP/RTSPCoumm.h"

namespace norix {

namespace {

/// Sound that comes beside pictures is asked for again after so long.
constexpr std::uint32_t kSoundRetryMs = 5000;

using Kind = HttpStreamReceiver::Kind;

/// The session's parameter block as one connection shares it: a reference of its own kind, which tells when
/// the last of the connection's threads has let go, and keeps the session alive until then.
std::shared_ptr<CCtrlParam> ShareParam(std::shared_ptr<SessionContext> session) {
    auto lease = std::make_shared<std::shared_ptr<SessionContext>>(std::move(session));
    CCtrlParam* const param = &(*lease)->param;
    return {std::move(lease), param};
}

HttpStreamRequest RequestOf(const HttpSource& source, const std::string& path) {
    HttpStreamRequest request;
    request.host = source.host;
    request.connectTo = source.connectTo;
    request.port = source.port;
    request.user = source.user;
    request.password = source.password;
    request.timeLimitMs = source.timeoutMs;
    request.route = source.route;
    request.path = path;
    return request;
}

}  // namespace

Reception::Reception(const std::shared_ptr<SessionContext>& session)
    : m_param(ShareParam(session)),
      m_users(m_param),
      m_players(std::make_shared<Playback>(m_param, session->view)) {}

Reception::~Reception() {
    Stop();
}

bool Reception::StartRtsp(SessionSettings source) {
    m_rtsp = std::make_unique<RTSPCoumm>(m_param, m_players);
    m_rtsp->settings = std::move(source);
    return m_rtsp->StartStreaming() != 0;
}

bool Reception::BeginHttp(const HttpSource& source, std::function<void()> decided) {
    m_http = source;
    const bool pictures = !source.videoPath.empty();
    auto& receiver = pictures ? m_httpVideo : m_httpAudio;
    receiver = std::make_unique<HttpStreamReceiver>(pictures ? Kind::Video : Kind::Audio, m_param, m_players);
    return receiver->Begin(RequestOf(source, pictures ? source.videoPath : source.audioPath),
                           std::move(decided));
}

StreamReception::Answer Reception::TakeHttpAnswer() {
    HttpStreamReceiver* const receiver = m_httpVideo ? m_httpVideo.get() : m_httpAudio.get();
    if (!receiver) return Answer::Failed;
    switch (receiver->TakeAnswer()) {
        case HttpStreamReceiver::Answer::Streaming:
            if (m_httpVideo && !m_http.audioPath.empty()) StartSound();
            return Answer::Streaming;
        case HttpStreamReceiver::Answer::Refused:
            return Answer::Refused;
        default:
            return Answer::Failed;
    }
}

/// Pictures need no sound: a camera without it, or whose sound ends, is asked again now and then.
void Reception::StartSound() {
    HttpReceiverTiming timing;
    timing.retryMs = kSoundRetryMs;
    m_httpAudio = std::make_unique<HttpStreamReceiver>(Kind::Audio, m_param, m_players, timing);
    HttpStreamRequest request = RequestOf(m_http, m_http.audioPath);
    // By it the camera knows that the sound belongs to these pictures.
    if (const std::string cookie = m_httpVideo->SessionCookie(); !cookie.empty())
        request.headers = "x-sessioncookie: " + cookie + "\r\n";
    m_httpAudio->Begin(request, nullptr);
}

void Reception::BeginStop() {
    if (m_httpVideo) m_httpVideo->RequestStop();
    if (m_httpAudio) m_httpAudio->RequestStop();
    if (m_rtsp) m_rtsp->RequestStop();
    m_players->StopOutput();
}

bool Reception::Stop() {
    BeginStop();
    const bool video = !m_httpVideo || m_httpVideo->Stop();
    const bool audio = !m_httpAudio || m_httpAudio->Stop();
    const bool rtsp = !m_rtsp || m_rtsp->StopStreaming();
    const bool players = m_players->Close();
    m_param.reset();
    return video && audio && rtsp && players;
}

}  // namespace norix
