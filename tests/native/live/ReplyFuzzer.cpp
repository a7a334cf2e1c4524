// Whatever a connection carries, the framer goes forward and stays inside. One input in some hundreds is
// repeated up to what a connection holds: what is not linear shows there, and nothing may be looked at again
// and again.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "live/rtsp/RtspFramer.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using live::rtsp::Framer;
    if (size == 0) return 0;
    constexpr std::size_t kLongest = 400'000;
    constexpr std::uint32_t kRepeated = 256;  // one of so many
    // Which ones depends on all of the input: a byte that said it would soon stand in every one, since that
    // finds more, and ten runs a second are no fuzzing.
    std::uint32_t hash = 2'166'136'261;  // FNV-1a
    for (std::size_t i = 0; i < size; ++i)
        hash = (hash ^ data[i]) * 16'777'619;
    static std::vector<unsigned char> all;
    all.assign(data, data + size);
    if ((hash >> 8) % kRepeated == 0) {
        all.resize(std::max(all.size(), kLongest));
        // Doubled until it is full: many small copies would take longer than the framer.
        for (std::size_t full = size; full < all.size(); full *= 2)
            std::memcpy(&all[full], all.data(), std::min(full, all.size() - full));
    }
    Framer framer(65536);
    live::rtp::Bytes rest(all);
    while (!rest.empty()) {
        const Framer::Item item = framer.next(rest);
        if (item == Framer::Item::NeedMore || item == Framer::Item::Error) break;
        if (framer.size() == 0 || framer.offset() + framer.size() > rest.size()) std::abort();
        if (item == Framer::Item::Message) static_cast<void>(framer.message().header("Session"));
        // A packet amid a message would be cut out; here what is before it goes as well.
        rest = rest.subspan(framer.offset() + framer.size());
    }
    return 0;
}
