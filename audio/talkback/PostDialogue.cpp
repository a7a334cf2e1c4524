#include "audio/talkback/PostDialogue.h"

#include <algorithm>
#include <array>
#include <utility>

#include "net/KnownServers.h"

namespace norix {
namespace {

constexpr unsigned kUnauthorized = 401;
constexpr char kMethod[] = "POST";

bool IsToken(const std::string& text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return static_cast<unsigned char>(c) > ' ' && c != '\x7F';
    });
}

}  // namespace

// Basic goes along from the start, as cameras expect it: asking takes a second. Where it may not (net/
// KnownServers.h), the camera is asked first.
PostDialogue::PostDialogue(Target target, std::string clientNonce)
    : m_target(std::move(target)), m_clientNonce(std::move(clientNonce)) {
    if (m_target.user.empty()) return;
    const std::array<std::string, 1> basic = {"Basic realm=\"\""};
    if (const auto allowed = net::KnownServers::get().choose(Server(), basic)) {
        m_authorization = protocol::authorize(*allowed, {m_target.user, m_target.password, false}, {});
        m_answered = allowed->kind;
    }
}

protocol::Origin PostDialogue::Server() const {
    return protocol::makeOrigin("http", m_target.host, m_target.port);
}

bool PostDialogue::Valid() const {
    return IsToken(m_target.host) && m_target.port != 0 && IsToken(m_target.path) &&
           m_target.path.starts_with('/');
}

std::string PostDialogue::Head(const std::string& address) const {
    std::string head = std::string(kMethod) + ' ' + m_target.path + " HTTP/1.1\r\nHOST: " + address +
                       "\r\nConnection:Keep-Alive\r\nContent-type: " + m_target.contentType + "\r\n";
    if (!m_authorization.empty()) head += "Authorization: " + m_authorization + "\r\n";
    return head + "\r\n";
}

PostDialogue::Verdict PostDialogue::Take(const std::optional<http::ReplyHead>& answer) {
    if (!answer || answer->status != kUnauthorized) return Verdict::Occupied;
    if (std::exchange(m_challenged, true) || m_target.user.empty()) return Verdict::Refused;
    const auto best = net::KnownServers::get().choose(Server(), answer->challenges);
    // The same once more would be refused once more, and count as another attempt.
    if (!best || m_answered == best->kind) return Verdict::Refused;
    m_authorization = protocol::authorize(*best, {m_target.user, m_target.password, false},
                                          {kMethod, m_target.path, 1, m_clientNonce});
    m_answered = best->kind;
    return Verdict::AskAgain;
}

void PostDialogue::Granted() const {
    if (m_answered) net::KnownServers::get().accepted(Server(), *m_answered);
}

}  // namespace norix
