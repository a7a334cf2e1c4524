#include "render/decode/MjpegAdapter.h"

#include "util/Log.h"

namespace norix {

bool MjpegAdapter::Decode(const std::uint8_t* data, std::size_t size, DecodeHost& host) {
    if (!host.IsRunning()) return false;
    codec::JpegInfo info;
    if (const codec::Status status = m_decoder.ReadHeader(data, size, &info); status != codec::Status::kOk) {
        NORIX_LOG("CDecoder::DecodeFromJPEGBuffer", 0, "ijlRead(IJL_JBUFF_READPARAMS), failed = %d",
                  static_cast<int>(status));
        return false;
    }
    const PixelSize announced{info.width, info.height};
    if (!(announced == host.Size()) || !host.IsReady()) {
        if (!host.PrepareFor(announced)) return false;
    }
    const bool filter = host.DeInterlace() && host.Scratch().data;
    const codec::OutputPicture target = filter ? host.Scratch() : host.Work();
    if (const codec::Status status = m_decoder.Decode(data, size, target); status != codec::Status::kOk) {
        NORIX_LOG("CDecoder::DecodeFromJPEGBuffer", 0, "ijlRead(IJL_JBUFF_READWHOLEIMAGE), failed = %d",
                  static_cast<int>(status));
        return false;
    }
    return !filter || FilterInterlaced(target, host.Work(), announced);
}

}  // namespace norix
