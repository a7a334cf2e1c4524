#include "codec/PackBgrKernel.h"

namespace codec {

namespace {

struct Squeeze {
    static __m128i DropFourthBytes(__m128i pixels) {
        const __m128i first = _mm_set_epi32(0, 0x00ffffff, 0, 0x00ffffff);
        const __m128i second =
            _mm_set_epi32(0x0000ffff, static_cast<int>(0xff000000), 0x0000ffff, static_cast<int>(0xff000000));
        const __m128i pairs =
            _mm_or_si128(_mm_and_si128(pixels, first), _mm_and_si128(_mm_srli_epi64(pixels, 8), second));
        const __m128i lower = _mm_move_epi64(pairs);
        return _mm_or_si128(lower, _mm_slli_si128(_mm_srli_si128(pairs, 8), 6));
    }
};

}  // namespace

void PackBgrRowSse2(const std::uint8_t* y, const std::uint8_t* u, const std::uint8_t* v, ChromaPitch pitch,
                    Coding coding, int width, std::uint8_t* bgr) {
    PackBgrRowWith<Squeeze>(y, u, v, pitch, coding, width, bgr);
}

}  // namespace codec
