#include "camera/HttpPolicy.h"

#include <algorithm>
#include <vector>

#include "net/KnownServers.h"
#include "net/Redirection.h"
#include "protocol/Text.h"

namespace norix {
namespace {

constexpr unsigned kUnauthorized = 401;
constexpr std::size_t kLongestHost = 255;

bool IsHostCharacter(char c) {
    constexpr std::string_view kForbidden = "/\\?#@%\"'<>,;";
    return c > ' ' && c != 0x7F && kForbidden.find(c) == std::string_view::npos;
}

// Calls `visit` with the value of every header of that name until it answers true.
template <class Visit>
void ForEachHeader(std::string_view headers, std::string_view name, const Visit& visit) {
    protocol::takeLine(headers);  // the status line
    while (!headers.empty()) {
        std::string_view value = protocol::takeLine(headers);
        const std::string_view found = protocol::trim(protocol::take(value, ':'));
        if (protocol::equalsIgnoringCase(found, name) && visit(protocol::trim(value))) return;
    }
}

}  // namespace

bool IsHost(std::string_view text) {
    if (text.empty() || text.size() > kLongestHost) return false;
    if (!std::all_of(text.begin(), text.end(), IsHostCharacter)) return false;
    const auto colons = std::count(text.begin(), text.end(), ':');
    return text.front() == '[' || colons != 1;  // one would begin a port; an IPv6 address has two at least
}

std::string EncodePath(std::string_view path) {
    const std::string encoded = protocol::percentEncode(path, "#");
    return path.starts_with('/') ? encoded : "/" + encoded;
}

std::string_view FindHeader(std::string_view headers, std::string_view name) {
    std::string_view found;
    ForEachHeader(headers, name, [&found](std::string_view value) {
        found = value;
        return true;
    });
    return found;
}

protocol::Origin OriginOf(const HttpRequest& request) {
    return protocol::makeOrigin(request.secure ? "https" : "http", request.host, request.port);
}

std::optional<ChallengeAnswer> AnswerChallenge(const HttpRequest& request, const HttpReply& reply,
                                               std::string_view clientNonce) {
    if (reply.status != kUnauthorized || request.user.empty()) return std::nullopt;
    std::vector<std::string> fields;
    ForEachHeader(reply.headers, "WWW-Authenticate", [&fields](std::string_view value) {
        fields.emplace_back(value);
        return false;
    });
    const auto challenge = net::KnownServers::get().choose(OriginOf(request), fields);
    if (!challenge) return std::nullopt;
    const protocol::DigestUse use{request.verb, EncodePath(request.path), 1, std::string(clientNonce)};
    std::string line =
        "Authorization: " + protocol::authorize(*challenge, {request.user, request.password}, use);
    // What servers and hosts wrote stands in it: it must stay one line.
    std::erase_if(line, [](char c) { return c == '\r' || c == '\n' || c == '\0'; });
    return ChallengeAnswer{line + "\r\n", challenge->kind};
}

std::optional<HttpRequest> FollowRedirection(const HttpRequest& request, const HttpReply& reply) {
    const auto to = net::redirectionOf(reply.status, FindHeader(reply.headers, "Location"), OriginOf(request),
                                       request.path);
    if (!to || !IsHost(to->origin.host)) return std::nullopt;
    HttpRequest next = request;
    next.secure = to->origin.scheme == "https";
    next.host = to->origin.host;
    next.connectTo.clear();
    next.port = to->origin.port;
    next.path = to->path;
    if (to->elsewhere) {
        next.user.clear();
        next.password.clear();
    }
    if (to->elsewhere || (!to->keepsRequest && next.verb != "GET")) {
        next.verb = "GET";
        next.headers.clear();
        next.body.clear();
    }
    return next;
}

}  // namespace norix
