#include "codec/AacDecoder.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "codec/AacConfig.h"
#include "codec/Libav.h"

namespace codec {

namespace {

std::int16_t ToPcm(float sample) {
    const float scaled = sample * 32768.0f;
    // Written so that a sample that is not a number becomes silence.
    if (!(scaled > -32768.0f)) return scaled <= -32768.0f ? std::int16_t{-32768} : std::int16_t{0};
    if (scaled >= 32767.0f) return 32767;
    return static_cast<std::int16_t>(std::lrintf(scaled));
}

}  // namespace

class AacDecoder::Impl {
  public:
    Status Initialise(const std::uint8_t* config, std::size_t size);
    Status Decode(const std::uint8_t* data, std::size_t size, std::int16_t* samples, std::size_t capacity,
                  std::size_t* count);
    void Close();
    void Reset() {
        if (m_context) avcodec_flush_buffers(m_context.get());
    }

    AacConfig m_config;
    AvPtr<AVCodecContext> m_context;
    int m_libraryError = 0;

  private:
    AvPtr<AVFrame> m_frame;
    InputPacket m_input;
};

Status AacDecoder::Impl::Initialise(const std::uint8_t* config, std::size_t size) {
    Close();
    AacConfig parsed;
    if (const Status status = ParseAacConfig(config, size, &parsed); status != Status::kOk) return status;
    const AVCodec* decoder = avcodec_find_decoder(AV_CODEC_ID_AAC);
    if (!decoder) return Status::kUnsupported;
    m_context.reset(avcodec_alloc_context3(decoder));
    m_frame.reset(av_frame_alloc());
    std::array<std::uint8_t, kPlainAacConfigMax> plain;
    const std::size_t plainSize = WritePlainAacConfig(parsed, &plain);
    if (m_context) {
        // The context owns and frees this.
        m_context->extradata =
            static_cast<std::uint8_t*>(av_mallocz(plainSize + AV_INPUT_BUFFER_PADDING_SIZE));
    }
    if (!m_context || !m_frame || !m_context->extradata) {
        Close();
        return Status::kOutOfMemory;
    }
    std::memcpy(m_context->extradata, plain.data(), plainSize);
    m_context->extradata_size = static_cast<int>(plainSize);
    m_context->thread_count = 1;
    m_libraryError = avcodec_open2(m_context.get(), decoder, nullptr);
    if (m_libraryError < 0) {
        const Status failure = StatusFromAv(m_libraryError);
        Close();
        return failure;
    }
    m_config = parsed;
    return Status::kOk;
}

void AacDecoder::Impl::Close() {
    m_context.reset();
    m_frame.reset();
    m_input.Clear();
    m_config = {};
}

Status AacDecoder::Impl::Decode(const std::uint8_t* data, std::size_t size, std::int16_t* samples,
                                std::size_t capacity, std::size_t* count) {
    if (!count) return Status::kBadArgument;
    *count = 0;
    if (!m_context) return Status::kNotInitialised;
    if (!data || size == 0 || !samples) return Status::kBadArgument;
    if (capacity < kMaxSamplesPerUnit) return Status::kBufferTooSmall;
    if (const Status status = m_input.Fill(data, size); status != Status::kOk) return status;
    av_frame_unref(m_frame.get());
    const Status status = SendAndReceive(m_context.get(), m_input.Get(), m_frame.get(), &m_libraryError);
    if (status != Status::kOk) return status;

    // Damaged units can pretend to another layout than the configuration's.
    const int channels = m_frame->ch_layout.nb_channels;
    if (m_frame->format != AV_SAMPLE_FMT_FLTP || channels < 1 || m_frame->nb_samples > kMaxSamplesPerUnit ||
        m_frame->sample_rate != m_config.sampleRate) {
        return Status::kBadData;
    }
    const auto* left = reinterpret_cast<const float*>(m_frame->extended_data[0]);
    const auto* right = channels > 1 ? reinterpret_cast<const float*>(m_frame->extended_data[1]) : left;
    for (int i = 0; i < m_frame->nb_samples; ++i)
        samples[i] = ToPcm((left[i] + right[i]) * 0.5f);
    *count = static_cast<std::size_t>(m_frame->nb_samples);
    return Status::kOk;
}

AacDecoder::AacDecoder() : m_impl(std::make_unique<Impl>()) {}
AacDecoder::~AacDecoder() = default;

Status AacDecoder::Initialise(const std::uint8_t* config, std::size_t size) {
    return m_impl->Initialise(config, size);
}
bool AacDecoder::IsInitialised() const {
    return m_impl->m_context != nullptr;
}
int AacDecoder::SampleRate() const {
    return m_impl->m_config.sampleRate;
}
int AacDecoder::Channels() const {
    return m_impl->m_config.channels;
}

Status AacDecoder::Decode(const std::uint8_t* data, std::size_t size, std::int16_t* samples,
                          std::size_t capacity, std::size_t* count) {
    return m_impl->Decode(data, size, samples, capacity, count);
}

void AacDecoder::Reset() {
    m_impl->Reset();
}
void AacDecoder::Close() {
    m_impl->Close();
}
int AacDecoder::LibraryError() const {
    return m_impl->m_libraryError;
}

}  // namespace codec
