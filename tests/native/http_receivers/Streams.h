#pragma once

// Streams as cameras send them, and what a splitter makes of them.

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "include/HTTP/Splitter.h"

namespace http_test {

struct Frames : norix::http::FrameSink {
    std::vector<std::string> all;
    void OnFrame(norix::http::Bytes frame) override { all.emplace_back(frame.begin(), frame.end()); }
};

inline norix::http::Bytes BytesOf(const std::string& text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

inline std::string Text(std::initializer_list<int> bytes) {
    std::string text;
    for (const int byte : bytes)
        text += static_cast<char>(byte);
    return text;
}

// A picture in form: with a thumbnail inside, stuffed bytes, restart markers and `inside` in its scan.
inline std::string Jpeg(std::size_t fill, const std::string& inside = {}) {
    const std::string thumbnail = Text({0xFF, 0xD8, 0xFF, 0xD9});
    std::string jpeg = Text({0xFF, 0xD8, 0xFF, 0xE1, 0, 6}) + thumbnail;
    jpeg += Text({0xFF, 0xDA, 0, 3, 1});
    for (std::size_t i = 0; i < fill; ++i)
        jpeg += static_cast<char>(i * 7 % 251);
    return jpeg + inside + Text({0xFF, 0x00, 0xFF, 0xD3, 0x2D, 0xFF, 0xD9});
}

// The camera's header for a frame of so many bytes, with its time stamp.
inline std::string Header(std::size_t frame, int section = 27, bool withLength = true, int timeMs = 0) {
    const std::size_t following = frame + 3 + static_cast<std::size_t>(section);
    std::string text = Text({0, 0, 1, 0xE0, withLength ? static_cast<int>(following >> 8) : 0,
                             withLength ? static_cast<int>(following & 255) : 0, 0x80, 0, section});
    std::string information(static_cast<std::size_t>(section), '\0');
    information[0] = 1;
    information[10] = static_cast<char>(timeMs >> 8);
    information[11] = static_cast<char>(timeMs);
    return text + information;
}

inline std::string SoundBlock(std::size_t bytes, bool withLength = true) {
    const std::size_t following = bytes + 26;
    return Text({0, 0, 1, 0xC0, withLength ? static_cast<int>(following >> 8) : 0,
                 withLength ? static_cast<int>(following & 255) : 0}) +
           std::string(26, '\0') + std::string(bytes, '\x55');
}

}  // namespace http_test
