#include "live/net/Groupsock.h"

#include <algorithm>

#include "live/net/GroupsockHelper.h"
#include "net/SocketHandle.h"

thread_local ipv4AddressBits ReceivingInterfaceAddr = 0;

namespace {

template <typename T>
bool setOption(int socket, int level, int name, const T& value) {
    return ::setsockopt(socket, level, name, reinterpret_cast<const char*>(&value), sizeof value) == 0;
}

sockaddr_in socketAddress(ipv4AddressBits address, portNumBits port) {
    sockaddr_in full{};
    full.sin_family = AF_INET;
    full.sin_addr.s_addr = address;
    full.sin_port = htons(port);
    return full;
}

bool join(int socket, ipv4AddressBits group, ipv4AddressBits source) {
    if (source == 0) {
        ip_mreq membership{};
        membership.imr_multiaddr.s_addr = group;
        membership.imr_interface.s_addr = ReceivingInterfaceAddr;
        return setOption(socket, IPPROTO_IP, IP_ADD_MEMBERSHIP, membership);
    }
    ip_mreq_source membership{};
    membership.imr_multiaddr.s_addr = group;
    membership.imr_interface.s_addr = ReceivingInterfaceAddr;
    membership.imr_sourceaddr.s_addr = source;
    return setOption(socket, IPPROTO_IP, IP_ADD_SOURCE_MEMBERSHIP, membership);
}

}  // namespace

Boolean IsMulticastAddress(ipv4AddressBits address) {
    const auto host = ntohl(address);
    return host >= 0xE0000100u &&
           host <= 0xEFFFFFFFu;  // 224.0.0.x never leaves a network and carries no media
}

unsigned getReceiveBufferSize(UsageEnvironment& env, int socket) {
    int size = 0;
    socklen_t length = sizeof size;
    if (::getsockopt(socket, SOL_SOCKET, SO_RCVBUF, reinterpret_cast<char*>(&size), &length) != 0 ||
        size < 0) {
        env.setResultErrMsg("getReceiveBufferSize() error: ");
        return 0;
    }
    return static_cast<unsigned>(size);
}

unsigned setReceiveBufferTo(UsageEnvironment& env, int socket, unsigned requestedSize) {
    const unsigned current = getReceiveBufferSize(env, socket);
    for (unsigned size = requestedSize; size > current; size = (size + current) / 2) {
        if (setOption(socket, SOL_SOCKET, SO_RCVBUF, static_cast<int>(std::min(size, 0x7FFFFFFFu)))) break;
        if (size - current < 2) break;
    }
    if (requestedSize < current) setOption(socket, SOL_SOCKET, SO_RCVBUF, static_cast<int>(requestedSize));
    return getReceiveBufferSize(env, socket);
}

Groupsock::Groupsock(UsageEnvironment& env, ipv4AddressBits group)
    : m_env(env),
      m_socket(std::make_unique<net::SocketHandle>(static_cast<int>(::socket(AF_INET, SOCK_DGRAM, 0)))),
      m_group(group) {}

std::unique_ptr<Groupsock> Groupsock::open(UsageEnvironment& env, ipv4AddressBits group, portNumBits port,
                                           ipv4AddressBits source) {
    std::unique_ptr<Groupsock> opened(new Groupsock(env, group));
    const int socket = opened->socketNum();
    const bool multicast = IsMulticastAddress(group);
    if (socket < 0 || !net::makeNonBlocking(socket)) {
        env.setResultErrMsg("unable to create datagram socket: ");
        return nullptr;
    }
    net::ignoreUnreachable(socket);
    // Several receivers of one group on one machine are usual; of a unicast port they would be a mistake.
    if (multicast) setOption(socket, SOL_SOCKET, SO_REUSEADDR, 1);
    auto local = socketAddress(multicast && net::canBindToGroup() ? group : INADDR_ANY, port);
    if (::bind(socket, reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0) {
        env.setResultErrMsg("bind() error: ");
        return nullptr;
    }
    if (multicast) {
        net::receiveJoinedGroupsOnly(socket);
        if (!join(socket, group, source)) {
            env.setResultErrMsg("unable to join the multicast group: ");
            return nullptr;
        }
        in_addr through{};
        through.s_addr = ReceivingInterfaceAddr;
        setOption(socket, IPPROTO_IP, IP_MULTICAST_IF, through);
    }
    socklen_t length = sizeof local;
    if (::getsockname(socket, reinterpret_cast<sockaddr*>(&local), &length) != 0) {
        env.setResultErrMsg("getsockname() error: ");
        return nullptr;
    }
    opened->m_port = ntohs(local.sin_port);
    return opened;
}

Groupsock::~Groupsock() {
    m_env.taskScheduler().disableBackgroundHandling(socketNum());
}

int Groupsock::socketNum() const {
    return m_socket->get();
}

void Groupsock::setDestination(ipv4AddressBits address, portNumBits port) {
    m_destination = address;
    m_destinationPort = port;
}

bool Groupsock::send(std::span<const unsigned char> datagram) {
    return hasDestination() && sendTo(m_destination, m_destinationPort, datagram);
}

bool Groupsock::sendTo(ipv4AddressBits address, portNumBits port, std::span<const unsigned char> datagram) {
    return net::sendTo(socketNum(), datagram.data(), datagram.size(), socketAddress(address, port)) >= 0;
}

std::ptrdiff_t Groupsock::receive(std::span<unsigned char> to, ipv4AddressBits& from, portNumBits& port) {
    sockaddr_in sender{};
    const std::ptrdiff_t size = net::receiveFrom(socketNum(), to.data(), to.size(), sender);
    from = sender.sin_addr.s_addr;
    port = ntohs(sender.sin_port);
    return size;
}
