#include "net/Redirection.h"

#include <algorithm>

#include "protocol/Text.h"
#include "protocol/Url.h"

namespace net {
namespace {

constexpr std::size_t kLongestLocation = 4096;

bool sameFamily(std::string_view a, std::string_view b) {
    return (a == "rtsp") == (b == "rtsp");
}

bool isUpgrade(const protocol::Origin& from, const protocol::Origin& to) {
    return from == protocol::makeOrigin("http", from.host, 80) &&
           to == protocol::makeOrigin("https", from.host, protocol::kHttpsPort);
}

bool goesIntoARequestLine(std::string_view text) {
    return text.size() <= kLongestLocation && std::all_of(text.begin(), text.end(), [](char c) {
               return static_cast<unsigned char>(c) > ' ' && c != 0x7F;
           });
}

// The path that a relative reference means, seen from `base`.
std::string resolvePath(std::string_view base, std::string_view reference) {
    if (reference.starts_with('/')) return std::string(reference);
    base = base.substr(0, std::min(base.find('?'), base.size()));
    if (reference.starts_with('?')) return std::string(base) + std::string(reference);
    return std::string(base.substr(0, base.rfind('/') + 1)) + std::string(reference);
}

}  // namespace

bool isRedirection(unsigned status) {
    return (status >= 301 && status <= 303) || status == 307 || status == 308;
}

std::optional<Redirection> redirectionOf(unsigned status, std::string_view location,
                                         const protocol::Origin& origin, std::string_view path) {
    if (!isRedirection(status)) return std::nullopt;
    location = protocol::trim(location);
    location = location.substr(0, location.find('#'));
    if (location.empty() || !goesIntoARequestLine(location)) return std::nullopt;
    Redirection to;
    // "//host/path" names another host with the same scheme.
    const std::string whole =
        location.starts_with("//") ? origin.scheme + ":" + std::string(location) : std::string(location);
    if (const auto url = protocol::parseUrl(whole)) {
        to.origin = protocol::originOf(*url);
        to.path = url->path;
    } else if (whole.substr(0, whole.find_first_of("/?")).find(':') != std::string::npos) {
        return std::nullopt;  // a scheme that is not known here, or an address that is none
    } else {
        to.origin = origin;
        to.path = resolvePath(path, location);
    }
    if (!sameFamily(to.origin.scheme, origin.scheme) || !to.path.starts_with('/')) return std::nullopt;
    to.elsewhere = to.origin != origin && !isUpgrade(origin, to.origin);
    to.keepsRequest = status >= 307 && !to.elsewhere;
    return to;
}

}  // namespace net
