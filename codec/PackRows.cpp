#include "codec/PackRows.h"

#include <emmintrin.h>

#include <algorithm>

namespace codec {

namespace {

// All products are 16-bit high multiplications of a sample in the upper byte, so that the scalar code below
// can repeat the vector code bit for bit.
constexpr int HighProduct(int sample, int factor) {
    return (sample * factor) >> 8;
}

// Range reduction, in 1/256 of a level: full 0..255 to 16..235 (luma) and 16..240 (chroma).
constexpr int kLumaRangeFactor = 56284;    // 219 / 255 * 65536
constexpr int kLumaRangeBias = 4224;       // 16 * 256, and half for rounding
constexpr int kChromaRangeFactor = 57569;  // 224 / 255 * 65536
constexpr int kChromaRangeBias = 4112;     // 128 * (1 - 224 / 255) * 256, and half for rounding

struct RangeFactors {
    int factor;
    int bias;
};

constexpr std::uint8_t Reduce(int sample, RangeFactors range) {
    return static_cast<std::uint8_t>((HighProduct(sample, range.factor) + range.bias) >> 8);
}

inline __m128i Reduce(__m128i samples, RangeFactors range) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i factor = _mm_set1_epi16(static_cast<short>(range.factor));
    const __m128i bias = _mm_set1_epi16(static_cast<short>(range.bias));
    const __m128i low = _mm_mulhi_epu16(_mm_unpacklo_epi8(zero, samples), factor);
    const __m128i high = _mm_mulhi_epu16(_mm_unpackhi_epi8(zero, samples), factor);
    return _mm_packus_epi16(_mm_srli_epi16(_mm_add_epi16(low, bias), 8),
                            _mm_srli_epi16(_mm_add_epi16(high, bias), 8));
}

constexpr RangeFactors kLumaRange = {kLumaRangeFactor, kLumaRangeBias};
constexpr RangeFactors kChromaRange = {kChromaRangeFactor, kChromaRangeBias};

inline __m128i Load16(const std::uint8_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}
inline __m128i Load8(const std::uint8_t* p) {
    return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
}
inline void Store16(std::uint8_t* p, __m128i value) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), value);
}

inline void Store8(std::uint8_t* p, __m128i value) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(p), value);
}

/// Averages neighbours, rounding up: sixteen samples to eight, as bytes in the lower half.
inline __m128i AveragePairs(__m128i samples) {
    const __m128i even = _mm_and_si128(samples, _mm_set1_epi16(0x00ff));
    const __m128i odd = _mm_srli_epi16(samples, 8);
    return _mm_packus_epi16(_mm_avg_epu16(even, odd), _mm_setzero_si128());
}

template <ChromaPitch kPitch, bool kReduce>
void PackYuy2(const std::uint8_t* y, const std::uint8_t* u, const std::uint8_t* v, int width,
              std::uint8_t* yuy2) {
    int x = 0;
    for (; x + 16 <= width; x += 16) {
        __m128i luma = Load16(y + x);
        __m128i cb;
        __m128i cr;
        if constexpr (kPitch == ChromaPitch::kHalf) {
            cb = Load8(u + x / 2);
            cr = Load8(v + x / 2);
        } else {
            cb = AveragePairs(Load16(u + x));
            cr = AveragePairs(Load16(v + x));
        }
        __m128i chroma = _mm_unpacklo_epi8(cb, cr);
        if constexpr (kReduce) {
            luma = Reduce(luma, kLumaRange);
            chroma = Reduce(chroma, kChromaRange);
        }
        Store16(yuy2 + 2 * x, _mm_unpacklo_epi8(luma, chroma));
        Store16(yuy2 + 2 * x + 16, _mm_unpackhi_epi8(luma, chroma));
    }
    const auto luma = [](std::uint8_t sample) { return kReduce ? Reduce(sample, kLumaRange) : sample; };
    const auto chromaAt = [=](const std::uint8_t* row, int column) {
        int sample;
        if constexpr (kPitch == ChromaPitch::kHalf) {
            sample = row[column / 2];
        } else {
            const int next = column + 1 < width ? column + 1 : column;
            sample = (row[column] + row[next] + 1) / 2;
        }
        return kReduce ? Reduce(sample, kChromaRange) : static_cast<std::uint8_t>(sample);
    };
    for (; x + 1 < width; x += 2) {
        yuy2[2 * x] = luma(y[x]);
        yuy2[2 * x + 1] = chromaAt(u, x);
        yuy2[2 * x + 2] = luma(y[x + 1]);
        yuy2[2 * x + 3] = chromaAt(v, x);
    }
    if (x < width) {
        yuy2[2 * x] = luma(y[x]);
        yuy2[2 * x + 1] = chromaAt(u, x);
    }
}

}  // namespace

