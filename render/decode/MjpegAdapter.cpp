#include "render/decode/MjpegAdapter.h"

#include "util/Log.h"

namespace norix {

std::optional<std::int64_t> MjpegAdapter::Decode(const CompressedFrame& frame, DecodeHost& host) {
    if (!host.IsRunning()) return std::nullopt;
    codec::JpegInfo info;
    if (const codec::Status status = m_decoder.ReadHeader(frame.data, frame.size, &info);
        status != codec::Status::kOk) {
        NORIX_LOG("CDecoder::DecodeFromJPEGBuffer", 0, "ijlRead(IJL_JBUFF_READPARAMS), failed = %d",
                  static_cast<int>(status));
        return std::nullopt;
    }
    const PixelSize announced{info.width, info.height};
    if (!(announced == host.Size()) || !host.IsReady()) {
        if (!host.PrepareFor(announced)) return std::nullopt;
    }
    if (!host.IsPictureWanted()) return frame.info.tag;
    const bool filter = host.DeInterlace() && host.Scratch().data;
    const codec::OutputPicture target = filter ? host.Scratch() : host.Work();
    if (const codec::Status status = m_decoder.Decode(frame.data, frame.size, target);
        status != codec::Status::kOk) {
        NORIX_LOG("CDecoder::DecodeFromJPEGBuffer", 0, "ijlRead(IJL_JBUFF_READWHOLEIMAGE), failed = %d",
                  static_cast<int>(status));
        return std::nullopt;
    }
    if (filter && !FilterInterlaced(target, host.Work(), announced)) return std::nullopt;
    return frame.info.tag;
}

}  // namespace norix
