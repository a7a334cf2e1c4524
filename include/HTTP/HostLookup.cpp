#include "include/HTTP/HostLookup.h"

#include <cstring>
#include <memory>

#include "util/GenericThread.h"
#include "util/Handles.h"

namespace norix::http {
namespace {

constexpr std::size_t kMaxAddresses = 4;

// What the asking thread and the resolving one share. The thread's owner is in here, and the thread holds
// this: whoever is last ends it, without a wait when that is the thread itself.
struct Lookup {
    util::Event done{util::Event::Kind::kManualReset};
    std::vector<SocketAddress> addresses;  // the resolving thread's until `done`, then the asking one's
    util::GenericThread thread{"Resolve"};
};

std::vector<SocketAddress> Query(const std::string& host, std::uint16_t port, int flags) {
    addrinfo hints = {};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = flags;
    addrinfo* list = nullptr;
    const std::string service = std::to_string(port);
    if (getaddrinfo(host.c_str(), service.c_str(), &hints, &list) != 0) return {};
    const std::unique_ptr<addrinfo, void (*)(addrinfo*)> owner(list,
                                                               [](addrinfo* all) { freeaddrinfo(all); });
    std::vector<SocketAddress> addresses;
    for (const int family : {AF_INET, AF_INET6}) {
        for (const addrinfo* item = list; item && addresses.size() < kMaxAddresses; item = item->ai_next) {
            if (item->ai_family != family || item->ai_addrlen > sizeof(sockaddr_storage)) continue;
            SocketAddress& address = addresses.emplace_back();
            std::memcpy(&address.storage, item->ai_addr, item->ai_addrlen);
            address.length = static_cast<int>(item->ai_addrlen);
        }
    }
    return addresses;
}

}  // namespace

std::vector<SocketAddress> ResolveHost(const std::string& host, std::uint16_t port) {
    return Query(host, port, 0);
}

std::vector<SocketAddress> LookUpHost(const std::string& host, std::uint16_t port, HANDLE stop,
                                      std::uint32_t timeLimitMs, const Resolver& resolver) {
    std::vector<SocketAddress> numeric = Query(host, port, AI_NUMERICHOST);
    if (!numeric.empty()) return numeric;

    const auto lookup = std::make_shared<Lookup>();
    const bool started =
        lookup->thread.Start(THREAD_PRIORITY_NORMAL, [lookup, resolver, host, port](util::StopToken&) {
            WSADATA data;
            if (WSAStartup(MAKEWORD(2, 2), &data) == 0) {  // the asking thread's may have ended
                lookup->addresses = resolver(host, port);
                WSACleanup();
            }
            lookup->done.Set();
        });
    if (!started) return {};
    const HANDLE handles[] = {lookup->done.Get(), stop};
    if (WaitForMultipleObjects(2, handles, FALSE, timeLimitMs) != WAIT_OBJECT_0) return {};
    lookup->thread.Stop();
    return std::move(lookup->addresses);
}

}  // namespace norix::http
