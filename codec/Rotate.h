#pragma once

#include <cstdint>

#include "codec/Status.h"

namespace codec {

/// Clockwise quarter turns.
enum class Rotation { k0 = 0, k90 = 90, k180 = 180, k270 = 270 };

/// Turns a BGR24 picture. `width` and `height` are the source's; for k90 and k270 the destination has them
/// exchanged. Strides in bytes; 0 means three times the respective width. The buffers do not overlap.
/// kBadArgument for null pointers, sizes outside 1..kMaxDimension or strides that are too small. Any thread.
Status RotateBgr24(const std::uint8_t* source, int sourceStride, int width, int height,
                   std::uint8_t* destination, int destinationStride, Rotation rotation);

}  // namespace codec
