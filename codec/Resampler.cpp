#include "codec/Resampler.h"

#include "codec/Libav.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

namespace codec {

void Resampler::Delete::operator()(SwrContext* context) const {
    swr_free(&context);
}

Status Resampler::Initialise(int fromRate, int toRate) {
    m_context.reset();
    if (fromRate <= 0 || toRate <= 0) return Status::kBadArgument;
    AVChannelLayout mono = {};
    av_channel_layout_default(&mono, 1);
    SwrContext* made = nullptr;
    const int code = swr_alloc_set_opts2(&made, &mono, AV_SAMPLE_FMT_S16, toRate, &mono, AV_SAMPLE_FMT_S16,
                                         fromRate, 0, nullptr);
    std::unique_ptr<SwrContext, Delete> context(made);
    if (code < 0) return StatusFromAv(code);
    if (const int opened = swr_init(context.get()); opened < 0) return StatusFromAv(opened);
    m_context = std::move(context);
    return Status::kOk;
}

Status Resampler::Convert(std::span<const std::int16_t> in, std::vector<std::int16_t>* out) {
    if (!out) return Status::kBadArgument;
    out->clear();
    if (!m_context) return Status::kNotInitialised;
    const int count = static_cast<int>(in.size());
    const int most = swr_get_out_samples(m_context.get(), count);
    if (most < 0) return StatusFromAv(most);
    out->resize(static_cast<std::size_t>(most));
    const auto* from = reinterpret_cast<const std::uint8_t*>(in.data());
    auto* to = reinterpret_cast<std::uint8_t*>(out->data());
    const int made = swr_convert(m_context.get(), &to, most, &from, count);
    out->resize(made > 0 ? static_cast<std::size_t>(made) : 0);
    return made < 0 ? StatusFromAv(made) : Status::kOk;
}

}  // namespace codec
