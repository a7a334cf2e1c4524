#pragma once

#include <cstdint>
#include <memory>

#include "codec/Picture.h"
#include "codec/Status.h"

namespace codec {

/// Converts decoded planar pictures to the packed formats of the presenters.
///
/// YUY2 comes out in BT.601 and limited range, as blitters and overlays take it, whatever the source is coded
/// in; BGR24 by the source's own matrix in full range. Chroma is repeated, not interpolated: from pictures of
/// interlaced = true each row takes the chroma of its own field.
///
/// An instance belongs to one thread at a time; it keeps what is needed to convert the same kind of picture
/// again.
class ColorConverter {
  public:
    ColorConverter();
    ~ColorConverter();
    ColorConverter(const ColorConverter&) = delete;
    ColorConverter& operator=(const ColorConverter&) = delete;

    /// Writes `source` to `out`, which has the same width and height. kBadArgument, kBufferTooSmall,
    /// kUnsupported (size beyond kMaxDimension, bit depth above 16), kOutOfMemory.
    Status Convert(const PlanarPicture& source, const OutputPicture& out);

  private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

/// Converts a YUY2 picture (limited range, BT.601) to BGR24, for snapshots. Strides in bytes, 0 means
/// RowBytes. The buffers do not overlap; `bgr` has room for PictureBytes. Any thread.
Status ConvertYuy2ToBgr24(const std::uint8_t* yuy2, int yuy2Stride, int width, int height, std::uint8_t* bgr,
                          int bgrStride);

}  // namespace codec
