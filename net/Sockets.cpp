#include "net/Sockets.h"

#include <system_error>

#ifdef _WIN32
#include <windows.h>
#else
#include <cerrno>

#include <fcntl.h>
#include <unistd.h>
#endif

namespace net {

#ifdef _WIN32

bool startUp() {
    static const bool started = [] {
        WSADATA data;
        return WSAStartup(MAKEWORD(2, 2), &data) == 0;
    }();
    return started;
}

int lastError() {
    return WSAGetLastError();
}
bool wouldBlock(int error) {
    return error == WSAEWOULDBLOCK || error == WSAEINTR;
}
bool connectPending(int error) {
    return error == WSAEWOULDBLOCK;
}
void closeSocket(int socket) {
    ::closesocket(static_cast<SOCKET>(socket));
}

bool makeNonBlocking(int socket) {
    u_long on = 1;
    return ::ioctlsocket(static_cast<SOCKET>(socket), FIONBIO, &on) == 0;
}

namespace {
constexpr int kSendFlags = 0;
using OsSocket = SOCKET;

int systemPoll(pollfd* entries, std::size_t count, int timeoutMilliseconds) {
    // The call refuses an empty set.
    if (count == 0) {
        ::Sleep(static_cast<DWORD>(timeoutMilliseconds));
        return 0;
    }
    const int ready = ::WSAPoll(entries, static_cast<ULONG>(count), timeoutMilliseconds);
    if (ready > 0) return ready;
    // Before Windows 10 2004 WSAPoll keeps silent about a connect that failed; select tells.
    int failed = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if ((entries[i].events & POLLWRNORM) == 0) continue;
        fd_set exceptions;
        FD_ZERO(&exceptions);
        FD_SET(entries[i].fd, &exceptions);
        timeval now{};
        if (::select(0, nullptr, nullptr, &exceptions, &now) > 0) {
            entries[i].revents |= POLLERR;
            ++failed;
        }
    }
    return failed;
}
}  // namespace

void ignoreUnreachable(int socket) {
    // <mswsock.h> has it in newer SDKs only (KB263823).
    constexpr DWORD kUdpConnReset = _WSAIOW(IOC_VENDOR, 12);
    BOOL report = FALSE;
    DWORD returned = 0;
    ::WSAIoctl(static_cast<SOCKET>(socket), kUdpConnReset, &report, sizeof report, nullptr, 0, &returned,
               nullptr, nullptr);
}

void receiveJoinedGroupsOnly(int) {}
bool canBindToGroup() {
    return false;
}

#else

bool startUp() {
    return true;
}

int lastError() {
    return errno;
}
bool wouldBlock(int error) {
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}
bool connectPending(int error) {
    return error == EINPROGRESS;
}
void closeSocket(int socket) {
    ::close(socket);
}

bool makeNonBlocking(int socket) {
    const int flags = ::fcntl(socket, F_GETFL, 0);
    return flags >= 0 && ::fcntl(socket, F_SETFL, flags | O_NONBLOCK) == 0;
}

namespace {
constexpr int kSendFlags = MSG_NOSIGNAL;
using OsSocket = int;

int systemPoll(pollfd* entries, std::size_t count, int timeoutMilliseconds) {
    return ::poll(entries, count, timeoutMilliseconds);
}
}  // namespace

void ignoreUnreachable(int) {}

void receiveJoinedGroupsOnly(int socket) {
#ifdef IP_MULTICAST_ALL
    const int off = 0;
    ::setsockopt(socket, IPPROTO_IP, IP_MULTICAST_ALL, &off, sizeof off);
#else
    static_cast<void>(socket);
#endif
}
bool canBindToGroup() {
    return true;
}

#endif

std::string errorText(int error) {
    return std::system_category().message(error);
}

std::ptrdiff_t receive(int socket, void* to, std::size_t size) {
    return ::recv(static_cast<OsSocket>(socket), static_cast<char*>(to), static_cast<int>(size), 0);
}

std::ptrdiff_t receiveFrom(int socket, void* to, std::size_t size, sockaddr_in& from) {
    socklen_t length = sizeof from;
    return ::recvfrom(static_cast<OsSocket>(socket), static_cast<char*>(to), static_cast<int>(size), 0,
                      reinterpret_cast<sockaddr*>(&from), &length);
}

std::ptrdiff_t send(int socket, const void* from, std::size_t size) {
    return ::send(static_cast<OsSocket>(socket), static_cast<const char*>(from), static_cast<int>(size),
                  kSendFlags);
}

std::ptrdiff_t sendTo(int socket, const void* from, std::size_t size, const sockaddr_in& to) {
    return ::sendto(static_cast<OsSocket>(socket), static_cast<const char*>(from), static_cast<int>(size),
                    kSendFlags, reinterpret_cast<const sockaddr*>(&to), sizeof to);
}

int connectResult(int socket) {
    int error = 0;
    socklen_t length = sizeof error;
    if (::getsockopt(static_cast<OsSocket>(socket), SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&error),
                     &length) != 0) {
        return lastError();
    }
    return error;
}

void PollSet::add(int socket, int conditions) {
    pollfd entry{};
    entry.fd = static_cast<OsSocket>(socket);
    if (conditions & kReadable) entry.events |= POLLRDNORM;
    if (conditions & kWritable) entry.events |= POLLWRNORM;
    m_entries.push_back(entry);
}

int PollSet::wait(int timeoutMilliseconds) {
    return systemPoll(m_entries.data(), m_entries.size(), timeoutMilliseconds);
}

int PollSet::ready(std::size_t index) const {
    const pollfd& entry = m_entries[index];
    int conditions = 0;
    if (entry.revents & (POLLRDNORM | POLLHUP)) conditions |= kReadable;
    if (entry.revents & POLLWRNORM) conditions |= kWritable;
    // An error is told by the next operation, whichever it is.
    if (entry.revents & (POLLERR | POLLNVAL)) conditions |= kReadable | kWritable | kFailed;
    return conditions;
}

}  // namespace net
