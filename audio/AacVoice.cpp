#include "audio/AacVoice.h"

#include <utility>
#include <vector>

#include "util/Log.h"

namespace norix {

std::uint32_t RateOfAacConfig(const std::uint8_t* config, std::size_t size) noexcept {
    if (size < 2) return 0;
    const unsigned index = (config[0] * 256u + config[1]) >> 7 & 15u;  // ISO/IEC 14496-3
    if (index == 8) return 16000;
    if (index == 11) return 8000;
    return 0;
}

bool AacVoice::Prepare() {
    if (m_decoder.IsInitialised()) return true;
    const std::vector<std::uint8_t> config = m_param.aacConfig.Get();
    const std::uint32_t rate = RateOfAacConfig(config.data(), config.size());
    if (rate != 0 && rate != m_param.audioSampleRate.Get()) {
        m_param.audioSampleRate.Set(rate);
        m_output.Reopen();
    }
    const codec::Status status = m_decoder.Initialise(config.data(), config.size());
    if (status != codec::Status::kOk) {
        // Tried again with each frame, as the configuration may come later than the first of them.
        if (!std::exchange(m_failed, true)) {
            NORIX_LOG(
                "CAudioControl::DecodeAAC", 1, "no AAC decoder for a configuration of %u bytes (%d, %d)",
                static_cast<unsigned>(config.size()), static_cast<int>(status), m_decoder.LibraryError());
        }
        return false;
    }
    m_output.RenewBuffers(codec::AacDecoder::kMaxSamplesPerUnit);
    return true;
}

bool AacVoice::Decode(const AudioFrameRecord& frame, OutputBuffer& buffer) {
    const codec::Status status = m_decoder.Decode(frame.data.get(), frame.storedLength, buffer.samples.data(),
                                                  buffer.samples.size(), &buffer.count);
    if (codec::Failed(status)) {
        NORIX_LOG("CAudioControl::DecodeAAC", 0, "DecodeAAC(pts=%u) fails (%d, %d)", frame.pts,
                  static_cast<int>(status), m_decoder.LibraryError());
    }
    return status == codec::Status::kOk && buffer.count != 0;
}

}  // namespace norix
