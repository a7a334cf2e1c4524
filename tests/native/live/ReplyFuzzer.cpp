// Whatever a connection carries, the framer goes forward and stays inside. The first byte says whether the
// rest is repeated up to what a connection holds: what is not linear shows there.

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "live/rtsp/RtspFramer.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using live::rtsp::Framer;
    if (size == 0) return 0;
    constexpr std::size_t kLongest = 400'000;
    constexpr unsigned char kRepeated = 254;  // seldom, since it takes long
    static std::vector<unsigned char> all;
    all.assign(data + 1, data + size);
    while (data[0] >= kRepeated && size > 1 && all.size() + size - 1 <= kLongest)
        all.insert(all.end(), data + 1, data + size);
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
