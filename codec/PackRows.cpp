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

/// The chroma of sixteen pixels from column `x` on, eight samples in the lower half.
template <ChromaPitch kPitch>
inline __m128i LoadChroma(const std::uint8_t* row, int x) {
    if constexpr (kPitch == ChromaPitch::kHalf)
        return Load8(row + x / 2);
    else
        return AveragePairs(Load16(row + x));
}

template <ChromaPitch kPitch, bool kReduce>
void PackYuy2(const std::uint8_t* y, const std::uint8_t* u, const std::uint8_t* v, int width,
              std::uint8_t* yuy2) {
    int x = 0;
    for (; x + 16 <= width; x += 16) {
        __m128i luma = Load16(y + x);
        const __m128i cb = LoadChroma<kPitch>(u, x);
        const __m128i cr = LoadChroma<kPitch>(v, x);
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

/// From BT.709 to BT.601 of limited range, in 1/64 of a level: what each sample adds to each result.
struct Recoding {
    int yy;  ///< factors of luma, unsigned
    int yu;  ///< factors of the chroma differences, signed
    int yv;
    int uu;
    int uv;
    int vu;
    int vv;
    int lumaBias;
};
constexpr int kRecodingShift = 6;
// Half a level for rounding, and what the high products cut off on average.
constexpr int kRecodingRound = 32 + 1;
constexpr int kChromaCentre = (128 << kRecodingShift) + kRecodingRound;

/// A factor of `value` as the high products want it: the sample is in the upper byte, the result in 1/64.
constexpr int Fixed(double value) {
    const double scaled = value * (256 << kRecodingShift);
    return static_cast<int>(scaled + (scaled < 0 ? -0.5 : 0.5));
}

// Both standards' luma weights (Kr, Kb) give the factors; luma and chroma differ in their limited ranges.
constexpr double kR709 = 0.2126;
constexpr double kB709 = 0.0722;
constexpr double kR601 = 0.299;
constexpr double kB601 = 0.114;
constexpr double kG601 = 1 - kR601 - kB601;

constexpr Recoding MakeRecoding(double lumaScale, double chromaScale, int lumaBias) {
    constexpr double kG709 = 1 - kR709 - kB709;
    // B' - Y' and R' - Y' for a chroma difference of 1, and G' - Y' for each of the two.
    constexpr double kBlue = 2 * (1 - kB709);
    constexpr double kRed = 2 * (1 - kR709);
    constexpr double kGreenU = -kBlue * kB709 / kG709;
    constexpr double kGreenV = -kRed * kR709 / kG709;
    constexpr double kYu = kG601 * kGreenU + kB601 * kBlue;
    constexpr double kYv = kG601 * kGreenV + kR601 * kRed;
    // Luma's range is 219 levels where chroma's is 224, and 255 where both are full.
    const double lumaOfChroma = chromaScale * 219.0 / 224.0;
    return {Fixed(lumaScale),
            Fixed(kYu * lumaOfChroma),
            Fixed(kYv * lumaOfChroma),
            Fixed((kBlue - kYu) / (2 * (1 - kB601)) * chromaScale),
            Fixed(-kYv / (2 * (1 - kB601)) * chromaScale),
            Fixed(-kYu / (2 * (1 - kR601)) * chromaScale),
            Fixed((kRed - kYv) / (2 * (1 - kR601)) * chromaScale),
            (lumaBias << kRecodingShift) + kRecodingRound};
}
constexpr Recoding kFrom709Limited = MakeRecoding(1, 1, 0);
constexpr Recoding kFrom709Full = MakeRecoding(219.0 / 255.0, 224.0 / 255.0, 16);

constexpr std::uint8_t ToByte(int value) {
    const int level = value >> kRecodingShift;
    return static_cast<std::uint8_t>(level < 0 ? 0 : level > 255 ? 255 : level);
}

template <ChromaPitch kPitch>
void RecodeYuy2(const Recoding& recoding, const std::uint8_t* y, const std::uint8_t* u, const std::uint8_t* v,
                int width, std::uint8_t* yuy2) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i toSigned = _mm_set1_epi8(static_cast<char>(0x80));
    const auto factor = [](int value) { return _mm_set1_epi16(static_cast<short>(value)); };
    const __m128i yy = factor(recoding.yy);
    const __m128i yu = factor(recoding.yu);
    const __m128i yv = factor(recoding.yv);
    const __m128i uu = factor(recoding.uu);
    const __m128i uv = factor(recoding.uv);
    const __m128i vu = factor(recoding.vu);
    const __m128i vv = factor(recoding.vv);
    const __m128i lumaBias = factor(recoding.lumaBias);
    const __m128i centre = factor(kChromaCentre);
    int x = 0;
    for (; x + 16 <= width; x += 16) {
        __m128i cb = LoadChroma<kPitch>(u, x);
        __m128i cr = LoadChroma<kPitch>(v, x);
        cb = _mm_unpacklo_epi8(zero, _mm_xor_si128(cb, toSigned));
        cr = _mm_unpacklo_epi8(zero, _mm_xor_si128(cr, toSigned));
        const auto sum = [&](__m128i ofCb, __m128i ofCr, __m128i bias) {
            return _mm_add_epi16(_mm_add_epi16(_mm_mulhi_epi16(cb, ofCb), _mm_mulhi_epi16(cr, ofCr)), bias);
        };
        const __m128i lumaOfChroma = sum(yu, yv, lumaBias);
        const __m128i newCb = _mm_srai_epi16(sum(uu, uv, centre), kRecodingShift);
        const __m128i newCr = _mm_srai_epi16(sum(vu, vv, centre), kRecodingShift);

        const __m128i luma = Load16(y + x);
        const auto newLuma = [&](__m128i samples, __m128i ofChroma) {
            return _mm_srai_epi16(_mm_add_epi16(_mm_mulhi_epu16(samples, yy), ofChroma), kRecodingShift);
        };
        const __m128i packedLuma = _mm_packus_epi16(
            newLuma(_mm_unpacklo_epi8(zero, luma), _mm_unpacklo_epi16(lumaOfChroma, lumaOfChroma)),
            newLuma(_mm_unpackhi_epi8(zero, luma), _mm_unpackhi_epi16(lumaOfChroma, lumaOfChroma)));
        const __m128i chroma =
            _mm_unpacklo_epi8(_mm_packus_epi16(newCb, newCb), _mm_packus_epi16(newCr, newCr));
        Store16(yuy2 + 2 * x, _mm_unpacklo_epi8(packedLuma, chroma));
        Store16(yuy2 + 2 * x + 16, _mm_unpackhi_epi8(packedLuma, chroma));
    }
    for (; x < width; x += 2) {
        const int next = x + 1 < width ? x + 1 : x;
        int cb;
        int cr;
        if constexpr (kPitch == ChromaPitch::kHalf) {
            cb = u[x / 2] - 128;
            cr = v[x / 2] - 128;
        } else {
            cb = (u[x] + u[next] + 1) / 2 - 128;
            cr = (v[x] + v[next] + 1) / 2 - 128;
        }
        const auto sum = [&](int ofCb, int ofCr) { return HighProduct(cb, ofCb) + HighProduct(cr, ofCr); };
        const int lumaOfChroma = sum(recoding.yu, recoding.yv) + recoding.lumaBias;
        yuy2[2 * x] = ToByte(HighProduct(y[x], recoding.yy) + lumaOfChroma);
        yuy2[2 * x + 1] = ToByte(sum(recoding.uu, recoding.uv) + kChromaCentre);
        if (next == x) break;
        yuy2[2 * x + 2] = ToByte(HighProduct(y[next], recoding.yy) + lumaOfChroma);
        yuy2[2 * x + 3] = ToByte(sum(recoding.vu, recoding.vv) + kChromaCentre);
    }
}

}  // namespace

