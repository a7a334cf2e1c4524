#pragma once

#include <cstdint>

#include "codec/Status.h"

namespace codec {

/// Weight, out of 256, of a row itself in the triangle filter; the rows above and below share the rest.
inline constexpr int kTriangleCentreWeight = 128;

/// Softens the comb of interlaced pictures with a vertical triangle filter: each row becomes
/// (above + 2 * row + below + 2) / 4. Beyond the first and the last row the edge row is repeated.
///
/// The picture is treated as one plane of bytes, so the same call serves YUY2 (`rowBytes` = 2 * width), BGR24
/// (3 * width) and each plane of a planar picture. Strides in bytes, at least `rowBytes`. `source` and
/// `destination` must not overlap; kBadArgument otherwise, and for null pointers or sizes below 1. Any
/// thread.
Status DeinterlaceTriangle(const std::uint8_t* source, int sourceStride, std::uint8_t* destination,
                           int destinationStride, int rowBytes, int rows);

}  // namespace codec
