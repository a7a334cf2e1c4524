#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "codec/Picture.h"
#include "codec/Status.h"

namespace codec {

/// What a JPEG's header says of it.
struct JpegInfo {
    int width = 0;
    int height = 0;
    ChromaFormat chroma = ChromaFormat::k420;
};

/// Decodes JPEG pictures, single or from a motion JPEG stream (pictures without Huffman tables use the
/// standard ones). Baseline and progressive, 4:2:0, 4:2:2, 4:4:0, 4:4:4 and grey.
///
/// An instance belongs to one thread at a time. Scratch memory grows to what the largest picture needs and is
/// reused.
class JpegDecoder {
  public:
    JpegDecoder();
    ~JpegDecoder();
    JpegDecoder(const JpegDecoder&) = delete;
    JpegDecoder& operator=(const JpegDecoder&) = delete;

    /// Reads the header only. kBadData when there is none, kUnsupported for other colour layouts (CMYK,
    /// 4:1:1) or a size beyond kMaxDimension.
    Status ReadHeader(const std::uint8_t* data, std::size_t size, JpegInfo* info);

    /// Decodes the whole picture into `out`. Its size is that of ReadHeader.
    ///
    /// Data that ends early or is damaged inside still gives kOk, with what could be decoded and Damaged()
    /// true; rows that are missing are grey. kBadData when there is nothing to show. kBufferTooSmall: nothing
    /// written.
    Status Decode(const std::uint8_t* data, std::size_t size, const OutputPicture& out);

    /// As Decode, without conversion: `*picture` shows planes owned by this object, full range, valid until
    /// the next call.
    Status DecodePlanar(const std::uint8_t* data, std::size_t size, PlanarPicture* picture);

    /// Whether the last decoded picture is incomplete or had errors.
    bool Damaged() const;

    /// The text that the library underneath gave with the last failure or warning; never null.
    const char* LibraryError() const;

  private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

/// Encodes baseline JPEG pictures into a buffer of its own.
///
/// An instance belongs to one thread at a time. The buffer grows to what the largest picture needs and is
/// reused.
class JpegEncoder {
  public:
    /// `quality` 1 to 100; `chroma` is the colour resolution of the result (k420, k422, k444 or kGrey).
    explicit JpegEncoder(int quality = 75, ChromaFormat chroma = ChromaFormat::k420);
    ~JpegEncoder();
    JpegEncoder(const JpegEncoder&) = delete;
    JpegEncoder& operator=(const JpegEncoder&) = delete;

    /// Encodes a packed picture; `stride` 0 means RowBytes. `*jpeg` and `*size` describe the result, which
    /// stays valid until the next call. kUnsupported for a size beyond kMaxDimension.
    Status Encode(PixelFormat format, const std::uint8_t* picture, int width, int height, int stride,
                  const std::uint8_t** jpeg, std::size_t* size);

    const char* LibraryError() const;

  private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace codec