void PackYuy2Row(const std::uint8_t* y, const std::uint8_t* u, const std::uint8_t* v, ChromaPitch pitch,
                 Coding coding, int width, std::uint8_t* yuy2) {
    const bool fullRange = coding.fullRange;
    if (coding.matrix == ColourMatrix::kBt709) {
        const Recoding& recoding = fullRange ? kFrom709Full : kFrom709Limited;
        pitch == ChromaPitch::kHalf ? RecodeYuy2<ChromaPitch::kHalf>(recoding, y, u, v, width, yuy2)
                                    : RecodeYuy2<ChromaPitch::kFull>(recoding, y, u, v, width, yuy2);
        return;
    }
    if (pitch == ChromaPitch::kHalf) {
        fullRange ? PackYuy2<ChromaPitch::kHalf, true>(y, u, v, width, yuy2)
                  : PackYuy2<ChromaPitch::kHalf, false>(y, u, v, width, yuy2);
    } else {
        fullRange ? PackYuy2<ChromaPitch::kFull, true>(y, u, v, width, yuy2)
                  : PackYuy2<ChromaPitch::kFull, false>(y, u, v, width, yuy2);
    }
}

void PackBgrRow(const std::uint8_t* y, const std::uint8_t* u, const std::uint8_t* v, ChromaPitch pitch,
                Coding coding, int width, std::uint8_t* bgr) {
    static const auto kPack = __builtin_cpu_supports("ssse3") ? PackBgrRowSsse3 : PackBgrRowSse2;
    kPack(y, u, v, pitch, coding, width, bgr);
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
