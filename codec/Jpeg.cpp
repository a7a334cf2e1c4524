#include "codec/Jpeg.h"

#include <turbojpeg.h>

#include <algorithm>
#include <array>
#include <climits>
#include <new>
#include <string>
#include <vector>

#include "codec/ColorConvert.h"

namespace codec {

namespace {

struct TjDelete {
    void operator()(void* handle) const { tjDestroy(handle); }
};
using TjHandle = std::unique_ptr<void, TjDelete>;

/// A progressive picture may repeat scans without end; real ones have ten or so.
constexpr int kDecodeFlags = TJFLAG_FASTUPSAMPLE | TJFLAG_LIMITSCANS;

bool FromTurbo(int subsampling, ChromaFormat* chroma) {
    switch (subsampling) {
        case TJSAMP_420:
            *chroma = ChromaFormat::k420;
            return true;
        case TJSAMP_422:
            *chroma = ChromaFormat::k422;
            return true;
        case TJSAMP_440:
            *chroma = ChromaFormat::k440;
            return true;
        case TJSAMP_444:
            *chroma = ChromaFormat::k444;
            return true;
        case TJSAMP_GRAY:
            *chroma = ChromaFormat::kGrey;
            return true;
        default:
            return false;
    }
}

int ToTurbo(ChromaFormat chroma) {
    switch (chroma) {
        case ChromaFormat::k420:
            return TJSAMP_420;
        case ChromaFormat::k422:
            return TJSAMP_422;
        case ChromaFormat::k440:
            return TJSAMP_440;
        case ChromaFormat::k444:
            return TJSAMP_444;
        case ChromaFormat::kGrey:
            return TJSAMP_GRAY;
    }
    return TJSAMP_420;
}

bool IsBounded(int width, int height) {
    return width >= 1 && height >= 1 && width <= kMaxDimension && height <= kMaxDimension;
}

/// Whether the picture brings Huffman tables of its own.
bool HasHuffmanTables(const std::uint8_t* data, std::size_t size) {
    constexpr std::uint8_t kHuffmanTables = 0xc4;
    constexpr std::uint8_t kStartOfScan = 0xda;
    for (std::size_t at = 2; at + 3 < size && data[at] == 0xff;) {
        const std::uint8_t marker = data[at + 1];
        if (marker == kHuffmanTables) return true;
        if (marker == kStartOfScan) return false;
        at += 2 + static_cast<std::size_t>(data[at + 2] << 8 | data[at + 3]);
    }
    return false;
}

constexpr unsigned long kMaxInput = 64ul << 20;

}  // namespace

class JpegDecoder::Impl {
  public:
    Status ReadHeader(const std::uint8_t* data, std::size_t size, JpegInfo* info);
    Status Decode(const std::uint8_t* data, std::size_t size, const OutputPicture& out);
    Status DecodePlanar(const std::uint8_t* data, std::size_t size, PlanarPicture* picture);

    bool m_damaged = false;
    std::string m_error;

  private:
    /// What a decompression came to: the library reports damage that it got over as a failure with a mild
    /// code.
    Status Judge(int result);
    /// Notes the error and drops the handle: after an error in a header it would refuse everything that
    /// follows.
    Status GiveUp();

