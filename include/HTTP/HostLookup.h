#pragma once

// Turns a host's name into addresses without ever blocking the caller beyond a wait that can be ended: the
// system's resolver, which can't be cancelled, works on a thread of its own.

#include <winsock2.h>
#include <ws2tcpip.h>

#include <windows.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace norix::http {

struct SocketAddress {
    sockaddr_storage storage = {};
    int length = 0;
};

/// At most a few addresses, IPv4 before IPv6; empty when there are none. Blocks.
std::vector<SocketAddress> ResolveHost(const std::string& host, std::uint16_t port);

using Resolver = std::function<std::vector<SocketAddress>(const std::string&, std::uint16_t)>;

/// Empty when there are none, when `stop` is signalled or when the time is over. An address is answered
/// without a thread. A resolver that isn't done by then goes on by itself; it must own what it uses.
std::vector<SocketAddress> LookUpHost(const std::string& host, std::uint16_t port, HANDLE stop,
                                      std::uint32_t timeLimitMs, const Resolver& resolver = ResolveHost);

}  // namespace norix::http
