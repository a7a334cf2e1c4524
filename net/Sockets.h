#pragma once

// All that differs between the systems about sockets. Sockets are ints everywhere: Windows hands out small
// numbers.

#ifdef _WIN32
#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#endif

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace net {

/// Starts the system's sockets once per process; false when there are none.
bool startUp();

/// The last socket error of this thread, its text, and what the usual ones mean.
int lastError();
std::string errorText(int error);
bool wouldBlock(int error);
bool connectPending(int error);

void closeSocket(int socket);
bool makeNonBlocking(int socket);

/// Bytes moved, or -1 with the reason in lastError().
std::ptrdiff_t receive(int socket, void* to, std::size_t size);
std::ptrdiff_t receiveFrom(int socket, void* to, std::size_t size, sockaddr_in& from);
std::ptrdiff_t send(int socket, const void* from, std::size_t size);
std::ptrdiff_t sendTo(int socket, const void* from, std::size_t size, const sockaddr_in& to);

/// 0 or an error code: how a pending connect ended.
int connectResult(int socket);

/// A datagram that nobody took at its destination must not make the socket's next receive fail; nothing to do
/// where the system doesn't tell sockets that are not connected.
void ignoreUnreachable(int socket);

/// Restricts a bound socket to its own group's datagrams; nothing to do where the system does so anyway.
void receiveJoinedGroupsOnly(int socket);
/// Whether a socket that is bound to a group's address sees only that group's datagrams.
bool canBindToGroup();

/// What a socket can be waited for and found to be; they combine.
inline constexpr int kReadable = 1 << 1;
inline constexpr int kWritable = 1 << 2;
inline constexpr int kFailed = 1 << 3;

/// The sockets of one readiness call.
class PollSet {
  public:
    void clear() { m_entries.clear(); }
    void add(int socket, int conditions);
    /// How many of them are ready; 0 after that time, -1 when the call failed.
    int wait(int timeoutMilliseconds);
    /// The conditions of the index-th that was added.
    int ready(std::size_t index) const;

  private:
    std::vector<pollfd> m_entries;
};

}  // namespace net
