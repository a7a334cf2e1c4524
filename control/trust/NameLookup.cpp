#include <winsock2.h>  // before windows.h
#include <ws2tcpip.h>

#include "control/trust/NameLookup.h"

#include <algorithm>
#include <memory>

#include "util/AnsweringWait.h"
#include "util/Handles.h"
#include "util/LooseThread.h"

namespace norix {

namespace {

constexpr DWORD kLimit = 1000;  // ms

/// What the asking thread and the one that asks the system share.
struct Question {
    util::Event done{util::Event::Kind::kManualReset};
    std::optional<NumericAddress> address;  // the looking thread's until `done`
};

std::optional<NumericAddress> FirstAddress(const std::string& name) {
    addrinfo hints = {};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* list = nullptr;
    if (getaddrinfo(name.c_str(), nullptr, &hints, &list) != 0) return std::nullopt;
    const std::unique_ptr<addrinfo, void (*)(addrinfo*)> owner(list,
                                                               [](addrinfo* all) { freeaddrinfo(all); });
    std::optional<NumericAddress> found;
    for (const addrinfo* item = list; item != nullptr; item = item->ai_next) {
        if (item->ai_family == AF_INET) {
            NumericAddress address = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF};
            const auto* ipv4 = reinterpret_cast<const sockaddr_in*>(item->ai_addr);
            const auto* bytes = reinterpret_cast<const std::uint8_t*>(&ipv4->sin_addr);
            std::copy_n(bytes, 4, address.end() - 4);
            return address;
        }
        if (item->ai_family == AF_INET6 && !found) {
            const auto* ipv6 = reinterpret_cast<const sockaddr_in6*>(item->ai_addr);
            found.emplace();
            std::copy_n(ipv6->sin6_addr.s6_addr, found->size(), found->begin());
        }
    }
    return found;
}

}  // namespace

std::optional<NumericAddress> LookUp(const std::string& name) {
    const auto question = std::make_shared<Question>();
    const bool started = util::StartLooseThread([question, name] {
        WSADATA data;
        if (WSAStartup(MAKEWORD(2, 2), &data) == 0) {  // the asking thread's may have ended
            question->address = FirstAddress(name);
            WSACleanup();
        }
        question->done.Set();
    });
    if (!started || !util::WaitAnsweringSentMessages(question->done.Get(), kLimit)) return std::nullopt;
    return question->address;
}

}  // namespace norix
