#pragma once

// A datagram socket that receives from one peer or one multicast group, and sends to it.

#include <cstddef>
#include <memory>
#include <span>

#include "live/env/UsageEnvironment.h"

namespace net {
class SocketHandle;
}

class Groupsock {
  public:
    /// Bound to `port` (0: any) of every interface; a group is joined on ReceivingInterfaceAddr, from
    /// `source` only unless that is 0. NULL with the reason in the environment when that fails.
    static std::unique_ptr<Groupsock> open(UsageEnvironment& env, ipv4AddressBits group, portNumBits port,
                                           ipv4AddressBits source = 0);
    ~Groupsock();

    int socketNum() const;
    /// In host byte order.
    portNumBits port() const { return m_port; }
    ipv4AddressBits groupAddress() const { return m_group; }

    void setDestination(ipv4AddressBits address, portNumBits port);
    bool hasDestination() const { return m_destination != 0 && m_destinationPort != 0; }
    bool send(std::span<const unsigned char> datagram);
    bool sendTo(ipv4AddressBits address, portNumBits port, std::span<const unsigned char> datagram);
    /// The datagram's size and sender (port in host byte order), or -1 when none is waiting.
    std::ptrdiff_t receive(std::span<unsigned char> to, ipv4AddressBits& from, portNumBits& port);

  private:
    Groupsock(UsageEnvironment& env, ipv4AddressBits group);

    UsageEnvironment& m_env;
    std::unique_ptr<net::SocketHandle> m_socket;
    ipv4AddressBits m_group;
    portNumBits m_port = 0;
    ipv4AddressBits m_destination = 0;
    portNumBits m_destinationPort = 0;
};