    TjHandle m_handle;
    bool m_tablesLeft = false;  ///< the handle still has a picture's own Huffman tables
    std::vector<std::uint8_t> m_planes;
    ColorConverter m_converter;
};

Status JpegDecoder::Impl::ReadHeader(const std::uint8_t* data, std::size_t size, JpegInfo* info) {
    if (!data || size == 0 || size > kMaxInput || !info) return Status::kBadArgument;
    // The library keeps tables from picture to picture; one that brings none is to get the standard tables,
    // not those of another, perhaps damaged, picture.
    const bool ownTables = HasHuffmanTables(data, size);
    if (m_tablesLeft && !ownTables) m_handle.reset();
    if (!m_handle) m_handle.reset(tjInitDecompress());
    if (!m_handle) return Status::kOutOfMemory;
    m_tablesLeft = ownTables;

    int subsampling = -1;
    int colorspace = -1;
    JpegInfo found;
    const int result = tjDecompressHeader3(m_handle.get(), data, static_cast<unsigned long>(size),
                                           &found.width, &found.height, &subsampling, &colorspace);
    // Warnings make the call fail although the header could be read; tables without a picture don't.
    const bool whole = subsampling >= 0 && colorspace >= 0 && found.width > 0 && found.height > 0;
    const bool usable = whole && (result == 0 || tjGetErrorCode(m_handle.get()) == TJERR_WARNING);
    if (!usable) return GiveUp();
    if (colorspace != TJCS_YCbCr && colorspace != TJCS_GRAY) return Status::kUnsupported;
    if (!FromTurbo(subsampling, &found.chroma)) return Status::kUnsupported;
    if (!IsBounded(found.width, found.height)) return Status::kUnsupported;
    *info = found;
    return Status::kOk;
}

Status JpegDecoder::Impl::Judge(int result) {
    m_damaged = false;
    if (result == 0) return Status::kOk;
    if (tjGetErrorCode(m_handle.get()) != TJERR_WARNING) return GiveUp();
    m_error = tjGetErrorStr2(m_handle.get());
    m_damaged = true;
    return Status::kOk;
}

Status JpegDecoder::Impl::GiveUp() {
    m_error = tjGetErrorStr2(m_handle.get());
    m_handle.reset();
    m_tablesLeft = false;
    return Status::kBadData;
}

Status JpegDecoder::Impl::DecodePlanar(const std::uint8_t* data, std::size_t size, PlanarPicture* picture) {
    JpegInfo info;
    if (!picture) return Status::kBadArgument;
    if (const Status status = ReadHeader(data, size, &info); status != Status::kOk) return status;
    const int planeCount = info.chroma == ChromaFormat::kGrey ? 1 : 3;
    const int subsampling = ToTurbo(info.chroma);
    std::array<unsigned char*, 3> planes = {};
    std::array<int, 3> strides = {};
    std::array<std::size_t, 3> offsets = {};
    std::size_t total = 0;
    for (int plane = 0; plane < planeCount; ++plane) {
        const auto at = static_cast<std::size_t>(plane);
        strides[at] = tjPlaneWidth(plane, info.width, subsampling);
        offsets[at] = total;
        total += static_cast<std::size_t>(strides[at]) *
                 static_cast<std::size_t>(tjPlaneHeight(plane, info.height, subsampling));
    }
    if (m_planes.size() < total) {
        m_planes.clear();
        m_planes.resize(total);
    }
    for (int plane = 0; plane < planeCount; ++plane) {
        const auto at = static_cast<std::size_t>(plane);
        planes[at] = m_planes.data() + offsets[at];
    }
    const Status status =
        Judge(tjDecompressToYUVPlanes(m_handle.get(), data, static_cast<unsigned long>(size), planes.data(),
                                      0, strides.data(), 0, kDecodeFlags));
    if (status != Status::kOk) return status;

    PlanarPicture view;
    for (std::size_t plane = 0; plane < 3; ++plane) {
        view.planes[plane] = planes[plane];
        view.strides[plane] = strides[plane];
    }
    view.width = info.width;
    view.height = info.height;
    view.chroma = info.chroma;
    view.fullRange = true;
    *picture = view;
    return Status::kOk;
}

Status JpegDecoder::Impl::Decode(const std::uint8_t* data, std::size_t size, const OutputPicture& out) {
    JpegInfo info;
    if (!out.data) return Status::kBadArgument;
    if (const Status status = ReadHeader(data, size, &info); status != Status::kOk) return status;
    if (out.stride != 0 && out.stride < RowBytes(out.format, info.width)) return Status::kBadArgument;
    if (out.capacity < PictureBytes(out.format, info.width, info.height, out.stride))
        return Status::kBufferTooSmall;

    if (out.format == PixelFormat::kBgr24) {
        return Judge(tjDecompress2(m_handle.get(), data, static_cast<unsigned long>(size), out.data,
                                   info.width, out.stride, info.height, TJPF_BGR, kDecodeFlags));
    }
    PlanarPicture view;
    if (const Status status = DecodePlanar(data, size, &view); status != Status::kOk) return status;
    return m_converter.Convert(view, out);
}

JpegDecoder::JpegDecoder() : m_impl(std::make_unique<Impl>()) {}
JpegDecoder::~JpegDecoder() = default;

Status JpegDecoder::ReadHeader(const std::uint8_t* data, std::size_t size, JpegInfo* info) {
    return m_impl->ReadHeader(data, size, info);
}

Status JpegDecoder::Decode(const std::uint8_t* data, std::size_t size, const OutputPicture& out) {
    try {
        return m_impl->Decode(data, size, out);
    } catch (const std::bad_alloc&) {
        return Status::kOutOfMemory;
    }
}

Status JpegDecoder::DecodePlanar(const std::uint8_t* data, std::size_t size, PlanarPicture* picture) {
    try {
        return m_impl->DecodePlanar(data, size, picture);
    } catch (const std::bad_alloc&) {
        return Status::kOutOfMemory;
    }
}

bool JpegDecoder::Damaged() const {
    return m_impl->m_damaged;
}
const char* JpegDecoder::LibraryError() const {
    return m_impl->m_error.c_str();
}

class JpegEncoder::Impl {
  public:
    Impl(int quality, ChromaFormat chroma)
        : m_quality(std::clamp(quality, 1, 100)), m_subsampling(ToTurbo(chroma)) {}

