#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace norix {

/// The streams that a camera may push to multicast groups; numbers of the type library.
enum class MulticastStream : std::int32_t { Video = 0, Audio = 1, AudioBroadcast = 2, Metadata = 3 };

struct MulticastAddress {
    std::string group;  // dotted text; empty = this stream is not received
    std::uint16_t port = 0;
};

struct MulticastInfo {
    std::array<MulticastAddress, 4> streams;
    std::string interfaceAddress;  // dotted text of the local interface; empty = any

    MulticastAddress& operator[](MulticastStream s) { return streams[static_cast<std::size_t>(s)]; }
    const MulticastAddress& operator[](MulticastStream s) const {
        return streams[static_cast<std::size_t>(s)];
    }
};

}  // namespace norix
