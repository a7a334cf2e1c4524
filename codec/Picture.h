#pragma once

#include <cstddef>
#include <cstdint>

namespace codec {

/// No picture is wider or higher than this; anything larger is refused before memory is asked for.
inline constexpr int kMaxDimension = 8192;

/// Packed formats that decoders write for the presenters.
enum class PixelFormat {
    kYuy2,   ///< 2 bytes per pixel: Y0 U Y1 V, always BT.601, limited range (16..235, 16..240)
    kBgr24,  ///< 3 bytes per pixel: B G R, full range, top row first
};

constexpr int BytesPerPixel(PixelFormat format) {
    return format == PixelFormat::kYuy2 ? 2 : 3;
}

/// Bytes of one row without padding, which is also the smallest stride: width times bytes per pixel. A YUY2
/// row of odd width ends with a half pair, Y and U only; the V of that pair is not stored.
constexpr int RowBytes(PixelFormat format, int width) {
    return width * BytesPerPixel(format);
}

/// Bytes that a picture occupies from its first to its last byte. A `stride` of 0 means RowBytes. The last
/// row needs no padding.
constexpr std::size_t PictureBytes(PixelFormat format, int width, int height, int stride = 0) {
    const std::size_t row = static_cast<std::size_t>(RowBytes(format, width));
    const std::size_t step = stride == 0 ? row : static_cast<std::size_t>(stride);
    return height <= 0 ? 0 : step * static_cast<std::size_t>(height - 1) + row;
}

/// Where a packed picture is to be written. The memory is the caller's; the library writes RowBytes of each
/// row, never the padding between rows, and never beyond `capacity`.
struct OutputPicture {
    PixelFormat format = PixelFormat::kBgr24;
    std::uint8_t* data = nullptr;
    std::size_t capacity = 0;  ///< bytes available at `data`
    int stride = 0;            ///< bytes from row to row; 0 means RowBytes
};

/// Colour resolution of a planar picture: how the chroma planes relate to the luma plane. Odd sizes round up.
enum class ChromaFormat {
    k420,   ///< half width, half height
    k422,   ///< half width, full height
    k440,   ///< full width, half height (JPEG only)
    k444,   ///< full width, full height
    kGrey,  ///< no chroma planes
};

constexpr int ChromaWidth(ChromaFormat format, int width) {
    return format == ChromaFormat::k420 || format == ChromaFormat::k422 ? (width + 1) / 2
           : format == ChromaFormat::kGrey                              ? 0
                                                                        : width;
}

constexpr int ChromaHeight(ChromaFormat format, int height) {
    return format == ChromaFormat::k420 || format == ChromaFormat::k440 ? (height + 1) / 2
           : format == ChromaFormat::kGrey                              ? 0
                                                                        : height;
}

/// The equations by which a picture's Y'CbCr were made from colours.
enum class ColourMatrix {
    kBt601,  ///< ITU-R BT.601: standard definition, JPEG
    kBt709,  ///< ITU-R BT.709: high definition
};

/// What a picture of `height` rows is taken for when its stream doesn't say: from 720 rows on it is high
/// definition.
constexpr ColourMatrix UsualMatrix(int height) {
    constexpr int kHighDefinitionRows = 720;
    return height >= kHighDefinitionRows ? ColourMatrix::kBt709 : ColourMatrix::kBt601;
}

/// A view of planar Y'CbCr samples that somebody else owns; see the function that fills it for how long it
/// lives.
struct PlanarPicture {
    const std::uint8_t* planes[3] = {nullptr, nullptr, nullptr};  ///< Y, Cb, Cr; grey has Y only
    int strides[3] = {0, 0, 0};                                   ///< bytes from row to row, positive
    int width = 0;
    int height = 0;
    ChromaFormat chroma = ChromaFormat::k420;
    int bitDepth = 8;        ///< above 8: 16-bit little-endian words, value in the low bits
    bool fullRange = false;  ///< luma 0..255 instead of 16..235
    ColourMatrix matrix = ColourMatrix::kBt601;
    bool interlaced = false;  ///< chroma rows alternate between the fields, as luma rows do
};

/// What goes with a compressed unit into a decoder.
struct UnitInfo {
    /// The caller's; comes back in the PictureInfo of the picture that the unit begins.
    std::int64_t tag = 0;
    /// Something is missing between the unit before and this one.
    bool damagedBefore = false;
};

/// What is known of a decoded picture besides its samples.
struct PictureInfo {
    std::int64_t tag = 0;  ///< of the unit that began it
    int width = 0;
    int height = 0;
    bool keyFrame = false;
    bool interlaced = false;     ///< the two fields were taken at different times
    bool topFieldFirst = false;  ///< meaningful when interlaced
    bool damaged = false;        ///< parts were missing or wrong and have been concealed
};

}  // namespace codec
