#include "audio/talkback/VoiceFormat.h"

namespace norix {

std::optional<VoiceFormat> ParseVoiceFormat(int codec, long sampleRate) {
    VoiceFormat format;
    if (codec < 0 || codec > static_cast<int>(VoiceCodec::Pcm)) return std::nullopt;
    if (codec != 0) format.codec = static_cast<VoiceCodec>(codec);
    if (sampleRate == 0) return format;
    if (sampleRate < static_cast<long>(kLowestVoiceRate) || sampleRate > static_cast<long>(kHighestVoiceRate))
        return std::nullopt;
    format.sampleRate = static_cast<std::uint32_t>(sampleRate);
    return format;
}

std::string ContentTypeOf(const VoiceFormat& format) {
    if (format.codec == VoiceCodec::Aac) return "audio/aac";  // whose units say their rate themselves
    std::string name = format.codec == VoiceCodec::Pcmu ? "audio/pcmu" : "audio/pcm";
    if (format == VoiceFormat{}) return name;
    return name + ";rate=" + std::to_string(format.sampleRate);
}

}  // namespace norix
