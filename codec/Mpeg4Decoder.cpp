#include "codec/Mpeg4Decoder.h"

#include <new>

namespace codec {

namespace {

/// Headers with more user data than this are taken for damage.
constexpr std::size_t kMaxHeaderBytes = 16 * 1024;

Mpeg4VopType TypeOf(AVPictureType type) {
    switch (type) {
        case AV_PICTURE_TYPE_P:
            return Mpeg4VopType::kP;
        case AV_PICTURE_TYPE_B:
            return Mpeg4VopType::kB;
        case AV_PICTURE_TYPE_S:
            return Mpeg4VopType::kS;
        default:
            return Mpeg4VopType::kI;
    }
}

}  // namespace

Status Mpeg4Decoder::Open() {
    const AVCodec* decoder = avcodec_find_decoder(AV_CODEC_ID_MPEG4);
    if (!decoder) return Status::kUnsupported;
    m_context = NewVideoContext(decoder);
    m_frame.reset(av_frame_alloc());
    if (!m_context || !m_frame) return Status::kOutOfMemory;
    // The same transform and exact half-sample rounding on every processor: the quicker defaults differ
    // between builds and from what encoders reckon with, and every difference adds up until the next intra
    // picture.
    m_context->idct_algo = FF_IDCT_SIMPLE;
    m_context->flags |= AV_CODEC_FLAG_BITEXACT;
    m_libraryError = avcodec_open2(m_context.get(), decoder, nullptr);
    return StatusFromAv(m_libraryError);
}

void Mpeg4Decoder::Reset() {
    if (m_context) avcodec_flush_buffers(m_context.get());
    m_waitingForIntra = true;
    m_draining = false;
}

void Mpeg4Decoder::SkipBVops(bool skip) {
    if (m_context) m_context->skip_frame = skip ? AVDISCARD_BIDIR : AVDISCARD_DEFAULT;
}

Status Mpeg4Decoder::Decode(const std::uint8_t* data, std::size_t size, std::int64_t tag, Result* result) {
    *result = {};
    if (!m_context) return Status::kNotInitialised;
    if (!data || size == 0) return Status::kBadArgument;
    if (m_draining) Reset();

    const Mpeg4Layout layout = FindMpeg4Headers(data, size);
    if (layout.vol != Mpeg4Layout::kNone) {
        const std::size_t end = layout.vop == Mpeg4Layout::kNone ? size : layout.vop;
        Mpeg4Vol vol;
        if (end > kMaxHeaderBytes) return Status::kBadData;
        if (const Status status = ParseMpeg4Vol(data + layout.vol, end - layout.vol, &vol);
            status != Status::kOk) {
            return status;
        }
        try {
            m_headers.assign(data, data + end);
        } catch (const std::bad_alloc&) {
            return Status::kOutOfMemory;
        }
        // The caller has seen this size: the library is not to find another one in the same headers.
        LimitPixels(m_context.get(), static_cast<std::int64_t>(vol.width) * vol.height);
        m_vol = result->vol = vol;
        m_haveVol = result->header = true;
        result->consumed = end;
        return Status::kOk;
    }

    if (layout.vop == Mpeg4Layout::kNone) return Status::kNoPicture;
    if (!m_haveVol) return Status::kNeedKeyFrame;
    if (m_waitingForIntra && layout.vopType != Mpeg4VopType::kI) return Status::kNoPicture;

    if (const Status status = m_input.Fill(m_headers.data(), m_headers.size(), data, size);
        status != Status::kOk) {
        return status;
    }
    m_headers.clear();
    m_waitingForIntra = false;
    av_frame_unref(m_frame.get());
    m_context->reordered_opaque = tag;
    result->consumed = size;
    return Take(SendAndReceive(m_context.get(), m_input.Get(), m_frame.get(), &m_libraryError), result);
}

Status Mpeg4Decoder::Drain(Result* result) {
    *result = {};
    if (!m_context) return Status::kNotInitialised;
    m_draining = true;
    av_frame_unref(m_frame.get());
    return Take(SendAndReceive(m_context.get(), nullptr, m_frame.get(), &m_libraryError), result);
}

Status Mpeg4Decoder::Take(Status status, Result* result) {
    if (status != Status::kOk) return status;
    // A picture that was held back across a change of size comes too late: the caller has prepared for the
    // new size.
    if (m_frame->width != m_vol.width || m_frame->height != m_vol.height) return Status::kNoPicture;
    if (!ViewOf(*m_frame, &result->picture)) return Status::kUnsupported;
    result->info = InfoOf(*m_frame);
    result->type = TypeOf(m_frame->pict_type);
    return Status::kOk;
}

}  // namespace codec
