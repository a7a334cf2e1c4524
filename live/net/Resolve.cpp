#include "live/net/Resolve.h"

#include <memory>

#include "live/net/Platform.h"

#ifndef _WIN32
#include <netdb.h>
#endif

namespace live::net {

ipv4AddressBits resolve(const std::string& host) {
    in_addr numeric{};
    if (::inet_pton(AF_INET, host.c_str(), &numeric) == 1) return numeric.s_addr;
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (::getaddrinfo(host.c_str(), nullptr, &hints, &found) != 0 || !found) return 0;
    const std::unique_ptr<addrinfo, void (*)(addrinfo*)> owned(found,
                                                               [](addrinfo* list) { ::freeaddrinfo(list); });
    return reinterpret_cast<const sockaddr_in*>(found->ai_addr)->sin_addr.s_addr;
}

}  // namespace live::net
