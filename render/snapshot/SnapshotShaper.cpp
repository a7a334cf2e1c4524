#include "render/snapshot/SnapshotShaper.h"

#include <algorithm>
#include <cstring>

#include "codec/ColorConvert.h"

namespace norix {

using codec::PixelFormat;

SnapshotShaper::Bytes SnapshotShaper::Bgr(const DisplayFrame& frame) {
    const PixelSize size = frame.size;
    const std::size_t row = static_cast<std::size_t>(codec::RowBytes(PixelFormat::kBgr24, size.width));
    const std::size_t bytes = row * static_cast<std::size_t>(size.height);
    m_scratch.resize(std::max(m_scratch.size(), bytes));
    if (frame.format == PixelFormat::kYuy2) {
        const codec::Status status = codec::ConvertYuy2ToBgr24(frame.picture.Data(), frame.Stride(),
                                                               size.width, size.height, m_scratch.data(), 0);
        if (status != codec::Status::kOk) return {};
    } else {
        for (int y = 0; y < size.height; ++y)
            std::memcpy(m_scratch.data() + row * static_cast<std::size_t>(y),
                        frame.picture.Data() + static_cast<std::ptrdiff_t>(frame.Stride()) * y, row);
    }
    return {m_scratch.data(), bytes};
}

SnapshotShaper::Bytes SnapshotShaper::Jpeg(const DisplayFrame& frame) {
    const bool converted = frame.format == PixelFormat::kYuy2;
    const std::uint8_t* const picture = converted ? Bgr(frame).data() : frame.picture.Data();
    const std::uint8_t* jpeg = nullptr;
    std::size_t size = 0;
    const codec::Status status =
        m_packer.EncodeToJPEGBuffer(converted, picture, frame.size.width, frame.size.height, &jpeg, &size);
    return status == codec::Status::kOk ? Bytes{jpeg, size} : Bytes{};
}

SnapshotShaper::Bytes SnapshotShaper::InFormat(std::int32_t format, const DisplayFrame& frame) {
    if (format == kBgr) return Bgr(frame);
    if (format == kYuy2 && frame.format == PixelFormat::kYuy2)
        return {frame.picture.Data(), PictureSizeBytes(frame.format, frame.size)};
    return Jpeg(frame);
}

}  // namespace norix
