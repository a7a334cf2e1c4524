#include "include/HTTP/HttpDialogue.h"

#include <algorithm>

#include "include/HTTP/ContentType.h"
#include "net/Failure.h"
#include "net/KnownServers.h"
#include "net/Redirection.h"
#include "protocol/Challenge.h"
#include "protocol/Origin.h"
#include "protocol/Text.h"

namespace norix::http {
namespace {

bool IsToken(const std::string& text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return static_cast<unsigned char>(c) > ' ' && c != '\x7F';
    });
}

bool IsMedia(Content content, HttpDialogue::Media wanted) {
    if (content == Content::Bytes) return true;
    if (wanted == HttpDialogue::Media::Sound) return content == Content::Sound;
    return content == Content::Multipart || content == Content::Picture;
}

}  // namespace

HttpDialogue::HttpDialogue(HttpStreamRequest request, Media media, std::string sessionCookie,
                           std::string clientNonce)
    : m_media(media),
      m_clientNonce(std::move(clientNonce)),
      m_at(std::move(request)),
      m_sentCookie(sessionCookie),
      m_sessionCookie(std::move(sessionCookie)) {
    if (!m_at.headers.empty() && !m_at.headers.ends_with("\r\n")) m_at.headers += "\r\n";
}

bool HttpDialogue::Valid() const {
    return IsToken(m_at.host) && m_at.port != 0 && IsToken(m_at.path) && m_at.path.starts_with('/') &&
           m_at.headers.find("\r\n\r\n") == std::string::npos && !m_at.headers.starts_with("\r\n");
}

std::string HttpDialogue::Request() const {
    std::string text = "GET " + m_at.path + " HTTP/1.1\r\nHost: " + protocol::hostInUrl(m_at.host);
    if (m_at.port != protocol::kHttpPort) text.append(1, ':').append(std::to_string(m_at.port));
    text += "\r\nUser-Agent: NorixSDK\r\nAccept: */*\r\nConnection: close\r\n";
    if (!m_sentCookie.empty()) text += "x-sessioncookie: " + m_sentCookie + "\r\n";
    if (!m_authorization.empty()) text += "Authorization: " + m_authorization + "\r\n";
    return text + m_at.headers + "\r\n";
}

HttpDialogue::Next HttpDialogue::Refuse(std::string reason) {
    m_reason = std::move(reason);
    return Next::Refused;
}

HttpDialogue::Next HttpDialogue::Take(const ReplyHead& head) {
    constexpr unsigned kOk = 200;
    constexpr unsigned kUnauthorized = 401;
    if (head.status == kUnauthorized) return AnswerChallenge(head);
    if (net::isRedirection(head.status)) return FollowTo(head);
    if (head.status != kOk) return Refuse(net::failureOfStatus(head.status));
    if (m_answered) net::KnownServers::get().accepted(Server(), *m_answered);
    if (head.encoded) return Refuse("the stream comes in an unknown coding");
    if (!IsMedia(ParseContentType(head.contentType).content, m_media)) {
        return Refuse("not media but " + head.contentType);
    }
    if (IsToken(head.sessionCookie)) m_sessionCookie = head.sessionCookie;
    return Next::Stream;
}

HttpDialogue::Next HttpDialogue::AnswerChallenge(const ReplyHead& head) {
    if (!m_authorization.empty()) return Refuse("user name or password is wrong");
    if (m_at.user.empty()) return Refuse("the camera asks for a user name");
    const auto best = net::KnownServers::get().choose(Server(), head.challenges);
    if (!best) return Refuse("the camera asks for a kind of authentication that it gets no answer to");
    m_authorization =
        protocol::authorize(*best, {m_at.user, m_at.password, false}, {"GET", m_at.path, 1, m_clientNonce});
    m_answered = best->kind;
    return Next::AskAgain;
}

protocol::Origin HttpDialogue::Server() const {
    return protocol::makeOrigin("http", m_at.host, m_at.port);
}

HttpDialogue::Next HttpDialogue::FollowTo(const ReplyHead& head) {
    if (head.location.empty() || ++m_redirections > net::kMaxRedirections) {
        return Refuse("too many redirections");
    }
    m_authorization.clear();  // it was for one path
    m_answered.reset();
    const auto to = net::redirectionOf(head.status, head.location, Server(), m_at.path);
    if (!to) return Refuse("redirected to an address that can't be used");
    if (to->origin.scheme != "http") return Refuse("redirected to " + to->origin.scheme);
    const auto host = m_at.route ? m_at.route(to->origin.host) : to->origin.host;
    if (!host) return Refuse("redirected to a host that must not be reached");
    m_at.host = to->origin.host;
    m_at.connectTo = *host;
    m_at.port = to->origin.port;
    m_at.path = to->path;
    if (to->elsewhere) {
        m_at.user.clear();
        m_at.password.clear();
        m_at.headers.clear();
        m_sentCookie.clear();
    }
    return Valid() ? Next::AskAgain : Refuse("redirected to an address that can't be used");
}

}  // namespace norix::http
