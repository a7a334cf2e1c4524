#include "codec/ColorConvert.h"

#include <algorithm>
#include <new>
#include <vector>

#include "codec/PackRows.h"

namespace codec {

namespace {

/// Whether `stride` (0: tight) suffices for the row, and the step from row to row that it means.
bool ResolveStride(PixelFormat format, int width, int stride, int* step) {
    const int row = RowBytes(format, width);
    *step = stride == 0 ? row : stride;
    return *step >= row;
}

bool IsSane(const PlanarPicture& source) {
    if (source.width < 1 || source.height < 1 || !source.planes[0]) return false;
    const int sampleBytes = source.bitDepth > 8 ? 2 : 1;
    if (source.strides[0] < source.width * sampleBytes) return false;
    if (source.chroma == ChromaFormat::kGrey) return true;
    const int chromaRow = ChromaWidth(source.chroma, source.width) * sampleBytes;
    return source.planes[1] && source.planes[2] && source.strides[1] >= chromaRow &&
           source.strides[2] >= chromaRow;
}

/// The chroma row that belongs to luma row `y`. In interlaced pictures with half height, rows 0, 2 of each
/// four share a chroma row of the upper field and rows 1, 3 one of the lower.
int ChromaRow(const PlanarPicture& source, int y) {
    if (source.chroma != ChromaFormat::k420 && source.chroma != ChromaFormat::k440) return y;
    if (!source.interlaced) return y / 2;
    const int row = (y / 4) * 2 + y % 2;
    return std::min(row, ChromaHeight(source.chroma, source.height) - 1);
}

}  // namespace

class ColorConverter::Impl {
  public:
    Status Convert(const PlanarPicture& source, const OutputPicture& out);

  private:
    std::vector<std::uint8_t> m_rows;  ///< three rows brought to 8 bits
    std::vector<std::uint8_t> m_neutral;
};

Status ColorConverter::Impl::Convert(const PlanarPicture& source, const OutputPicture& out) {
    int step = 0;
    if (!out.data || !IsSane(source)) return Status::kBadArgument;
    if (source.width > kMaxDimension || source.height > kMaxDimension) return Status::kUnsupported;
    if (source.bitDepth < 8 || source.bitDepth > 16) return Status::kUnsupported;
    if (!ResolveStride(out.format, source.width, out.stride, &step)) return Status::kBadArgument;
    if (out.capacity < PictureBytes(out.format, source.width, source.height, step))
        return Status::kBufferTooSmall;

    const bool grey = source.chroma == ChromaFormat::kGrey;
    const std::size_t width = static_cast<std::size_t>(source.width);
    try {
        if (grey && m_neutral.size() < width) m_neutral.resize(width, 128);
        if (source.bitDepth > 8 && m_rows.size() < 3 * width) m_rows.resize(3 * width);
    } catch (const std::bad_alloc&) {
        return Status::kOutOfMemory;
    }

    const int chromaWidth = ChromaWidth(source.chroma, source.width);
    const ChromaPitch pitch = grey || chromaWidth < source.width ? ChromaPitch::kHalf : ChromaPitch::kFull;
    const auto pack = out.format == PixelFormat::kYuy2 ? PackYuy2Row : PackBgrRow;
    const auto rowOf = [&](int plane, int row, int samples) -> const std::uint8_t* {
        const std::uint8_t* at =
            source.planes[plane] + static_cast<std::ptrdiff_t>(row) * source.strides[plane];
        if (source.bitDepth == 8) return at;
        std::uint8_t* narrow = m_rows.data() + static_cast<std::size_t>(plane) * width;
        NarrowRow(reinterpret_cast<const std::uint16_t*>(at), source.bitDepth, samples, narrow);
        return narrow;
    };
    const Coding coding{source.matrix, source.fullRange};
    std::uint8_t* destination = out.data;
    for (int y = 0; y < source.height; ++y, destination += step) {
        const std::uint8_t* luma = rowOf(0, y, source.width);
        const std::uint8_t* cb = m_neutral.data();
        const std::uint8_t* cr = cb;
        if (!grey) {
            cb = rowOf(1, ChromaRow(source, y), chromaWidth);
            cr = rowOf(2, ChromaRow(source, y), chromaWidth);
        }
        pack(luma, cb, cr, pitch, coding, source.width, destination);
    }
    return Status::kOk;
}

ColorConverter::ColorConverter() : m_impl(std::make_unique<Impl>()) {}
ColorConverter::~ColorConverter() = default;

Status ColorConverter::Convert(const PlanarPicture& source, const OutputPicture& out) {
    return m_impl->Convert(source, out);
}

Status ConvertYuy2ToBgr24(const std::uint8_t* yuy2, int yuy2Stride, int width, int height, std::uint8_t* bgr,
                          int bgrStride) {
    int from = 0;
    int to = 0;
    if (!yuy2 || !bgr || width < 1 || height < 1) return Status::kBadArgument;
    if (width > kMaxDimension || height > kMaxDimension) return Status::kUnsupported;
    if (!ResolveStride(PixelFormat::kYuy2, width, yuy2Stride, &from) ||
        !ResolveStride(PixelFormat::kBgr24, width, bgrStride, &to)) {
        return Status::kBadArgument;
    }
    // One strip at a time keeps the planes in the first-level cache and on the stack.
    constexpr int kStrip = 1024;
    std::uint8_t luma[kStrip];
    std::uint8_t cb[kStrip / 2];
    std::uint8_t cr[kStrip / 2];
    for (int y = 0; y < height; ++y, yuy2 += from, bgr += to) {
        for (int x = 0; x < width; x += kStrip) {
            const int count = std::min(kStrip, width - x);
            UnpackYuy2Row(yuy2 + 2 * x, count, luma, cb, cr);
            PackBgrRow(luma, cb, cr, ChromaPitch::kHalf, Coding{}, count, bgr + 3 * x);
        }
    }
    return Status::kOk;
}

}  // namespace codec
