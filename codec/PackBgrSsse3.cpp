// The only file that is compiled for SSSE3: see CMakeLists.txt. PackBgrRow calls it where the processor has
// that.

#include <tmmintrin.h>

#include "codec/PackBgrKernel.h"

namespace codec {

namespace {

struct Squeeze {
    static __m128i DropFourthBytes(__m128i pixels) {
        return _mm_shuffle_epi8(pixels,
                                _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
    }
};

}  // namespace

void PackBgrRowSsse3(const std::uint8_t* y, const std::uint8_t* u, const std::uint8_t* v, ChromaPitch pitch,
                     Coding coding, int width, std::uint8_t* bgr) {
    PackBgrRowWith<Squeeze>(y, u, v, pitch, coding, width, bgr);
}

}  // namespace codec
