#include "live/rtsp/Url.h"

#include <algorithm>

namespace live::rtsp {

namespace {

bool isScheme(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' ||
               c == '-' || c == '.';
    });
}

}  // namespace

std::optional<protocol::Url> parseUrl(std::string_view text) {
    std::optional<protocol::Url> url = protocol::parseUrl(text);
    if (url && url->scheme != "rtsp") url.reset();
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
