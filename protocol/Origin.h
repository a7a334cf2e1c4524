#pragma once

// To whom something belongs on the network: what is told to one origin is nobody else's. Pure.

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

#include "protocol/Url.h"

namespace protocol {

/// Scheme, host and port. Compared as a whole; scheme and host are kept in lower case, the host without
/// brackets and without the dot at its end, so that one place has one form.
struct Origin {
    std::string scheme;
    std::string host;
    std::uint16_t port = 0;

    auto operator<=>(const Origin&) const = default;
    explicit operator bool() const { return !scheme.empty() && !host.empty() && port != 0; }
};

Origin makeOrigin(std::string_view scheme, std::string_view host, std::uint16_t port);
Origin originOf(const Url& url);

/// "rtsp://host:554"; an IPv6 host in brackets, the port always.
std::string toText(const Origin& origin);

/// A host in the one form that Origin keeps.
std::string plainHost(std::string_view host);
/// A host as addresses and Host lines hold it: an IPv6 one in brackets.
std::string hostInUrl(std::string_view host);

}  // namespace protocol
