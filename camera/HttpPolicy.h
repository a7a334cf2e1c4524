#pragma once

// What a request may look like, and what is asked next when a reply wants more of us: signing in, or another
// address. Pure; any thread.

#include <optional>
#include <string>
#include <string_view>

#include "camera/HttpTransport.h"
#include "protocol/Challenge.h"
#include "protocol/Origin.h"

namespace norix {

/// Whether a text can be a host: neither empty nor able to change the rest of an address or a header.
bool IsHost(std::string_view text);

/// A path as it may stand in a request line: what may not is percent-encoded, an empty one becomes "/".
std::string EncodePath(std::string_view path);

/// The value of the first header of that name; empty when there is none.
std::string_view FindHeader(std::string_view headers, std::string_view name);

/// To whom a request's credentials belong.
protocol::Origin OriginOf(const HttpRequest& request);

struct ChallengeAnswer {
    std::string line;  // "Authorization: ...", with its line end
    protocol::Challenge::Kind kind = protocol::Challenge::Kind::Basic;
};

/// What answers a 401, for the strongest challenge that may be answered (net/KnownServers.h). Nothing when
/// there is no user to name or no such challenge.
std::optional<ChallengeAnswer> AnswerChallenge(const HttpRequest& request, const HttpReply& reply,
                                               std::string_view clientNonce);

/// The request that follows a redirection; nothing when the reply is none, or leads nowhere. Where
/// it leads elsewhere (net/Redirection.h), that gets a bare GET: no credentials, no body, no header lines.
/// Where to connect to there is for the caller to say.
std::optional<HttpRequest> FollowRedirection(const HttpRequest& request, const HttpReply& reply);

}  // namespace norix
