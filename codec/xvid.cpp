#include "codec/xvid.h"

#include <cstring>
#include <memory>
#include <new>

#include "codec/ColorConvert.h"
#include "codec/Mpeg4Decoder.h"

namespace {

using codec::Mpeg4Decoder;
using codec::OutputPicture;
using codec::PixelFormat;
using codec::PlanarPicture;
using codec::Status;

/// What a decoder handle points to.
struct Instance {
    Mpeg4Decoder decoder;
    codec::ColorConverter converter;
};

bool IsKnownVersion(int version) {
    return XVID_VERSION_MAJOR(version) == 1;
}

int Create(xvid_dec_create_t* parameters) {
    if (!parameters) return XVID_ERR_FAIL;
    if (!IsKnownVersion(parameters->version)) return XVID_ERR_VERSION;
    parameters->handle = nullptr;
    try {
        auto instance = std::make_unique<Instance>();
        if (instance->decoder.Open() != Status::kOk) return XVID_ERR_MEMORY;
        parameters->handle = instance.release();
    } catch (const std::bad_alloc&) {
        return XVID_ERR_MEMORY;
    }
    return 0;
}

void CopyPlane(const PlanarPicture& picture, int plane, std::uint8_t* to, int stride) {
    const bool chroma = plane > 0;
    const int width = chroma ? ChromaWidth(picture.chroma, picture.width) : picture.width;
    const int height = chroma ? ChromaHeight(picture.chroma, picture.height) : picture.height;
    for (int y = 0; y < height; ++y) {
        std::memcpy(to + static_cast<std::ptrdiff_t>(y) * stride,
                    picture.planes[plane] + static_cast<std::ptrdiff_t>(y) * picture.strides[plane],
                    static_cast<std::size_t>(width));
    }
}

Status WritePlanes(const PlanarPicture& picture, const xvid_image_t& output) {
    if (picture.chroma != codec::ChromaFormat::k420 || picture.bitDepth != 8) return Status::kUnsupported;
    const int chromaWidth = ChromaWidth(picture.chroma, picture.width);
    std::uint8_t* planes[3];
    int strides[3];
    for (int plane = 0; plane < 3; ++plane) {
        planes[plane] = static_cast<std::uint8_t*>(output.plane[plane]);
        strides[plane] = output.stride[plane];
    }
    if (output.csp == XVID_CSP_I420) {
        if (!planes[0]) return Status::kBadArgument;
        if (strides[0] == 0) strides[0] = 2 * chromaWidth;
        strides[1] = strides[2] = strides[0] / 2;
        planes[1] = planes[0] + static_cast<std::ptrdiff_t>(strides[0]) * picture.height;
        planes[2] = planes[1] +
                    static_cast<std::ptrdiff_t>(strides[1]) * ChromaHeight(picture.chroma, picture.height);
    }
    for (int plane = 0; plane < 3; ++plane) {
        if (!planes[plane] || strides[plane] < (plane > 0 ? chromaWidth : picture.width))
            return Status::kBadArgument;
        CopyPlane(picture, plane, planes[plane], strides[plane]);
    }
    return Status::kOk;
}

Status Write(Instance& instance, const PlanarPicture& picture, const xvid_image_t& output) {
    OutputPicture out;
    switch (output.csp) {
        case XVID_CSP_NULL:
            return Status::kOk;
        case XVID_CSP_PLANAR:
        case XVID_CSP_I420:
            return WritePlanes(picture, output);
        case XVID_CSP_YUY2:
            out.format = PixelFormat::kYuy2;
            break;
        case XVID_CSP_BGR:
            out.format = PixelFormat::kBgr24;
            break;
        default:
            return Status::kBadArgument;
    }
    out.data = static_cast<std::uint8_t*>(output.plane[0]);
    out.stride = output.stride[0];
    // The interface has no room for a buffer size: the caller has seen the header and made sure.
    out.capacity = PictureBytes(out.format, picture.width, picture.height, out.stride);
    return instance.converter.Convert(picture, out);
}

void DescribeHeader(const codec::Mpeg4Vol& vol, xvid_dec_stats_t* stats) {
    stats->type = XVID_TYPE_VOL;
    stats->data.vol.general = vol.interlaced ? XVID_VOL_INTERLACING : 0;
    stats->data.vol.width = vol.width;
    stats->data.vol.height = vol.height;
    stats->data.vol.par = vol.aspect;
    stats->data.vol.par_width = vol.aspectWidth;
    stats->data.vol.par_height = vol.aspectHeight;
}

int TypeCode(codec::Mpeg4VopType type) {
    switch (type) {
        case codec::Mpeg4VopType::kI:
            return XVID_TYPE_IVOP;
        case codec::Mpeg4VopType::kP:
            return XVID_TYPE_PVOP;
        case codec::Mpeg4VopType::kB:
            return XVID_TYPE_BVOP;
        case codec::Mpeg4VopType::kS:
            return XVID_TYPE_SVOP;
    }
    return XVID_TYPE_IVOP;
}

int Decode(Instance& instance, const xvid_dec_frame_t* frame, xvid_dec_stats_t* stats) {
    if (!frame) return XVID_ERR_FAIL;
    if (!IsKnownVersion(frame->version) || (stats && !IsKnownVersion(stats->version)))
        return XVID_ERR_VERSION;
    if (stats) {
        stats->type = XVID_TYPE_NOTHING;
        stats->data = {};
        stats->tag = 0;
    }
    if (frame->general & XVID_DISCONTINUITY) instance.decoder.Reset();
    instance.decoder.SkipBVops((frame->general & XVID_DEC_DROP) != 0);

    Mpeg4Decoder::Result result;
    int consumed = 0;
    Status status;
    if (frame->length < 0) {
        status = instance.decoder.Drain(&result);
        if (status != Status::kOk) return XVID_ERR_END;
    } else {
        const auto* data = static_cast<const std::uint8_t*>(frame->bitstream);
        auto left = static_cast<std::size_t>(frame->length);
        status = instance.decoder.Decode(data, left, frame->tag, &result);
        if (status == Status::kOk && result.header && !stats) {
            // Nobody to tell of the header: go on to the picture.
            data += result.consumed;
            left -= result.consumed;
            consumed = static_cast<int>(result.consumed);
            if (left == 0) return consumed;
            status = instance.decoder.Decode(data, left, frame->tag, &result);
        }
        if (status == Status::kBadArgument) return XVID_ERR_FAIL;
        if (status != Status::kOk) return XVID_ERR_NO_PICTURE;
        consumed += static_cast<int>(result.consumed);
        if (result.header) {
            if (stats) DescribeHeader(result.vol, stats);
            return consumed;
        }
    }

    if (Write(instance, result.picture, frame->output) != Status::kOk) return XVID_ERR_FAIL;
    if (stats) {
        stats->type = TypeCode(result.type);
        stats->tag = result.info.tag;
        stats->data.vop.general = result.info.topFieldFirst ? XVID_VOP_TOPFIELDFIRST : 0;
    }
    return consumed;
}

}  // namespace

extern "C" int xvid_global(void*, int operation, void* parameters, void*) {
    if (operation != XVID_GBL_INIT) return XVID_ERR_FAIL;
    const auto* init = static_cast<const xvid_gbl_init_t*>(parameters);
    if (init && !IsKnownVersion(init->version)) return XVID_ERR_VERSION;
    return 0;
}

extern "C" int xvid_decore(void* handle, int operation, void* first, void* second) {
    if (operation == XVID_DEC_CREATE) return Create(static_cast<xvid_dec_create_t*>(first));
    if (!handle) return XVID_ERR_FAIL;
    if (operation == XVID_DEC_DESTROY) {
        const std::unique_ptr<Instance> destroyed(static_cast<Instance*>(handle));
        return 0;
    }
    if (operation != XVID_DEC_DECODE) return XVID_ERR_FAIL;
    return Decode(*static_cast<Instance*>(handle), static_cast<const xvid_dec_frame_t*>(first),
                  static_cast<xvid_dec_stats_t*>(second));
}
