#include "net/Lookup.h"

#include <cstring>
#include <map>
#include <utility>

#include "util/LooseThread.h"

#ifndef _WIN32
#include <netdb.h>
#endif

namespace net {
namespace {

// One that nobody waits for any more keeps its place, and its thread, until the system gives up.
constexpr std::size_t kMaxUnderWay = 32;
constexpr std::size_t kMaxAddresses = 4;

std::vector<SocketAddress> query(const std::string& host, int flags) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = flags;
    addrinfo* list = nullptr;
    if (!startUp() || ::getaddrinfo(host.c_str(), nullptr, &hints, &list) != 0) return {};
    const std::unique_ptr<addrinfo, void (*)(addrinfo*)> owner(list,
                                                               [](addrinfo* all) { ::freeaddrinfo(all); });
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

std::vector<SocketAddress> askSystem(const std::string& host) {
    return query(host, 0);
}

struct UnderWay {
    std::mutex lock;
    std::map<std::string, std::shared_ptr<Lookup>> lookups;  // under lock
};

// Shared with the threads, which may outlast everything else.
const std::shared_ptr<UnderWay>& underWay() {
    static const auto all = std::make_shared<UnderWay>();
    return all;
}

}  // namespace

std::atomic<Lookup::SystemCall*> Lookup::systemCall{&askSystem};

namespace {
std::vector<SocketAddress> askGuarded(const std::string& host) noexcept {
    try {
        return Lookup::systemCall.load()(host);
    } catch (...) {
        return {};
    }
}
}  // namespace

void SocketAddress::setPort(std::uint16_t port) {
    if (storage.ss_family == AF_INET6) {
        reinterpret_cast<sockaddr_in6&>(storage).sin6_port = htons(port);
    } else {
        reinterpret_cast<sockaddr_in&>(storage).sin_port = htons(port);
    }
}

std::uint32_t SocketAddress::ipv4() const {
    return storage.ss_family == AF_INET ? reinterpret_cast<const sockaddr_in&>(storage).sin_addr.s_addr : 0;
}

std::string SocketAddress::text() const {
    char text[INET6_ADDRSTRLEN] = "";
    if (storage.ss_family == AF_INET6) {
        ::inet_ntop(AF_INET6, &reinterpret_cast<const sockaddr_in6&>(storage).sin6_addr, text, sizeof text);
    } else if (storage.ss_family == AF_INET) {
        ::inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in&>(storage).sin_addr, text, sizeof text);
    }
    return text;
}

std::uint32_t numericAddress(const std::string& text) {
    in_addr address{};
    return ::inet_pton(AF_INET, text.c_str(), &address) == 1 ? address.s_addr : 0;
}

std::vector<SocketAddress> numericAddresses(const std::string& text) {
    return query(text, AI_NUMERICHOST);
}

std::shared_ptr<const Lookup> Lookup::begin(const std::string& host, std::function<void()> whenDone,
                                            bool forStranger) {
    const std::shared_ptr<UnderWay>& all = underWay();
    auto lookup = std::make_shared<Lookup>();
    bool joined = false;
    {
        const std::lock_guard lock(all->lock);
        if (const auto known = all->lookups.find(host); known != all->lookups.end()) {
            lookup = known->second;
            joined = true;
        } else {
            if (all->lookups.size() >= (forStranger ? kMaxUnderWay / 2 : kMaxUnderWay)) return nullptr;
            all->lookups.emplace(host, lookup);
        }
    }
    if (whenDone) lookup->tellWhenDone(std::move(whenDone));
    if (joined) return lookup;
    const auto finish = [all, host, lookup](std::vector<SocketAddress> addresses) {
        lookup->complete(std::move(addresses));
        const std::lock_guard lock(all->lock);
        all->lookups.erase(host);
    };
    if (util::StartLooseThread([host, finish] { finish(askGuarded(host)); })) return lookup;
    finish({});  // somebody may have joined meanwhile
    return nullptr;
}

void Lookup::tellWhenDone(std::function<void()> whenDone) {
    {
        const std::lock_guard lock(m_lock);
        if (!done()) {
            m_waiting.push_back(std::move(whenDone));
            return;
        }
    }
    whenDone();
}

void Lookup::complete(std::vector<SocketAddress> addresses) noexcept {
    m_addresses = std::move(addresses);
    std::vector<std::function<void()>> waiting;
    {
        const std::lock_guard lock(m_lock);
        m_done.store(true, std::memory_order_release);
        waiting.swap(m_waiting);
    }
    for (const auto& whenDone : waiting)
        whenDone();
}

}  // namespace net
