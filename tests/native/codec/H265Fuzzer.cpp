#include <algorithm>
#include <vector>

#include "codec/H265Decoder.h"
#include "codec/StaticInit.h"

// The first byte chooses speed and output format; the rest is one access unit after the other, each behind
// its length.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const int kInitialised = codec::StaticInit();
    if (kInitialised != codec::kStaticInitOk || size < 3) return 0;
    codec::H265Decoder decoder(1);
    decoder.SetSpeed(data[0] & 7);
    decoder.SetMostPixels(512 * 512);  // larger pictures only cost time
    const auto format = data[0] & 8 ? codec::PixelFormat::kYuy2 : codec::PixelFormat::kBgr24;
    std::vector<std::uint8_t> buffer(1 << 20);
    for (std::size_t at = 1; at + 2 < size;) {
        const std::size_t length = std::min<std::size_t>(data[at] | data[at + 1] << 8, size - at - 2);
        const std::uint8_t* unit = data + at + 2;
        at += 2 + length;
        if (!decoder.IsInitialised() && decoder.Initialise(unit, length) != codec::Status::kOk) continue;
        (void)decoder.Decode(unit, length, {format, buffer.data(), buffer.size(), 0});
    }
    return 0;
}
