#include "render/snapshot/IntelJpegPacker.h"

#include "render/present/DisplayFrame.h"
#include "util/Log.h"

namespace norix {
namespace {

constexpr int kBgrChannels = 3;

// The texts name the JPEG functions that the product had first; whoever reads its logs knows them.
codec::Status Report(const char* function, const char* text, codec::Status status) {
    if (status != codec::Status::kOk)
        NORIX_LOG(function, 0, "%s, failed = %d", text, static_cast<int>(status));
    return status;
}

}  // namespace

codec::Status CIntelJpegPacker::EncodeToJPEGBuffer(bool converted, const std::uint8_t* picture, int width,
                                                   int height, const std::uint8_t** jpeg, std::size_t* size) {
    const int stride = converted ? 0 : PictureStride(codec::PixelFormat::kBgr24, width);
    return Report("CIntelJpegPacker::EncodeToJPEGBuffer", "ijlWrite(IJL_JBUFF_READWHOLEIMAGE)",
                  m_encoder.Encode(codec::PixelFormat::kBgr24, picture, width, height, stride, jpeg, size));
}

codec::Status CIntelJpegPacker::DecodeFromJPEGBuffer(const std::uint8_t* data, std::size_t length,
                                                     const std::uint8_t** picture, int* width, int* height,
                                                     int* channels) {
    constexpr const char* kFunction = "CIntelJpegPacker::DecodeFromJPEGBuffer";
    if (!picture || !width || !height || !channels) return codec::Status::kBadArgument;
    codec::JpegInfo info;
    if (const codec::Status status =
            Report(kFunction, "ijlRead(IJL_JBUFF_READPARAMS)", m_decoder.ReadHeader(data, length, &info));
        status != codec::Status::kOk) {
        return status;
    }
    if (!m_buffer) m_buffer = PictureBuffer(m_bufferSize);
    const codec::OutputPicture target{codec::PixelFormat::kBgr24, m_buffer.Data(), m_buffer.Capacity(), 0};
    const codec::Status status =
        m_buffer ? m_decoder.Decode(data, length, target) : codec::Status::kOutOfMemory;
    if (Report(kFunction, "ijlRead(IJL_JBUFF_READWHOLEIMAGE)", status) != codec::Status::kOk) return status;
    *picture = m_buffer.Data();
    *width = info.width;
    *height = info.height;
    *channels = kBgrChannels;
    return status;
}

}  // namespace norix