    Status Encode(PixelFormat format, const std::uint8_t* picture, int width, int height, int stride,
                  const std::uint8_t** jpeg, std::size_t* size);

    std::string m_error;

  private:
    const int m_quality;
    const int m_subsampling;
    TjHandle m_handle;
    std::vector<std::uint8_t> m_output;
    std::vector<std::uint8_t> m_bgr;  ///< the picture, when it does not come as BGR24
};

Status JpegEncoder::Impl::Encode(PixelFormat format, const std::uint8_t* picture, int width, int height,
                                 int stride, const std::uint8_t** jpeg, std::size_t* size) {
    if (!picture || !jpeg || !size || width < 1 || height < 1) return Status::kBadArgument;
    if (!IsBounded(width, height)) return Status::kUnsupported;
    if (stride != 0 && stride < RowBytes(format, width)) return Status::kBadArgument;
    if (!m_handle) m_handle.reset(tjInitCompress());
    if (!m_handle) return Status::kOutOfMemory;

    if (format == PixelFormat::kYuy2) {
        m_bgr.resize(std::max(m_bgr.size(), PictureBytes(PixelFormat::kBgr24, width, height)));
        const Status status = ConvertYuy2ToBgr24(picture, stride, width, height, m_bgr.data(), 0);
        if (status != Status::kOk) return status;
        picture = m_bgr.data();
        stride = 0;
    }
    const unsigned long most = tjBufSize(width, height, m_subsampling);
    if (most == static_cast<unsigned long>(-1)) return Status::kUnsupported;
    if (m_output.size() < most) m_output.resize(most);
    unsigned char* buffer = m_output.data();
    unsigned long used = static_cast<unsigned long>(m_output.size());
    if (tjCompress2(m_handle.get(), picture, width, stride, height, TJPF_BGR, &buffer, &used, m_subsampling,
                    m_quality, TJFLAG_NOREALLOC) != 0) {
        m_error = tjGetErrorStr2(m_handle.get());
        return Status::kBadData;
    }
    *jpeg = m_output.data();
    *size = used;
    return Status::kOk;
}

JpegEncoder::JpegEncoder(int quality, ChromaFormat chroma)
    : m_impl(std::make_unique<Impl>(quality, chroma)) {}
JpegEncoder::~JpegEncoder() = default;

Status JpegEncoder::Encode(PixelFormat format, const std::uint8_t* picture, int width, int height, int stride,
                           const std::uint8_t** jpeg, std::size_t* size) {
    try {
        return m_impl->Encode(format, picture, width, height, stride, jpeg, size);
    } catch (const std::bad_alloc&) {
        return Status::kOutOfMemory;
    }
}

const char* JpegEncoder::LibraryError() const {
    return m_impl->m_error.c_str();
}

}  // namespace codec
