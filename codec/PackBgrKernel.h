#pragma once

#include <emmintrin.h>

#include <cstdint>

#include "codec/PackRows.h"

// The loop that makes BGR24 rows, included by one source file for each instruction set: what differs is how
// four-byte pixels are squeezed into three bytes. Everything here is local to the including file, so that
// code compiled for one instruction set never serves the other.

namespace codec {

namespace {

/// All products are 16-bit high multiplications of a sample in the upper byte, so that the scalar code below
/// can repeat the vector code bit for bit.
constexpr int HighProduct(int sample, int factor) {
    return (sample * factor) >> 8;
}

/// From Y'CbCr to B'G'R', in 1/32 of a level.
struct Matrix {
    int y;   ///< factor of luma, unsigned
    int rv;  ///< factors of the chroma differences, signed
    int gu;
    int gv;
    int bu;
    int bias;  ///< black level, and half a level for rounding, and what the three high products cut off on
               ///< average
};
constexpr int kLimitedBias = -596 + 16 + 1;
constexpr int kFullBias = 16 + 1;
constexpr Matrix kLimited601 = {9539, 13075, 3209, 6660, 16525, kLimitedBias};
constexpr Matrix kFull601 = {8192, 11485, 2819, 5850, 14516, kFullBias};
constexpr Matrix kLimited709 = {9539, 14686, 1747, 4366, 17305, kLimitedBias};
constexpr Matrix kFull709 = {8192, 12901, 1535, 3835, 15201, kFullBias};

constexpr const Matrix& MatrixOf(Coding coding) {
    if (coding.matrix == ColourMatrix::kBt709) return coding.fullRange ? kFull709 : kLimited709;
    return coding.fullRange ? kFull601 : kLimited601;
}

constexpr std::uint8_t ToLevel(int value) {
    const int level = value >> 5;
    return static_cast<std::uint8_t>(level < 0 ? 0 : level > 255 ? 255 : level);
}

inline void StoreBgr(const Matrix& matrix, int y, int u, int v, std::uint8_t* bgr) {
    const int luma = HighProduct(y, matrix.y) + matrix.bias;
    bgr[0] = ToLevel(luma + HighProduct(u - 128, matrix.bu));
    bgr[1] = ToLevel(luma - HighProduct(u - 128, matrix.gu) - HighProduct(v - 128, matrix.gv));
    bgr[2] = ToLevel(luma + HighProduct(v - 128, matrix.rv));
}

/// What eight chroma samples add to blue, green (subtracted) and red.
struct ChromaTerms {
    __m128i blue;
    __m128i green;
    __m128i red;
};

inline ChromaTerms TermsOf(const Matrix& matrix, __m128i u, __m128i v) {
    // u, v: signed differences in the upper bytes.
    ChromaTerms terms;
    terms.blue = _mm_mulhi_epi16(u, _mm_set1_epi16(static_cast<short>(matrix.bu)));
    terms.green = _mm_add_epi16(_mm_mulhi_epi16(u, _mm_set1_epi16(static_cast<short>(matrix.gu))),
                                _mm_mulhi_epi16(v, _mm_set1_epi16(static_cast<short>(matrix.gv))));
    terms.red = _mm_mulhi_epi16(v, _mm_set1_epi16(static_cast<short>(matrix.rv)));
    return terms;
}

inline __m128i Load16(const std::uint8_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}
inline __m128i Load8(const std::uint8_t* p) {
    return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
}
/// `Squeeze` brings four pixels of four bytes (B G R 0) to twelve bytes at the lower end of the register.
template <typename Squeeze>
inline void StoreBgr16(__m128i blue, __m128i green, __m128i red, std::uint8_t* bgr) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i bgLow = _mm_unpacklo_epi8(blue, green);
    const __m128i bgHigh = _mm_unpackhi_epi8(blue, green);
    const __m128i rLow = _mm_unpacklo_epi8(red, zero);
    const __m128i rHigh = _mm_unpackhi_epi8(red, zero);
    const __m128i a = Squeeze::DropFourthBytes(_mm_unpacklo_epi16(bgLow, rLow));
    const __m128i b = Squeeze::DropFourthBytes(_mm_unpackhi_epi16(bgLow, rLow));
    const __m128i c = Squeeze::DropFourthBytes(_mm_unpacklo_epi16(bgHigh, rHigh));
    const __m128i d = Squeeze::DropFourthBytes(_mm_unpackhi_epi16(bgHigh, rHigh));
    auto* out = reinterpret_cast<__m128i*>(bgr);
    _mm_storeu_si128(out, _mm_or_si128(a, _mm_slli_si128(b, 12)));
    _mm_storeu_si128(out + 1, _mm_or_si128(_mm_srli_si128(b, 4), _mm_slli_si128(c, 8)));
    _mm_storeu_si128(out + 2, _mm_or_si128(_mm_srli_si128(c, 8), _mm_slli_si128(d, 4)));
}

template <ChromaPitch kPitch, typename Squeeze>
void PackBgr(const Matrix& matrix, const std::uint8_t* y, const std::uint8_t* u, const std::uint8_t* v,
             int width, std::uint8_t* bgr) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i toSigned = _mm_set1_epi8(static_cast<char>(0x80));
    const __m128i lumaFactor = _mm_set1_epi16(static_cast<short>(matrix.y));
    const __m128i bias = _mm_set1_epi16(static_cast<short>(matrix.bias));
    int x = 0;
    for (; x + 16 <= width; x += 16) {
        const __m128i luma = Load16(y + x);
        const __m128i lumaLow =
            _mm_add_epi16(_mm_mulhi_epu16(_mm_unpacklo_epi8(zero, luma), lumaFactor), bias);
        const __m128i lumaHigh =
            _mm_add_epi16(_mm_mulhi_epu16(_mm_unpackhi_epi8(zero, luma), lumaFactor), bias);
        ChromaTerms low;
        ChromaTerms high;
        if constexpr (kPitch == ChromaPitch::kHalf) {
            const __m128i cb = _mm_unpacklo_epi8(zero, _mm_xor_si128(Load8(u + x / 2), toSigned));
            const __m128i cr = _mm_unpacklo_epi8(zero, _mm_xor_si128(Load8(v + x / 2), toSigned));
            const ChromaTerms terms = TermsOf(matrix, cb, cr);
            low = {_mm_unpacklo_epi16(terms.blue, terms.blue), _mm_unpacklo_epi16(terms.green, terms.green),
                   _mm_unpacklo_epi16(terms.red, terms.red)};
            high = {_mm_unpackhi_epi16(terms.blue, terms.blue), _mm_unpackhi_epi16(terms.green, terms.green),
                    _mm_unpackhi_epi16(terms.red, terms.red)};
        } else {
            const __m128i cb = _mm_xor_si128(Load16(u + x), toSigned);
            const __m128i cr = _mm_xor_si128(Load16(v + x), toSigned);
            low = TermsOf(matrix, _mm_unpacklo_epi8(zero, cb), _mm_unpacklo_epi8(zero, cr));
            high = TermsOf(matrix, _mm_unpackhi_epi8(zero, cb), _mm_unpackhi_epi8(zero, cr));
        }
        const auto level = [](__m128i a, __m128i b) {
            return _mm_packus_epi16(_mm_srai_epi16(a, 5), _mm_srai_epi16(b, 5));
        };
        StoreBgr16<Squeeze>(level(_mm_add_epi16(lumaLow, low.blue), _mm_add_epi16(lumaHigh, high.blue)),
                            level(_mm_sub_epi16(lumaLow, low.green), _mm_sub_epi16(lumaHigh, high.green)),
                            level(_mm_add_epi16(lumaLow, low.red), _mm_add_epi16(lumaHigh, high.red)),
                            bgr + 3 * x);
    }
    for (; x < width; ++x) {
        const int column = kPitch == ChromaPitch::kHalf ? x / 2 : x;
        StoreBgr(matrix, y[x], u[column], v[column], bgr + 3 * x);
    }
}

template <typename Squeeze>
void PackBgrRowWith(const std::uint8_t* y, const std::uint8_t* u, const std::uint8_t* v, ChromaPitch pitch,
                    Coding coding, int width, std::uint8_t* bgr) {
    const Matrix& matrix = MatrixOf(coding);
    if (pitch == ChromaPitch::kHalf) {
        PackBgr<ChromaPitch::kHalf, Squeeze>(matrix, y, u, v, width, bgr);
    } else {
        PackBgr<ChromaPitch::kFull, Squeeze>(matrix, y, u, v, width, bgr);
    }
}

}  // namespace

}  // namespace codec
