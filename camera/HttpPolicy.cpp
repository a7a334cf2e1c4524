#include "camera/HttpPolicy.h"

#include <algorithm>
#include <vector>

#include "protocol/Challenge.h"
#include "protocol/Text.h"
#include "protocol/Url.h"

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

bool IsRedirection(unsigned status) {
    return (status >= 301 && status <= 303) || status == 307 || status == 308;
}

bool KeepsMethod(unsigned status) {
    return status >= 307;
}

}  // namespace

bool IsHost(std::string_view text) {
    if (text.empty() || text.size() > kLongestHost) return false;
    if (!std::all_of(text.begin(), text.end(), IsHostCharacter)) return false;
    return text.front() == '[' || text.find(':') == std::string_view::npos;  // no port of its own
}

std::string EncodePath(std::string_view path) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string encoded;
    encoded.reserve(path.size() + 1);
    if (!path.starts_with('/')) encoded += '/';
    for (const char c : path) {
        if (c > ' ' && c < 0x7F && c != '#') {
            encoded += c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        encoded += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
    }
    return encoded;
}

std::string_view FindHeader(std::string_view headers, std::string_view name) {
    std::string_view found;
    ForEachHeader(headers, name, [&found](std::string_view value) {
        found = value;
        return true;
    });
    return found;
}

std::optional<std::string> AnswerChallenge(const HttpRequest& request, const HttpReply& reply,
                                           std::string_view clientNonce) {
    if (reply.status != kUnauthorized || request.user.empty()) return std::nullopt;
    std::vector<protocol::Challenge> challenges;
    ForEachHeader(reply.headers, "WWW-Authenticate", [&challenges](std::string_view value) {
        for (protocol::Challenge& challenge : protocol::parseChallenges(value))
            challenges.push_back(std::move(challenge));
        return false;
    });
    const auto strongest = std::max_element(challenges.begin(), challenges.end(),
                                            [](const auto& a, const auto& b) { return a.kind < b.kind; });
    if (strongest == challenges.end()) return std::nullopt;
    const protocol::DigestUse use{request.verb, EncodePath(request.path), 1, std::string(clientNonce)};
    std::string line =
        "Authorization: " + protocol::authorize(*strongest, {request.user, request.password}, use);
    // What servers and hosts wrote stands in it: it must stay one line.
    std::erase_if(line, [](char c) { return c == '\r' || c == '\n' || c == '\0'; });
    return line + "\r\n";
}

std::optional<HttpRequest> FollowRedirection(const HttpRequest& request, const HttpReply& reply) {
    if (!IsRedirection(reply.status)) return std::nullopt;
    const std::string_view location = FindHeader(reply.headers, "Location");
    HttpRequest next = request;
    if (location.starts_with('/') && !location.starts_with("//")) {
        next.path = location;
    } else {
        const auto url = protocol::parseUrl(location);
        if (!url || (url->scheme != "http" && url->scheme != "https")) return std::nullopt;
        next.secure = url->scheme == "https";
        next.host = url->host;
        next.port = url->port;
        next.path = url->path;
        const bool otherHost = !protocol::equalsIgnoringCase(next.host, request.host);
        if (otherHost || (request.secure && !next.secure)) {
            next.user.clear();
            next.password.clear();
        }
    }
    if (!KeepsMethod(reply.status) && next.verb != "GET") {
        next.verb = "GET";
        next.headers.clear();
        next.body.clear();
    }
    return next;
}

}  // namespace norix
