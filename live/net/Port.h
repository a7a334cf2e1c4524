#pragma once

#include "live/env/Types.h"

// A port number; num() is in network byte order.
class Port {
  public:
    explicit Port(portNumBits hostOrder) : m_number(swap(hostOrder)) {}
    portNumBits num() const { return m_number; }

  private:
    static portNumBits swap(portNumBits number) {
        const unsigned char bytes[2] = {static_cast<unsigned char>(number >> 8), static_cast<unsigned char>(number)};
        portNumBits network;
        __builtin_memcpy(&network, bytes, sizeof network);
        return network;
    }
    portNumBits m_number;
};
