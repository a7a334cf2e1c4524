#pragma once

#include <cstdint>

#include "codec/Picture.h"

// The inner loops of colour conversion: one row of planar samples to one row of packed pixels. Internal to
// codec/.
//
// Every function writes exactly the bytes of `width` pixels and reads exactly the samples that they need,
// whatever the alignment. The arithmetic of the vector loop and of the row's end is the same, so that a
// pixel's value does not depend on its column.

namespace codec {

/// Chroma samples of one row: one for each pixel, or one for each two pixels.
enum class ChromaPitch { kHalf, kFull };

/// What the numbers of a planar row mean.
struct Coding {
    ColourMatrix matrix = ColourMatrix::kBt601;
    bool fullRange = false;
};

/// To YUY2: rows of full range are brought to limited range, those of BT.709 to BT.601. Chroma at full pitch
/// is averaged in pairs; the last pixel of an odd row uses its own.
void PackYuy2Row(const std::uint8_t* y, const std::uint8_t* u, const std::uint8_t* v, ChromaPitch pitch,
                 Coding coding, int width, std::uint8_t* yuy2);

/// To BGR24.
void PackBgrRow(const std::uint8_t* y, const std::uint8_t* u, const std::uint8_t* v, ChromaPitch pitch,
                Coding coding, int width, std::uint8_t* bgr);

/// The two that PackBgrRow chooses from, for tests and benchmarks; they give equal results.
void PackBgrRowSse2(const std::uint8_t* y, const std::uint8_t* u, const std::uint8_t* v, ChromaPitch pitch,
                    Coding coding, int width, std::uint8_t* bgr);
void PackBgrRowSsse3(const std::uint8_t* y, const std::uint8_t* u, const std::uint8_t* v, ChromaPitch pitch,
                     Coding coding, int width, std::uint8_t* bgr);

/// Splits a YUY2 row into planes; chroma at half pitch, (width + 1) / 2 samples. The V that an odd row does
/// not store is taken from the pair before it.
void UnpackYuy2Row(const std::uint8_t* yuy2, int width, std::uint8_t* y, std::uint8_t* u, std::uint8_t* v);

/// Brings words of `bitDepth` bits to bytes, rounding.
void NarrowRow(const std::uint16_t* words, int bitDepth, int width, std::uint8_t* bytes);

}  // namespace codec
