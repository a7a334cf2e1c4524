#pragma once

#include "live/env/UsageEnvironment.h"

/// The local address that multicast groups are joined on, in network byte order; 0 lets the system choose.
/// Read when a subsession is initiated. Each thread has its own, as it has its own event loop.
extern thread_local ipv4AddressBits ReceivingInterfaceAddr;

Boolean IsMulticastAddress(ipv4AddressBits address);

/// The system's receive buffer of a socket, in bytes. Setting goes down in steps until the system accepts,
/// and answers what it then is.
unsigned getReceiveBufferSize(UsageEnvironment& env, int socket);
unsigned setReceiveBufferTo(UsageEnvironment& env, int socket, unsigned requestedSize);
