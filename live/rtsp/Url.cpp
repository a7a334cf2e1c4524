#include "live/rtsp/Url.h"

#include <algorithm>

#include "live/text/Text.h"

namespace live::rtsp {

using namespace live::text;

namespace {

bool isScheme(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' ||
               c == '-' || c == '.';
    });
}

}  // namespace

std::optional<Url> parseUrl(std::string_view text) {
    constexpr std::string_view kScheme = "rtsp://";
    constexpr std::size_t kLongest = 4096;
    text = trim(text);
    if (!startsWithIgnoringCase(text, kScheme) || text.size() > kLongest) return std::nullopt;
    // It goes into request lines as it is.
    if (std::any_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) <= ' '; })) {
        return std::nullopt;
    }
    std::string_view rest = text.substr(kScheme.size());
    const std::size_t pathStart = std::min(rest.find_first_of("/?"), rest.size());
    std::string_view authority = rest.substr(0, pathStart);
    Url url;
    url.path = rest.substr(pathStart);
    const std::size_t at = authority.rfind('@');
    if (at != std::string_view::npos) {
        std::string_view password = authority.substr(0, at);
        url.user = percentDecode(take(password, ':'));
        url.password = percentDecode(password);
        url.hasCredentials = true;
        authority.remove_prefix(at + 1);
    }
    url.plain = std::string(kScheme) + std::string(authority) + url.path;
    if (url.path.empty() || url.path[0] != '/') url.path.insert(url.path.begin(), '/');
    const std::string_view host = take(authority, ':');
    if (host.empty()) return std::nullopt;
    url.host = host;
    if (!authority.empty()) {
        const auto port = parseNumber(authority, 65535);
        if (!port || *port == 0) return std::nullopt;
        url.port = static_cast<std::uint16_t>(*port);
    }
    return url;
}

std::string controlUrl(std::string_view base, std::string_view control) {
    if (control.empty() || control == "*") return std::string(base);
    const std::size_t scheme = control.find("://");
    if (scheme != std::string_view::npos && isScheme(control.substr(0, scheme))) return std::string(control);
    std::string url(base);
    if (!url.ends_with('/') && control[0] != '/') url += '/';
    if (url.ends_with('/') && control[0] == '/') control.remove_prefix(1);
    return url + std::string(control);
}

}  // namespace live::rtsp
