#include "control/trust/NameLookup.h"

#include <algorithm>
#include <memory>

#include "net/Lookup.h"
#include "util/AnsweringWait.h"
#include "util/Handles.h"

namespace norix {

namespace {

constexpr DWORD kLimit = 1000;       // ms
constexpr DWORD kCountsFor = 10000;  // ms: as long as an attempt to connect may ask

std::optional<NumericAddress> FromSocketAddress(const net::SocketAddress& address) {
    if (address.storage.ss_family == AF_INET) {
        NumericAddress numeric = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF};
        const auto* ipv4 = reinterpret_cast<const sockaddr_in*>(address.get());
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(&ipv4->sin_addr);
        std::copy_n(bytes, 4, numeric.end() - 4);
        return numeric;
    }
    if (address.storage.ss_family != AF_INET6) return std::nullopt;
    NumericAddress numeric;
    const auto* ipv6 = reinterpret_cast<const sockaddr_in6*>(address.get());
    std::copy_n(ipv6->sin6_addr.s6_addr, numeric.size(), numeric.begin());
    return numeric;
}

}  // namespace

bool NameLookup::IsUnderWay(const std::string& name) {
    const DWORD now = GetTickCount();
    std::erase_if(m_begun, [&](const auto& begun) { return now - begun.second.sinceMs > kCountsFor; });
    const auto [found, isNew] = m_begun.try_emplace(name);
    if (isNew) found->second = {net::Lookup::begin(name, {}, true), now};
    const Begun& begun = found->second;
    return begun.lookup && !begun.lookup->done() && now - begun.sinceMs < kLimit;
}

std::optional<NumericAddress> NameLookup::Find(const std::string& name) {
    std::shared_ptr<const net::Lookup> lookup;
    if (const auto begun = m_begun.find(name);
        begun != m_begun.end() && GetTickCount() - begun->second.sinceMs <= kCountsFor) {
        lookup = begun->second.lookup;
        if (!lookup || !lookup->done()) return std::nullopt;
    } else {
        const auto done = std::make_shared<util::Event>(util::Event::Kind::kManualReset);
        lookup = net::Lookup::begin(
            name, [done] { done->Set(); }, true);
        if (!lookup || !util::WaitAnsweringSentMessages(done->Get(), kLimit)) return std::nullopt;
    }
    if (lookup->addresses().empty()) return std::nullopt;
    return FromSocketAddress(lookup->addresses().front());
}

}  // namespace norix
