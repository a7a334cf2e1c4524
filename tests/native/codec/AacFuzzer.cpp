#include <algorithm>

#include "codec/AacDecoder.h"
#include "codec/StaticInit.h"

// The first byte is the length of the configuration; access units of up to 255 bytes follow, each behind its
// length.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const int kInitialised = codec::StaticInit();
    if (kInitialised != codec::kStaticInitOk || size < 2) return 0;
    const std::size_t configSize = std::min<std::size_t>(data[0], size - 1);
    codec::AacDecoder decoder;
    if (decoder.Initialise(data + 1, configSize) != codec::Status::kOk) return 0;
    std::int16_t samples[codec::AacDecoder::kMaxSamplesPerUnit];
    for (std::size_t at = 1 + configSize; at + 1 < size;) {
        const std::size_t length = std::min<std::size_t>(data[at], size - at - 1);
        std::size_t count = 0;
        (void)decoder.Decode(data + at + 1, length, samples, codec::AacDecoder::kMaxSamplesPerUnit, &count);
        at += 1 + length;
    }
    return 0;
}
