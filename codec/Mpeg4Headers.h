#pragma once

#include <cstddef>
#include <cstdint>

#include "codec/Status.h"

namespace codec {

// The part of MPEG-4 part 2 (ISO/IEC 14496-2) stream headers that has to be known before a picture is
// decoded. Internal to codec/. Pure functions; the data are the caller's and need no padding.

/// Video object layer header: what the pictures after it are like.
struct Mpeg4Vol {
    int width = 0;
    int height = 0;
    bool interlaced = false;
    int aspect = 1;  ///< aspect_ratio_info: 1 (square) to 5, 15 for the two numbers
    int aspectWidth = 0;
    int aspectHeight = 0;
};

enum class Mpeg4VopType { kI = 0, kP = 1, kB = 2, kS = 3 };

/// Where the layer header and the first picture of a packet are.
struct Mpeg4Layout {
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);
    std::size_t vol = kNone;  ///< of its start code; only when it comes before the picture
    std::size_t vop = kNone;  ///< of its start code
    Mpeg4VopType vopType = Mpeg4VopType::kI;
};
Mpeg4Layout FindMpeg4Headers(const std::uint8_t* data, std::size_t size);

/// Reads the layer header that begins with its start code at `data`. kBadData when truncated or senseless,
/// kUnsupported for shapes other than rectangular and sizes beyond kMaxDimension.
Status ParseMpeg4Vol(const std::uint8_t* data, std::size_t size, Mpeg4Vol* vol);

}  // namespace codec
