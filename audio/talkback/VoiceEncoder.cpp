#include "audio/talkback/VoiceEncoder.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>

#include "audio/G711.h"

namespace norix {
namespace {

constexpr std::uint32_t kMicroseconds = 1000000;
/// Speech in mono: 24 kbit/s at 8 kHz up to 96 at 48, more than AAC needs for it.
constexpr int kAacBitsPerSampleRate = 2;
constexpr int kAacLeastBitRate = 24000;

/// Sampling frequency indexes of ISO/IEC 14496-3.
constexpr std::array<std::uint32_t, 13> kAacRates = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                                     22050, 16000, 12000, 11025, 8000,  7350};

}  // namespace

std::array<std::uint8_t, kAdtsBytes> MakeAdtsHeader(std::uint32_t sampleRate, std::size_t unitBytes) {
    const auto found = std::find(kAacRates.begin(), kAacRates.end(), sampleRate);
    const auto index = static_cast<unsigned>(std::distance(kAacRates.begin(), found));
    const auto length = static_cast<unsigned>(unitBytes + kAdtsBytes);
    constexpr unsigned kProfileLc = 1;
    constexpr unsigned kMono = 1;
    return {0xFF,
            0xF1,  // MPEG-4, no checksum
            static_cast<std::uint8_t>(kProfileLc << 6 | (index & 15) << 2 | kMono >> 2),
            static_cast<std::uint8_t>((kMono & 3) << 6 | (length >> 11 & 3)),
            static_cast<std::uint8_t>(length >> 3),
            static_cast<std::uint8_t>((length & 7) << 5 | 0x1F),  // the buffer's fullness is not told
            0xFC};
}

int LevelOf(std::span<const std::int16_t> samples) noexcept {
    int peak = 0;
    for (const std::int16_t sample : samples)
        peak = std::max(peak, std::abs(int{sample}));
    if (peak == 0) return 0;
    constexpr double kFloorDb = 60;
    const double decibels = 20 * std::log10(peak / 32768.0);
    return std::clamp(static_cast<int>(std::lround((decibels + kFloorDb) * 100 / kFloorDb)), 0, 100);
}

bool VoiceEncoder::Open() {
    const int rate = static_cast<int>(m_format.sampleRate);
    if (m_capturedRate != m_format.sampleRate &&
        m_resampler.Initialise(static_cast<int>(m_capturedRate), rate) != codec::Status::kOk)
        return false;
    if (m_format.codec != VoiceCodec::Aac) return true;
    return m_aac.Initialise(rate, std::max(rate * kAacBitsPerSampleRate, kAacLeastBitRate)) ==
           codec::Status::kOk;
}

std::uint32_t VoiceEncoder::DurationUs(std::size_t samples) const {
    return static_cast<std::uint32_t>(std::uint64_t{samples} * kMicroseconds / m_format.sampleRate);
}

void VoiceEncoder::Encode(std::span<const std::int16_t> captured, VoiceBacklog& to) {
    if (m_capturedRate != m_format.sampleRate) {
        if (m_resampler.Convert(captured, &m_resampled) != codec::Status::kOk) return;
        captured = m_resampled;
    }
    if (captured.empty()) return;
    switch (m_format.codec) {
        case VoiceCodec::Pcmu:
            return EncodeMuLaw(captured, to);
        case VoiceCodec::Pcm:
            return EncodePcm(captured, to);
        case VoiceCodec::Aac:
            return EncodeAac(captured, to);
    }
}

void VoiceEncoder::EncodeMuLaw(std::span<const std::int16_t> samples, VoiceBacklog& to) {
    m_packet.resize(samples.size());
    CompressMuLaw(samples.data(), samples.size(), m_packet.data());
    to.Add(m_packet, DurationUs(samples.size()));
}

void VoiceEncoder::EncodePcm(std::span<const std::int16_t> samples, VoiceBacklog& to) {
    m_packet.resize(samples.size() * 2);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const auto bits = static_cast<std::uint16_t>(samples[i]);
        m_packet[2 * i] = static_cast<std::uint8_t>(bits);
        m_packet[2 * i + 1] = static_cast<std::uint8_t>(bits >> 8);
    }
    to.Add(m_packet, DurationUs(samples.size()));
}

void VoiceEncoder::EncodeAac(std::span<const std::int16_t> samples, VoiceBacklog& to) {
    constexpr std::size_t kUnit = codec::AacEncoder::kSamplesPerUnit;
    m_pending.insert(m_pending.end(), samples.begin(), samples.end());
    std::size_t done = 0;
    for (; m_pending.size() - done >= kUnit; done += kUnit) {
        const std::span<const std::int16_t, kUnit> next(m_pending.data() + done, kUnit);
        if (m_aac.Encode(next, &m_unit) != codec::Status::kOk) continue;
        const auto header = MakeAdtsHeader(m_format.sampleRate, m_unit.size());
        m_packet.assign(header.begin(), header.end());
        m_packet.insert(m_packet.end(), m_unit.begin(), m_unit.end());
        to.Add(m_packet, DurationUs(kUnit));
    }
    m_pending.erase(m_pending.begin(), m_pending.begin() + static_cast<std::ptrdiff_t>(done));
}

}  // namespace norix
