#include "include/HTTP/HttpStreamReceiver.h"

#include <optional>
#include <utility>

#include "include/HTTP/StreamSession.h"
#include "util/Log.h"
#include "util/Settings.h"

namespace norix {
namespace {

std::uint32_t ReadBufferSize(HttpStreamReceiver::Kind kind) {
    constexpr std::uint32_t kKilobyte = 1024;
    const bool video = kind == HttpStreamReceiver::Kind::Video;
    if (video) {
        constexpr std::uint32_t kDefault = 512000;  // what the setting means where a number is wanted
        const std::optional<std::uint32_t> limit = util::Settings::JpegBufferSize();
        NORIX_LOG("HttpStreamReceiver::HttpStreamReceiver", 0, "JpegBufferSize = %u (KB)",
                  limit.value_or(kDefault) / kKilobyte);
        return limit.value_or(kLargestVideoFrame);
    }
    const std::uint32_t size = util::Settings::ULawBufferSize();
    NORIX_LOG("HttpStreamReceiver::HttpStreamReceiver", 0, "ULawBufferSize = %u (KB)", size / kKilobyte);
    return size;
}

}  // namespace

HttpStreamReceiver::HttpStreamReceiver(Kind kind, std::shared_ptr<CCtrlParam> param,
                                       std::shared_ptr<MediaPlayers> players, HttpReceiverTiming timing)
    : m_kind(kind),
      m_param(std::move(param)),
      m_players(std::move(players)),
      m_timing(timing),
      m_bufferSize(ReadBufferSize(kind)),
      m_thread(kind == Kind::Video ? "HTTP video" : "HTTP audio") {}

HttpStreamReceiver::~HttpStreamReceiver() {
    Stop();
}

bool HttpStreamReceiver::Begin(const HttpStreamRequest& request, std::function<void()> decided) {
    if (m_session) return false;
    const auto session = std::make_shared<StreamSession>();
    session->kind =
        m_kind == Kind::Video ? http::FrameDelivery::Kind::Pictures : http::FrameDelivery::Kind::Sound;
    session->param = m_param;
    session->players = m_players;
    session->request = request;
    session->bufferSize = m_bufferSize;
    session->stallMs = m_timing.stallMs;
    session->retryMs = m_timing.retryMs;
    session->onDecided = std::move(decided);
    m_cookie.clear();
    if (!m_thread.Start(THREAD_PRIORITY_NORMAL, [session](util::StopToken& stop) { session->Run(stop); })) {
        NORIX_LOG("HttpStreamReceiver::Start", 1, "no thread");
        return false;
    }
    m_session = session;
    return true;
}

HttpStreamReceiver::Answer HttpStreamReceiver::TakeAnswer() {
    if (!m_session) return Answer::Failed;
    if (!m_session->decided.Wait(0)) return Answer::Pending;
    if (!m_session->accepted) return m_session->unauthorized ? Answer::Refused : Answer::Failed;
    m_cookie = m_session->sessionCookie;
    return Answer::Streaming;
}

void HttpStreamReceiver::RequestStop() {
    if (!m_session) return;
    m_session->Silence();
    m_param->SetClosing(true);
    m_thread.RequestStop();
}

bool HttpStreamReceiver::Stop() {
    if (!m_session) return m_ended;
    RequestStop();
    m_session.reset();
    if (!m_thread.Stop()) m_ended = false;
    return m_ended;
}

}  // namespace norix
