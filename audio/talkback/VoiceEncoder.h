#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "audio/talkback/VoiceBacklog.h"
#include "audio/talkback/VoiceFormat.h"
#include "codec/AacEncoder.h"
#include "codec/Resampler.h"

namespace norix {

/// The length of an ADTS header without a checksum (ISO/IEC 13818-7).
inline constexpr std::size_t kAdtsBytes = 7;
/// The header of an AAC-LC unit of so many bytes, in mono. The rate is one that AAC has a number for.
std::array<std::uint8_t, kAdtsBytes> MakeAdtsHeader(std::uint32_t sampleRate, std::size_t unitBytes);

/// How loud samples are at their loudest: 0 to 100, where 0 is 60 dB below the loudest that there is, and
/// each step is 0.6 dB.
int LevelOf(std::span<const std::int16_t> samples) noexcept;

/// Makes packets for the wire of captured samples: another rate where it has to be, then the codec. One
/// thread.
class VoiceEncoder {
  public:
    VoiceEncoder(const VoiceFormat& format, std::uint32_t capturedRate)
        : m_format(format), m_capturedRate(capturedRate) {}

    /// False when there is no coder for this codec and rate.
    bool Open();
    /// `captured` are 16-bit mono samples that follow those before.
    void Encode(std::span<const std::int16_t> captured, VoiceBacklog& to);

  private:
    void EncodeMuLaw(std::span<const std::int16_t> samples, VoiceBacklog& to);
    void EncodePcm(std::span<const std::int16_t> samples, VoiceBacklog& to);
    void EncodeAac(std::span<const std::int16_t> samples, VoiceBacklog& to);
    std::uint32_t DurationUs(std::size_t samples) const;

    const VoiceFormat m_format;
    const std::uint32_t m_capturedRate;
    codec::Resampler m_resampler;
    codec::AacEncoder m_aac;
    std::vector<std::int16_t> m_resampled;
    std::vector<std::int16_t> m_pending;  // samples that fill no AAC unit yet
    std::vector<std::uint8_t> m_unit;
    std::vector<std::uint8_t> m_packet;
};

}  // namespace norix
