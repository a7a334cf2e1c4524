#include "tests/native/rtsp/FuzzNetwork.h"

#include <arpa/inet.h>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <deque>
#include <functional>

#include "net/Lookup.h"
#include "net/SocketHandle.h"
#include "util/LooseThread.h"

namespace {

struct Peer {
    net::SocketHandle socket;  // the server's end
    std::string address;
};

constexpr std::int64_t kStart = 1'000;

fuzz::Server* g_server = nullptr;
std::deque<Peer> g_peers;
std::int64_t g_milliseconds = 0;
int g_datagrams = 0;

void Deliver() {
    for (std::size_t i = 0; i < g_peers.size(); ++i) {
        char bytes[4096];
        ssize_t size = 0;
        while (g_peers[i].socket && (size = ::recv(g_peers[i].socket.get(), bytes, sizeof bytes, 0)) > 0)
            g_server->OnBytes(static_cast<int>(i), {bytes, static_cast<std::size_t>(size)});
    }
}

std::string TextOf(const sockaddr* address) {
    net::SocketAddress known;
    const bool six = address->sa_family == AF_INET6;
    if (six) {
        reinterpret_cast<sockaddr_in6&>(known.storage) = *reinterpret_cast<const sockaddr_in6*>(address);
    } else {
        reinterpret_cast<sockaddr_in&>(known.storage) = *reinterpret_cast<const sockaddr_in*>(address);
    }
    // At the same place in both.
    return known.text() + ":" + std::to_string(ntohs(reinterpret_cast<sockaddr_in&>(known.storage).sin_port));
}

}  // namespace

// ---- What the system would do

extern "C" int connect(int socket, const sockaddr* address, socklen_t) {
    int ends[2];
    if (!g_server || ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends) != 0) {
        errno = ECONNREFUSED;
        return -1;
    }
    ::dup2(ends[0], socket);
    ::close(ends[0]);
    g_peers.push_back({net::SocketHandle(ends[1]), TextOf(address)});
    return 0;
}

extern "C" ssize_t sendto(int, const void*, size_t size, int, const sockaddr*, socklen_t) {
    ++g_datagrams;
    return static_cast<ssize_t>(size);
}

extern "C" int setsockopt(int socket, int level, int name, const void* value, socklen_t size) noexcept {
    if (level == IPPROTO_IP) return 0;  // groups
    return static_cast<int>(::syscall(SYS_setsockopt, socket, level, name, value, size));
}

extern "C" int poll(pollfd* entries, nfds_t count, int timeout) {
    if (!g_server) return static_cast<int>(::syscall(SYS_poll, entries, count, timeout));
    Deliver();
    const auto ready = ::syscall(SYS_poll, entries, count, 0);
    if (ready != 0 || timeout == 0) return static_cast<int>(ready);
    g_milliseconds += g_server->OnIdle();
    return static_cast<int>(::syscall(SYS_poll, entries, count, 0));
}

extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
    if (clock != CLOCK_MONOTONIC || !g_server)
        return static_cast<int>(::syscall(SYS_clock_gettime, clock, time));
    const std::int64_t now = kStart + g_milliseconds;
    *time = {now / 1'000, now % 1'000 * 1'000'000};
    return 0;
}

// There is one thread: nobody signals while it waits.
extern "C" int pthread_cond_clockwait(pthread_cond_t*, pthread_mutex_t*, clockid_t, const timespec* until) {
    const std::int64_t then = std::int64_t{until->tv_sec} * 1'000 + until->tv_nsec / 1'000'000 + 1;
    g_milliseconds = std::max(g_milliseconds, then - kStart);
    return ETIMEDOUT;
}

bool util::StartLooseThread(std::function<void()> body) {
    body();  // here and now
    return true;
}

namespace fuzz {

void SetServer(Server* server) {
    g_peers.clear();
    g_milliseconds = g_datagrams = 0;
    g_server = server;
    // Every name is the same host.
    net::Lookup::systemCall = [](const std::string&) { return net::numericAddresses("192.0.2.99"); };
}

int Connections() {
    return static_cast<int>(g_peers.size());
}
const std::string& AddressOf(int connection) {
    return g_peers[static_cast<std::size_t>(connection)].address;
}
void Send(int connection, std::string_view bytes) {
    const int socket = g_peers[static_cast<std::size_t>(connection)].socket.get();
    // What a socket doesn't take is lost.
    if (socket >= 0) static_cast<void>(::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL));
}
void Close(int connection) {
    g_peers[static_cast<std::size_t>(connection)].socket.reset();
}
std::int64_t Milliseconds() {
    return g_milliseconds;
}
int Datagrams() {
    return g_datagrams;
}

}  // namespace fuzz
