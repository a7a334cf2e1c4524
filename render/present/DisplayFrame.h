#pragma once

#include <array>
#include <cstdint>

#include "codec/Picture.h"
#include "media/FrameInfo.h"
#include "render/present/Geometry.h"
#include "render/present/PictureBuffer.h"

namespace norix {

/// Bytes from one row to the next of a picture that we decode into. BGR rows begin on four bytes, as device
/// independent bitmaps have them, so that GDI takes a picture of any width as it is.
constexpr int PictureStride(codec::PixelFormat format, int width) {
    const int row = codec::RowBytes(format, width);
    return format == codec::PixelFormat::kBgr24 ? (row + 3) & ~3 : row;
}

/// Bytes that such a picture takes, whole rows throughout.
inline std::size_t PictureSizeBytes(codec::PixelFormat format, PixelSize size) {
    if (size.IsEmpty()) return 0;
    return static_cast<std::size_t>(PictureStride(format, size.width)) *
           static_cast<std::size_t>(size.height);
}

/// A decoded picture on its way to the screen. Belongs to whoever took it from a queue. The buffer is swapped
/// with the decoder's, never copied.
struct DisplayFrame {
    std::uint32_t pts = 0;  // milliseconds
    PictureBuffer picture;
    PixelSize size;
    codec::PixelFormat format = codec::PixelFormat::kBgr24;
    bool converted = true;  // there is a picture; false when it was decoded for nobody

    std::array<PixelRect, kRegionCount> regions;  // picture coordinates
    std::array<bool, kRegionCount> used{};
    std::array<bool, kRegionCount> alarms{};          // the region's level has reached its threshold
    std::array<std::uint8_t, kRegionCount> levels{};  // of motion, in percent

    int Stride() const { return PictureStride(format, size.width); }
};

/// A region as the camera reports it, brought from the camera's reference frame (empty: the picture itself)
/// to picture coordinates and cut to the picture.
PixelRect RegionToPicture(const RegionRecord& region, PixelSize reference, PixelSize picture);

}  // namespace norix