void PackYuy2Row(const std::uint8_t* y, const std::uint8_t* u, const std::uint8_t* v, ChromaPitch pitch,
                 bool fullRange, int width, std::uint8_t* yuy2) {
    if (pitch == ChromaPitch::kHalf) {
        fullRange ? PackYuy2<ChromaPitch::kHalf, true>(y, u, v, width, yuy2)
                  : PackYuy2<ChromaPitch::kHalf, false>(y, u, v, width, yuy2);
    } else {
        fullRange ? PackYuy2<ChromaPitch::kFull, true>(y, u, v, width, yuy2)
                  : PackYuy2<ChromaPitch::kFull, false>(y, u, v, width, yuy2);
    }
}

void PackBgrRow(const std::uint8_t* y, const std::uint8_t* u, const std::uint8_t* v, ChromaPitch pitch,
                bool fullRange, int width, std::uint8_t* bgr) {
    static const auto kPack = __builtin_cpu_supports("ssse3") ? PackBgrRowSsse3 : PackBgrRowSse2;
    kPack(y, u, v, pitch, fullRange, width, bgr);
}

void UnpackYuy2Row(const std::uint8_t* yuy2, int width, std::uint8_t* y, std::uint8_t* u, std::uint8_t* v) {
    const __m128i lowBytes = _mm_set1_epi16(0x00ff);
    int x = 0;
    for (; x + 16 <= width; x += 16) {
        const __m128i a = Load16(yuy2 + 2 * x);
        const __m128i b = Load16(yuy2 + 2 * x + 16);
        Store16(y + x, _mm_packus_epi16(_mm_and_si128(a, lowBytes), _mm_and_si128(b, lowBytes)));
        const __m128i chroma = _mm_packus_epi16(_mm_srli_epi16(a, 8), _mm_srli_epi16(b, 8));
        const __m128i cb = _mm_and_si128(chroma, lowBytes);
        const __m128i cr = _mm_srli_epi16(chroma, 8);
        Store8(u + x / 2, _mm_packus_epi16(cb, cb));
        Store8(v + x / 2, _mm_packus_epi16(cr, cr));
    }
    for (; x + 1 < width; x += 2) {
        y[x] = yuy2[2 * x];
        u[x / 2] = yuy2[2 * x + 1];
        y[x + 1] = yuy2[2 * x + 2];
        v[x / 2] = yuy2[2 * x + 3];
    }
    if (x < width) {
        y[x] = yuy2[2 * x];
        u[x / 2] = yuy2[2 * x + 1];
        v[x / 2] = x > 0 ? v[x / 2 - 1] : std::uint8_t{128};
    }
}

void NarrowRow(const std::uint16_t* words, int bitDepth, int width, std::uint8_t* bytes) {
    const int shift = bitDepth - 8;
    const int half = shift > 0 ? 1 << (shift - 1) : 0;
    for (int x = 0; x < width; ++x) {
        bytes[x] = static_cast<std::uint8_t>(std::min((words[x] + half) >> shift, 255));
    }
}

}  // namespace codec
