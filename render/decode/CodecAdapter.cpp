#include "render/decode/CodecAdapter.h"

#include "codec/Deinterlace.h"
#include "render/decode/MjpegAdapter.h"
#include "render/decode/Mpeg4Adapter.h"
#include "render/decode/NalAdapter.h"

namespace norix {

std::unique_ptr<CodecAdapter> CreateCodecAdapter(VideoCodec kind) {
    switch (kind) {
        case VideoCodec::Mpeg4:
            return std::make_unique<Mpeg4Adapter>();
        case VideoCodec::Mjpeg:
            return std::make_unique<MjpegAdapter>();
        case VideoCodec::H264:
            return std::make_unique<NalAdapter>(codec::NalCodec::kH264);
        case VideoCodec::H265:
            return std::make_unique<NalAdapter>(codec::NalCodec::kH265);
        case VideoCodec::None:
            break;
    }
    return nullptr;
}

bool FilterInterlaced(const codec::OutputPicture& from, const codec::OutputPicture& to, PixelSize size) {
    return codec::DeinterlaceTriangle(from.data, from.stride, to.data, to.stride,
                                      codec::RowBytes(from.format, size.width),
                                      size.height) == codec::Status::kOk;
}

}  // namespace norix
