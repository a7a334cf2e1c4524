// Whatever a connection carries, the framer goes forward and stays inside.

#include <cstdint>
#include <cstdlib>

#include "live/rtsp/RtspFramer.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using live::rtsp::Framer;
    Framer framer(4096);
    live::rtp::Bytes rest(data, size);
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
