#include "protocol/Url.h"

#include <algorithm>

#include "protocol/Text.h"

namespace protocol {

namespace {

constexpr std::size_t kLongest = 4096;

struct Scheme {
    std::string_view name;
    std::uint16_t port;
};
constexpr Scheme kSchemes[] = {{"rtsp", kRtspPort}, {"http", kHttpPort}, {"https", kHttpsPort}};

// The scheme that `text` begins with, and cuts it off together with what follows it; null for none of them.
const Scheme* takeScheme(std::string_view& text) {
    for (const Scheme& scheme : kSchemes) {
        if (!startsWithIgnoringCase(text, scheme.name)) continue;
        const std::string_view rest = text.substr(scheme.name.size());
        if (!rest.starts_with("://")) continue;
        text = rest.substr(3);
        return &scheme;
    }
    return nullptr;
}

// Cuts the host and the colon behind it off; nothing for what can be none.
std::string_view takeHost(std::string_view& authority) {
    if (!authority.starts_with('[')) return take(authority, ':');
    const std::size_t end = authority.find(']');
    if (end == std::string_view::npos) return {};
    const std::string_view host = authority.substr(1, end - 1);
    authority.remove_prefix(end + 1);
    if (host.find(':') == std::string_view::npos ||
        host.find_first_not_of("0123456789abcdefABCDEF:.") != std::string_view::npos) {
        return {};
    }
    if (!authority.empty() && !authority.starts_with(':')) return {};
    authority.remove_prefix(std::min<std::size_t>(1, authority.size()));
    return host;
}

}  // namespace

std::optional<Url> parseUrl(std::string_view text) {
    std::string_view rest = trim(text);
    if (rest.size() > kLongest) return std::nullopt;
    // It goes into request lines as it is.
    if (std::any_of(rest.begin(), rest.end(), [](char c) { return static_cast<unsigned char>(c) <= ' '; })) {
        return std::nullopt;
    }
    const Scheme* scheme = takeScheme(rest);
    if (scheme == nullptr) return std::nullopt;
    const std::size_t pathStart = std::min(rest.find_first_of("/?"), rest.size());
    std::string_view authority = rest.substr(0, pathStart);
    Url url;
    url.scheme = scheme->name;
    url.port = scheme->port;
    url.path = rest.substr(pathStart);
    const std::size_t at = authority.rfind('@');
    if (at != std::string_view::npos) {
        std::string_view password = authority.substr(0, at);
        url.user = percentDecode(take(password, ':'));
        url.password = percentDecode(password);
        url.hasCredentials = true;
        authority.remove_prefix(at + 1);
    }
    url.plain = url.scheme + "://" + std::string(authority) + url.path;
    if (url.path.empty() || url.path[0] != '/') url.path.insert(url.path.begin(), '/');
    const std::string_view host = takeHost(authority);
    if (host.empty()) return std::nullopt;
    url.host = host;
    if (!authority.empty()) {
        const auto port = parseNumber(authority, 65535);
        if (!port || *port == 0) return std::nullopt;
        url.port = static_cast<std::uint16_t>(*port);
        url.portStated = true;
    }
    return url;
}

}  // namespace protocol
