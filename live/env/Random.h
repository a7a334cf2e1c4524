#pragma once

#include <cstdint>

namespace live {

/// Not to be guessed from outside: identifiers, nonces, spread of timers.
std::uint32_t random32();

}  // namespace live
