#pragma once

// The library's names for plain types.

#include <cstdint>

#include <sys/time.h>
#include <sys/types.h>

using Boolean = bool;
inline constexpr Boolean False = false;
inline constexpr Boolean True = true;

#ifdef _WIN32
using u_int8_t = std::uint8_t;
using u_int16_t = std::uint16_t;
using u_int32_t = std::uint32_t;
using u_int64_t = std::uint64_t;
#endif

using portNumBits = u_int16_t;
using ipv4AddressBits = u_int32_t;  // network byte order
using netAddressBits = ipv4AddressBits;
