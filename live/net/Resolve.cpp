#include "live/net/Resolve.h"

#include <map>
#include <mutex>

#include "live/net/Platform.h"

#ifndef _WIN32
#include <netdb.h>
#endif

namespace live::net {
namespace {

constexpr std::size_t kMaxUnderWay = 8;

ipv4AddressBits askSystem(const std::string& host) {
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (::getaddrinfo(host.c_str(), nullptr, &hints, &found) != 0 || !found) return 0;
    const std::unique_ptr<addrinfo, void (*)(addrinfo*)> owned(found,
                                                               [](addrinfo* list) { ::freeaddrinfo(list); });
    return reinterpret_cast<const sockaddr_in*>(found->ai_addr)->sin_addr.s_addr;
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

ipv4AddressBits numericAddress(const std::string& text) {
    in_addr address{};
    return ::inet_pton(AF_INET, text.c_str(), &address) == 1 ? address.s_addr : 0;
}

std::shared_ptr<const Lookup> Lookup::begin(const std::string& host) {
    const std::shared_ptr<UnderWay>& all = underWay();
    auto lookup = std::make_shared<Lookup>();
    {
        const std::lock_guard lock(all->lock);
        if (const auto known = all->lookups.find(host); known != all->lookups.end()) return known->second;
        if (all->lookups.size() >= kMaxUnderWay) return nullptr;
        all->lookups.emplace(host, lookup);
    }
    const auto finish = [all, host] {
        const std::lock_guard lock(all->lock);
        all->lookups.erase(host);
    };
    const bool started = runDetached([lookup, host, finish] {
        lookup->run(host);
        finish();
    });
    if (started) return lookup;
    finish();
    return nullptr;
}

void Lookup::run(const std::string& host) noexcept {
    try {
        m_address = systemCall.load()(host);
    } catch (...) {
        m_address = 0;
    }
    m_done.store(true, std::memory_order_release);
}

}  // namespace live::net
