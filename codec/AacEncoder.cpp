#include "codec/AacEncoder.h"

#include <cerrno>

#include "codec/Libav.h"

extern "C" {
#include <libavutil/channel_layout.h>
}

namespace codec {

class AacEncoder::Impl {
  public:
    Status Initialise(int sampleRate, int bitRate);
    Status Encode(std::span<const std::int16_t, kSamplesPerUnit> samples, std::vector<std::uint8_t>* unit);

    int m_libraryError = 0;

  private:
    Status Fail(int code) {
        m_libraryError = code;
        return StatusFromAv(code);
    }

    AvPtr<AVCodecContext> m_context;
    AvPtr<AVFrame> m_frame;
    AvPtr<AVPacket> m_packet;
};

Status AacEncoder::Impl::Initialise(int sampleRate, int bitRate) {
    m_context.reset();
    m_frame.reset(av_frame_alloc());
    m_packet.reset(av_packet_alloc());
    const AVCodec* const encoder = avcodec_find_encoder(AV_CODEC_ID_AAC);
    if (!encoder) return Status::kUnsupported;
    bool known = false;
    for (const int* rate = encoder->supported_samplerates; rate && *rate != 0; ++rate)
        known = known || *rate == sampleRate;
    if (!known) return Status::kUnsupported;
    AvPtr<AVCodecContext> context(avcodec_alloc_context3(encoder));
    if (!context || !m_frame || !m_packet) return Status::kOutOfMemory;
    context->sample_fmt = AV_SAMPLE_FMT_FLTP;
    context->sample_rate = sampleRate;
    context->bit_rate = bitRate;
    context->thread_count = 1;
    av_channel_layout_default(&context->ch_layout, 1);
    if (const int code = avcodec_open2(context.get(), encoder, nullptr); code < 0) return Fail(code);
    m_frame->format = context->sample_fmt;
    m_frame->sample_rate = sampleRate;
    m_frame->nb_samples = static_cast<int>(kSamplesPerUnit);
    int code = av_channel_layout_copy(&m_frame->ch_layout, &context->ch_layout);
    if (code >= 0) code = av_frame_get_buffer(m_frame.get(), 0);
    if (code < 0) return Fail(code);
    m_context = std::move(context);
    return Status::kOk;
}

Status AacEncoder::Impl::Encode(std::span<const std::int16_t, kSamplesPerUnit> samples,
                                std::vector<std::uint8_t>* unit) {
    if (!unit) return Status::kBadArgument;
    unit->clear();
    if (!m_context) return Status::kNotInitialised;
    // The encoder may still hold the samples of the call before.
    if (const int code = av_frame_make_writable(m_frame.get()); code < 0) return Fail(code);
    auto* const to = reinterpret_cast<float*>(m_frame->extended_data[0]);
    for (std::size_t i = 0; i < samples.size(); ++i)
        to[i] = static_cast<float>(samples[i]) / 32768.0f;
    if (const int code = avcodec_send_frame(m_context.get(), m_frame.get()); code < 0) return Fail(code);
    const int code = avcodec_receive_packet(m_context.get(), m_packet.get());
    if (code == AVERROR(EAGAIN)) return Status::kNoPicture;
    if (code < 0) return Fail(code);
    unit->assign(m_packet->data, m_packet->data + m_packet->size);
    av_packet_unref(m_packet.get());
    return Status::kOk;
}

AacEncoder::AacEncoder() : m_impl(std::make_unique<Impl>()) {}
AacEncoder::~AacEncoder() = default;

Status AacEncoder::Initialise(int sampleRate, int bitRate) {
    return m_impl->Initialise(sampleRate, bitRate);
}
Status AacEncoder::Encode(std::span<const std::int16_t, kSamplesPerUnit> samples,
                          std::vector<std::uint8_t>* unit) {
    return m_impl->Encode(samples, unit);
}
int AacEncoder::LibraryError() const {
    return m_impl->m_libraryError;
}

}  // namespace codec
