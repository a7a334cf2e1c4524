#include "protocol/Origin.h"

#include "protocol/Text.h"

namespace protocol {

std::string plainHost(std::string_view host) {
    host = trim(host);
    if (host.size() >= 2 && host.front() == '[' && host.back() == ']') {
        host = host.substr(1, host.size() - 2);
    } else if (host.size() > 1 && host.back() == '.') {
        host.remove_suffix(1);
    }
    return toLower(host);
}

std::string hostInUrl(std::string_view host) {
    const bool bare = host.find(':') != std::string_view::npos && !host.starts_with('[');
    return bare ? "[" + std::string(host) + "]" : std::string(host);
}

Origin makeOrigin(std::string_view scheme, std::string_view host, std::uint16_t port) {
    return {toLower(scheme), plainHost(host), port};
}

Origin originOf(const Url& url) {
    return makeOrigin(url.scheme, url.host, url.port);
}

std::string toText(const Origin& origin) {
    return origin.scheme + "://" + hostInUrl(origin.host) + ":" + std::to_string(origin.port);
}

}  // namespace protocol
