#pragma once

// What several folders read of H.264's byte and bit streams (ITU-T H.264). Pure; no length is taken on trust.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>

#include "util/BitReader.h"

namespace util::h264 {

using Bytes = std::span<const std::uint8_t>;

/// nal_unit_type (table 7-1): the low five bits of a unit's first byte.
enum NalType : unsigned {
    kSlice = 1,
    kPartitionA = 2,
    kIdrSlice = 5,
    kSei = 6,
    kSps = 7,
    kPps = 8,
    kDelimiter = 9,
};
constexpr unsigned TypeOf(std::uint8_t header) {
    return header & 0x1Fu;
}

/// payloadType of a supplemental message (D.1.1).
enum SeiType : std::uint32_t { kUserDataUnregistered = 5, kRecoveryPoint = 6 };

/// Where the next 00 00 01 begins, from `from` on; the size when there is none.
inline std::size_t NextStartCode(Bytes bytes, std::size_t from) {
    // Its last byte is rarer than zeros are.
    std::size_t at = from + 2;
    while (at < bytes.size()) {
        const void* const found = std::memchr(&bytes[at], 1, bytes.size() - at);
        if (!found) break;
        at = static_cast<std::size_t>(static_cast<const std::uint8_t*>(found) - bytes.data());
        if (bytes[at - 1] == 0 && bytes[at - 2] == 0) return at - 2;
        ++at;
    }
    return bytes.size();
}

/// A unit's bytes without the 03 that keeps 00 00 from looking like a start code (7.3.1), as many as `buffer`
/// holds.
inline Bytes Unescape(Bytes escaped, std::span<std::uint8_t> buffer) {
    std::size_t length = 0;
    int zeros = 0;
    for (const std::uint8_t byte : escaped) {
        if (length == buffer.size()) break;
        if (zeros >= 2 && byte == 3) {
            zeros = 0;
            continue;
        }
        zeros = byte == 0 ? zeros + 1 : 0;
        buffer[length++] = byte;
    }
    return buffer.first(length);
}

/// An Exp-Golomb number, ue(v) (9.1); nothing past the end, or when it has more than 32 bits.
inline std::optional<std::uint32_t> ReadUe(BitReader& bits) {
    int zeros = 0;
    while (zeros < 32 && !bits.Overrun() && !bits.ReadFlag())
        ++zeros;
    if (zeros == 32) return std::nullopt;
    const std::uint32_t value = (1u << zeros) - 1 + bits.Read(zeros);
    if (bits.Overrun()) return std::nullopt;
    return value;
}

/// Calls `take(type, payload)` for each message of an SEI unit, whose header and escapes are gone (7.3.2.3),
/// until it returns true. The last payload may have been cut off.
template <class Take>
void ForEachSeiMessage(Bytes rest, Take&& take) {
    // A number is a sum of bytes that ends with the first one below 255.
    const auto number = [&rest](std::uint32_t& value) {
        value = 0;
        while (!rest.empty()) {
            const std::uint8_t byte = rest[0];
            rest = rest.subspan(1);
            value += byte;
            if (byte != 0xFF) return true;
        }
        return false;
    };
    std::uint32_t type = 0;
    std::uint32_t size = 0;
    while (number(type) && number(size)) {
        if (take(type, rest.first(std::min<std::size_t>(size, rest.size()))) || size >= rest.size()) return;
        rest = rest.subspan(size);
    }
}

}  // namespace util::h264
