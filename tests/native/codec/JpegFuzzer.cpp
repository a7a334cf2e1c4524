#include <vector>

#include "codec/Jpeg.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    codec::JpegDecoder decoder;
    codec::JpegInfo info;
    if (decoder.ReadHeader(data, size, &info) != codec::Status::kOk) return 0;
    if (info.width * info.height > 512 * 512) return 0;  // larger pictures only cost time
    for (const auto format : {codec::PixelFormat::kYuy2, codec::PixelFormat::kBgr24}) {
        std::vector<std::uint8_t> buffer(codec::PictureBytes(format, info.width, info.height));
        (void)decoder.Decode(data, size, {format, buffer.data(), buffer.size(), 0});
    }
    return 0;
}
