#include "control/trust/NameLookup.h"

#include <algorithm>
#include <memory>

#include "net/Lookup.h"
#include "util/AnsweringWait.h"
#include "util/Handles.h"

namespace norix {

namespace {

constexpr DWORD kLimit = 1000;  // ms

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

std::optional<NumericAddress> LookUp(const std::string& name) {
    const auto done = std::make_shared<util::Event>(util::Event::Kind::kManualReset);
    const auto lookup = net::Lookup::begin(name, [done] { done->Set(); });
    if (!lookup || !util::WaitAnsweringSentMessages(done->Get(), kLimit) || lookup->addresses().empty())
        return std::nullopt;
    return FromSocketAddress(lookup->addresses().front());
}

}  // namespace norix
