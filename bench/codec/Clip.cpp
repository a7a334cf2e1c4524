#include "bench/codec/Clip.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>

namespace codec::bench {

const std::vector<Bytes>& LoadClip(const std::string& name) {
    static std::map<std::string, std::vector<Bytes>> clips;
    std::vector<Bytes>& packets = clips[name];
    if (!packets.empty()) return packets;
    std::ifstream file(CODEC_BENCH_CLIPS "/" + name + ".pkt", std::ios::binary);
    const Bytes data(std::istreambuf_iterator<char>(file), {});
    // Each packet behind its length, little-endian.
    for (std::size_t at = 0; at + 4 <= data.size();) {
        const std::size_t length =
            data[at] | data[at + 1] << 8 | data[at + 2] << 16 | static_cast<std::size_t>(data[at + 3]) << 24;
        const auto first = data.begin() + static_cast<std::ptrdiff_t>(at + 4);
        packets.emplace_back(first, first + static_cast<std::ptrdiff_t>(length));
        at += 4 + length;
    }
    if (packets.empty()) {
        std::fprintf(stderr, "no such clip: %s\n", name.c_str());
        std::exit(1);
    }
    return packets;
}

}  // namespace codec::bench
