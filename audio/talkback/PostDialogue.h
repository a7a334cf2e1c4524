#pragma once

// What is said to a camera before the voice flows, and what its silence or its answer means. Pure: the caller
// connects, sends Head, waits kAnswerMs and tells what came.

#include <cstdint>
#include <optional>
#include <string>

#include "include/HTTP/ReplyHead.h"
#include "protocol/Challenge.h"
#include "protocol/Origin.h"

namespace norix {

class PostDialogue {
  public:
    /// A camera that says nothing for so long takes the voice.
    static constexpr std::uint32_t kAnswerMs = 1000;

    struct Target {
        std::string host;  // as it was named; an IPv6 address without brackets
        std::uint16_t port = 80;
        std::string path;  // with its query, from the first slash on
        std::string user;  // empty: nobody signs in
        std::string password;
        std::string contentType;
    };

    /// The client nonce is random text for Digest.
    PostDialogue(Target target, std::string clientNonce);

    /// False for a target that would not stay one request: line ends or blanks where none may be.
    bool Valid() const;

    /// All that goes before the voice. `address` is where it was connected to, in numbers.
    std::string Head(const std::string& address) const;

    enum class Verdict {
        AskAgain,  // over a new connection
        Occupied,  // somebody else is talking
        Refused,   // the sign-in was not accepted, or there is none
    };
    /// An answer has come; nothing where it is no head of HTTP.
    Verdict Take(const std::optional<http::ReplyHead>& answer);

    /// No answer came: the voice is wanted. Remembers how the sign-in went.
    void Granted() const;

  private:
    protocol::Origin Server() const;

    const Target m_target;
    const std::string m_clientNonce;
    std::string m_authorization;                          // the value; empty for none
    std::optional<protocol::Challenge::Kind> m_answered;  // what the authorization answers
    bool m_challenged = false;
};

}  // namespace norix
