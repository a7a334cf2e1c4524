#include "codec/Deinterlace.h"

#include <emmintrin.h>

#include <cstddef>

namespace codec {

namespace {

static_assert(kTriangleCentreWeight == 128, "the row function below is written for 1-2-1");

/// (above + 2 * row + below + 2) / 4 by two byte averages: the floor of (above + below) / 2, then the rounded
/// average with the row. The half that the floor drops can't change the rounded quarter.
void FilterRow(const std::uint8_t* above, const std::uint8_t* row, const std::uint8_t* below, int bytes,
               std::uint8_t* out) {
    const __m128i one = _mm_set1_epi8(1);
    int x = 0;
    for (; x + 16 <= bytes; x += 16) {
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(above + x));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + x));
        const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(below + x));
        const __m128i outer = _mm_sub_epi8(_mm_avg_epu8(a, c), _mm_and_si128(_mm_xor_si128(a, c), one));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x), _mm_avg_epu8(outer, b));
    }
    for (; x < bytes; ++x)
        out[x] = static_cast<std::uint8_t>((above[x] + 2 * row[x] + below[x] + 2) >> 2);
}

bool Overlap(const std::uint8_t* a, std::size_t aBytes, const std::uint8_t* b, std::size_t bBytes) {
    const auto first = reinterpret_cast<std::uintptr_t>(a);
    const auto second = reinterpret_cast<std::uintptr_t>(b);
    return first < second + bBytes && second < first + aBytes;
}

}  // namespace

Status DeinterlaceTriangle(const std::uint8_t* source, int sourceStride, std::uint8_t* destination,
                           int destinationStride, int rowBytes, int rows) {
    if (!source || !destination || rowBytes < 1 || rows < 1) return Status::kBadArgument;
    if (sourceStride < rowBytes || destinationStride < rowBytes) return Status::kBadArgument;
    const auto span = [&](int stride) {
        return static_cast<std::size_t>(stride) * static_cast<std::size_t>(rows - 1) +
               static_cast<std::size_t>(rowBytes);
    };
    if (Overlap(source, span(sourceStride), destination, span(destinationStride)))
        return Status::kBadArgument;

    const std::uint8_t* above = source;
    const std::uint8_t* row = source;
    for (int y = 0; y < rows; ++y) {
        const std::uint8_t* below = y + 1 < rows ? row + sourceStride : row;
        FilterRow(above, row, below, rowBytes, destination);
        above = row;
        row = below;
        destination += destinationStride;
    }
    return Status::kOk;
}

}  // namespace codec
