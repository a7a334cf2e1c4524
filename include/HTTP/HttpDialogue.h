#pragma once

// What is asked until a stream flows: the first request, the one with credentials, those that redirections
// lead to. Pure: the caller connects, sends Request() to ConnectTo():Port() and hands in the reply's head.

#include <cstdint>
#include <optional>
#include <string>

#include "include/HTTP/HttpStreamRequest.h"
#include "include/HTTP/ReplyHead.h"
#include "protocol/Challenge.h"
#include "protocol/Origin.h"

namespace norix::http {

class HttpDialogue {
  public:
    enum class Next {
        Stream,    // this reply's body is it
        AskAgain,  // over a new connection
        Refused,   // see Reason
    };

    enum class Media { Pictures, Sound };

    /// An empty session cookie is not sent. The client nonce is random text for Digest.
    HttpDialogue(HttpStreamRequest request, Media media, std::string sessionCookie, std::string clientNonce);

    /// False for a request that would not stay one: line ends or blanks where none may be.
    bool Valid() const;

    const std::string& ConnectTo() const { return m_at.connectTo.empty() ? m_at.host : m_at.connectTo; }
    std::uint16_t Port() const { return m_at.port; }
    std::string Request() const;

    Next Take(const ReplyHead& head);

    const std::string& SessionCookie() const { return m_sessionCookie; }
    /// Why it was refused, for the log.
    const std::string& Reason() const { return m_reason; }

  private:
    Next Refuse(std::string reason);
    Next AnswerChallenge(const ReplyHead& head);
    Next FollowTo(const ReplyHead& head);
    protocol::Origin Server() const;

    const Media m_media;
    const std::string m_clientNonce;
    HttpStreamRequest m_at;    // where it stands now
    std::string m_sentCookie;  // with the requests
    std::string m_sessionCookie;
    std::string m_authorization;
    std::optional<protocol::Challenge::Kind> m_answered;  // what m_authorization answers
    unsigned m_redirections = 0;
    std::string m_reason;
};

}  // namespace norix::http
