#include "codec/Libav.h"

extern "C" {
#include <libavutil/error.h>
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace codec {

namespace {

int GetBoundedBuffer(AVCodecContext* context, AVFrame* frame, int flags) {
    // max_pixels bounds the area only. Coded sizes are rounded up to whole macroblocks.
    constexpr int kMaxCoded = kMaxDimension + 16;
    if (frame->width > kMaxCoded || frame->height > kMaxCoded) return AVERROR(EINVAL);
    const int result = avcodec_default_get_buffer2(context, frame, flags);
    auto* const watch = static_cast<SliceWatch*>(context->opaque);
    if (result < 0 || !watch || !watch->replacesMissing || ++watch->pictures == 1) return result;
    watch->damaged.store(true, std::memory_order_relaxed);
    if (watch->madeUpCount < SliceWatch::kMostMadeUp) {
        SliceWatch::MadeUp& madeUp = watch->madeUp[watch->madeUpCount++];
        std::copy_n(frame->data, std::size(madeUp.planes), madeUp.planes);
        std::copy_n(frame->linesize, std::size(madeUp.strides), madeUp.strides);
    }
    return result;
}

void ReplaceMissing(AVCodecContext* context, SliceWatch& watch) {
    const AVFrame* const last = watch.last;
    const bool fits = last && last->data[0] && last->format == context->pix_fmt &&
                      last->width <= context->coded_width && last->height <= context->coded_height;
    for (int i = 0; i < watch.madeUpCount && fits; ++i) {
        const std::uint8_t* planes[4];
        std::copy_n(last->data, std::size(planes), planes);
        av_image_copy(watch.madeUp[i].planes, watch.madeUp[i].strides, planes, last->linesize,
                      context->pix_fmt, last->width, last->height);
    }
    watch.madeUpCount = 0;
}

/// Asked when a stream's format is known and nothing has been allocated for it.
AVPixelFormat ChooseBoundedFormat(AVCodecContext* context, const AVPixelFormat* formats) {
    const std::int64_t pixels = static_cast<std::int64_t>(context->coded_width) * context->coded_height;
    if (pixels > context->max_pixels) return AV_PIX_FMT_NONE;
    return avcodec_default_get_format(context, formats);
}

void NoteResults(SliceWatch& watch, const int* results, int count) {
    if (results && std::any_of(results, results + std::max(count, 0), [](int each) { return each < 0; }))
        watch.damaged.store(true, std::memory_order_relaxed);
}

/// Runs the slices of a picture as the library would, and looks at what each of them came to.
int ExecuteWatched(AVCodecContext* context, int (*job)(AVCodecContext*, void*), void* jobs, int* results,
                   int count, int size) {
    auto* const watch = static_cast<SliceWatch*>(context->opaque);
    constexpr int kMostJobs = 64;
    int own[kMostJobs] = {};
    if (watch->madeUpCount > 0) ReplaceMissing(context, *watch);
    if (!results && count <= kMostJobs) results = own;
    const int result = watch->execute(context, job, jobs, results, count, size);
    NoteResults(*watch, results, count);
    return result;
}

int Execute2Watched(AVCodecContext* context, int (*job)(AVCodecContext*, void*, int, int), void* jobs,
                    int* results, int count) {
    auto* const watch = static_cast<SliceWatch*>(context->opaque);
    if (watch->madeUpCount > 0) ReplaceMissing(context, *watch);
    const int result = watch->execute2(context, job, jobs, results, count);
    NoteResults(*watch, results, count);
    return result;
}

}  // namespace

Status StatusFromAv(int code) {
    if (code >= 0) return Status::kOk;
    if (code == AVERROR(ENOMEM)) return Status::kOutOfMemory;
    if (code == AVERROR_PATCHWELCOME) return Status::kUnsupported;
    return Status::kBadData;
}

Status InputPacket::Fill(const std::uint8_t* head, std::size_t headSize, const std::uint8_t* body,
                         std::size_t bodySize) {
    if (headSize > kMaxBytes || bodySize > kMaxBytes - headSize) return Status::kBadArgument;
    if (!m_packet) m_packet.reset(av_packet_alloc());
    if (!m_packet) return Status::kOutOfMemory;
    av_packet_unref(m_packet.get());

    const std::size_t size = headSize + bodySize;
    const std::size_t needed = size + AV_INPUT_BUFFER_PADDING_SIZE;
    const bool reusable = m_buffer && static_cast<std::size_t>(m_buffer->size) >= needed &&
                          av_buffer_is_writable(m_buffer.get());
    if (!reusable) {
        // Some room to grow, so that slightly larger pictures later don't each take new memory.
        m_buffer.reset(av_buffer_alloc(needed + needed / 2));
        if (!m_buffer) return Status::kOutOfMemory;
    }
    if (headSize > 0) std::memcpy(m_buffer->data, head, headSize);
    if (bodySize > 0) std::memcpy(m_buffer->data + headSize, body, bodySize);
    std::memset(m_buffer->data + size, 0, AV_INPUT_BUFFER_PADDING_SIZE);

    m_packet->buf = av_buffer_ref(m_buffer.get());
    if (!m_packet->buf) return Status::kOutOfMemory;
    m_packet->data = m_buffer->data;
    m_packet->size = static_cast<int>(size);
    return Status::kOk;
}

void InputPacket::Clear() {
    m_packet.reset();
    m_buffer.reset();
}

void WatchSlices(AVCodecContext* context, SliceWatch* watch) {
    watch->damaged = false;
    watch->execute = context->execute;
    context->opaque = watch;
    context->execute = ExecuteWatched;
    watch->execute2 = context->execute2;
    context->execute2 = Execute2Watched;
}

void LimitPixels(AVCodecContext* context, std::int64_t pixels) {
    // The library compares with sizes that are rounded up, in each direction by less than that.
    constexpr std::int64_t kRoundedUp = 64;
    context->max_pixels = pixels + 2 * kRoundedUp * kMaxDimension + kRoundedUp * kRoundedUp;
}

bool SetExtradata(AVCodecContext* context, const std::vector<std::uint8_t>& data) {
    if (data.empty()) return true;
    context->extradata = static_cast<std::uint8_t*>(av_mallocz(data.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    if (!context->extradata) return false;
    std::memcpy(context->extradata, data.data(), data.size());
    context->extradata_size = static_cast<int>(data.size());
    return true;
}

AvPtr<AVCodecContext> NewVideoContext(const AVCodec* decoder) {
    AvPtr<AVCodecContext> context(avcodec_alloc_context3(decoder));
    if (!context) return context;
    context->thread_type = FF_THREAD_SLICE;
    context->thread_count = 1;
    LimitPixels(context.get(), static_cast<std::int64_t>(kMaxDimension) * kMaxDimension);
    context->get_format = ChooseBoundedFormat;
    context->get_buffer2 = GetBoundedBuffer;
    return context;
}

Status SendAndReceive(AVCodecContext* context, const AVPacket* packet, AVFrame* frame, int* code) {
    int result = avcodec_send_packet(context, packet);
    if (result == AVERROR(EAGAIN)) {
        // A picture was left inside: it is older than what the caller wants now.
        if (avcodec_receive_frame(context, frame) == 0) av_frame_unref(frame);
        result = avcodec_send_packet(context, packet);
    }
    const bool draining = packet == nullptr;
    if (result < 0 && !(draining && result == AVERROR_EOF)) {
        *code = result;
        return StatusFromAv(result);
    }
    result = avcodec_receive_frame(context, frame);
    if (result == 0) return Status::kOk;
    if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return Status::kNoPicture;
    *code = result;
    return StatusFromAv(result);
}

ColourMatrix MatrixOf(const AVFrame& frame) {
    switch (frame.colorspace) {
        case AVCOL_SPC_BT709:
            return ColourMatrix::kBt709;
        case AVCOL_SPC_UNSPECIFIED:
        case AVCOL_SPC_RESERVED:
            return UsualMatrix(frame.height);
        default:
            return ColourMatrix::kBt601;
    }
}

bool ViewOf(const AVFrame& frame, PlanarPicture* picture) {
    const auto format = static_cast<AVPixelFormat>(frame.format);
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(format);
    if (!description) return false;
    constexpr std::uint64_t kForeign = AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_HWACCEL |
                                       AV_PIX_FMT_FLAG_BE | AV_PIX_FMT_FLAG_FLOAT | AV_PIX_FMT_FLAG_ALPHA;
    if (description->flags & kForeign) return false;
    const int planes = description->nb_components;
    if (planes != 1 && planes != 3) return false;
    if (planes == 3 && !(description->flags & AV_PIX_FMT_FLAG_PLANAR)) return false;
    if (description->log2_chroma_w > 1 || description->log2_chroma_h > 1) return false;

    PlanarPicture view;
    for (int plane = 0; plane < planes; ++plane) {
        if (description->comp[plane].plane != plane || description->comp[plane].shift != 0) return false;
        view.planes[plane] = frame.data[plane];
        view.strides[plane] = frame.linesize[plane];
    }
    view.width = frame.width;
    view.height = frame.height;
    view.bitDepth = description->comp[0].depth;
    if (planes == 1) {
        view.chroma = ChromaFormat::kGrey;
    } else if (description->log2_chroma_w == 0) {
        view.chroma = description->log2_chroma_h == 0 ? ChromaFormat::k444 : ChromaFormat::k440;
    } else {
        view.chroma = description->log2_chroma_h == 0 ? ChromaFormat::k422 : ChromaFormat::k420;
    }
    view.fullRange = frame.color_range == AVCOL_RANGE_JPEG || format == AV_PIX_FMT_YUVJ420P ||
                     format == AV_PIX_FMT_YUVJ422P || format == AV_PIX_FMT_YUVJ444P;
    view.interlaced = frame.interlaced_frame != 0;
    view.matrix = MatrixOf(frame);
    *picture = view;
    return true;
}

PictureInfo InfoOf(const AVFrame& frame) {
    PictureInfo info;
    info.tag = frame.reordered_opaque;
    info.width = frame.width;
    info.height = frame.height;
    info.keyFrame = frame.key_frame != 0;
    info.interlaced = frame.interlaced_frame != 0;
    info.topFieldFirst = frame.top_field_first != 0;
    info.damaged = frame.decode_error_flags != 0 || (frame.flags & AV_FRAME_FLAG_CORRUPT) != 0;
    return info;
}

}  // namespace codec
