#pragma once

// Builds what cameras send, byte by byte as docs/camera-interface.md describes it.

#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

namespace norix::test {

using Bytes = std::vector<std::uint8_t>;

inline void Append(Bytes& to, const Bytes& more) {
    to.insert(to.end(), more.begin(), more.end());
}
inline void Append16(Bytes& to, unsigned value) {
    Append(to, {static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)});
}
inline void Append32(Bytes& to, std::uint32_t value) {
    Append16(to, value >> 16);
    Append16(to, value & 0xFFFF);
}

struct Section {
    std::uint8_t version = 1;
    std::uint8_t flags = 2;  // digital I/O valid
    std::uint8_t inputs = 0x05;
    std::uint8_t outputs = 0x02;
    unsigned referenceWidth = 320;
    unsigned referenceHeight = 240;
    std::uint32_t timeStamp = 0x01020304;
    std::uint32_t sequence = 77;
    std::uint32_t seconds = 1700000000;
    Bytes elements;

    Section& Region(std::uint8_t index, std::uint8_t enabled, unsigned x, unsigned y, unsigned width,
                    unsigned height, std::uint8_t threshold, std::uint8_t level) {
        Append(elements, {1, 15, index, enabled, 0});
        for (unsigned value : {x, y, width, height})
            Append16(elements, value);
        Append(elements, {threshold, level, 0, 0});
        return *this;
    }
    Section& MotionAlert(std::uint8_t id, std::uint8_t percentage) {
        Append(elements, {2, 2, id, percentage});
        return *this;
    }
    Section& Analytics(unsigned index, unsigned type) {
        Append(elements, {3, 4});
        Append16(elements, index);
        Append16(elements, type);
        return *this;
    }
    Section& General(unsigned type, std::uint8_t index, std::uint8_t status) {
        Append(elements, {4, 4});
        Append16(elements, type);
        Append(elements, {index, status});
        return *this;
    }

    Bytes Build() const {
        Bytes out{version, flags, inputs, outputs};
        Append16(out, referenceWidth);
        Append16(out, referenceHeight);
        Append32(out, timeStamp);
        Append32(out, sequence);
        out.resize(23);
        Append32(out, seconds);
        Append(out, elements);
        return out;
    }
};

// The camera's header with the section in it, for a frame of `frameSize` bytes.
inline Bytes CameraHeader(const Bytes& section, std::size_t frameSize) {
    Bytes out{0, 0, 1, 0xE0};
    Append16(out, static_cast<unsigned>(3 + section.size() + frameSize));
    Append(out, {0x80, 0, static_cast<std::uint8_t>(section.size())});
    Append(out, section);
    return out;
}

inline Bytes Identified(const Bytes& section) {
    constexpr std::string_view kId = "NorixFrameInfo01";
    Bytes out(kId.begin(), kId.end());
    Append(out, section);
    return out;
}

inline Bytes Escaped(const Bytes& plain) {
    Bytes out;
    int zeros = 0;
    for (const std::uint8_t byte : plain) {
        if (zeros == 2 && byte <= 3) {
            out.push_back(3);
            zeros = 0;
        }
        zeros = byte == 0 ? zeros + 1 : 0;
        out.push_back(byte);
    }
    return out;
}

inline Bytes SeiNal(const Bytes& section) {
    const Bytes payload = Identified(section);
    Bytes message{5};
    std::size_t size = payload.size();
    for (; size >= 255; size -= 255)
        message.push_back(255);
    message.push_back(static_cast<std::uint8_t>(size));
    Append(message, payload);
    message.push_back(0x80);
    Bytes out{0, 0, 0, 1, 6};
    Append(out, Escaped(message));
    return out;
}

}  // namespace norix::test
