#include <cstdlib>
#include <memory>

#include "media/FrameInfoParser.h"

// The first byte chooses the codec.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    constexpr norix::VideoCodec kCodecs[] = {norix::VideoCodec::H264, norix::VideoCodec::Mpeg4,
                                             norix::VideoCodec::Mjpeg, norix::VideoCodec::H265};
    const norix::ParsedFrameInfo parsed = norix::ParseFrameInfo(kCodecs[data[0] % 4], data + 1, size - 1);
    if (parsed.headerLength > size - 1) std::abort();
    if (parsed.events.motionAlerts.count > parsed.events.motionAlerts.items.size()) std::abort();
    return 0;
}
