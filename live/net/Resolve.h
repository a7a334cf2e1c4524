#pragma once

#include <string>

#include "live/env/Types.h"

namespace live::net {

// The IPv4 address of a host, in network byte order; 0 when there is none. A name, other than a numeric
// address, is looked up, which takes as long as the system takes.
ipv4AddressBits resolve(const std::string& host);

}  // namespace live::net
