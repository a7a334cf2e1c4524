#include "codec/AacConfig.h"

#include <iterator>

#include "util/BitReader.h"

namespace codec {

namespace {

constexpr std::uint32_t kObjectAacLc = 2;
constexpr std::uint32_t kObjectSbr = 5;
constexpr std::uint32_t kObjectPs = 29;
constexpr std::uint32_t kRateExplicit = 15;  ///< the rate follows as a number of 24 bits
constexpr std::uint32_t kSyncExtension = 0x2b7;
constexpr int kMinRate = 7350;
constexpr int kMaxRate = 96000;

constexpr int kRates[] = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                          22050, 16000, 12000, 11025, 8000,  7350};

/// -1 for an index without meaning.
int ReadRate(util::BitReader& bits) {
    const std::uint32_t index = bits.Read(4);
    if (index == kRateExplicit) return static_cast<int>(bits.Read(24));
    return index < std::size(kRates) ? kRates[index] : -1;
}

/// Appends bit fields to zeroed memory that has room for them.
class BitWriter {
  public:
    explicit BitWriter(std::uint8_t* data) : m_data(data) {}
    void Write(std::uint32_t value, int count) {
        for (int i = count - 1; i >= 0; --i, ++m_at) {
            if (value >> i & 1u) m_data[m_at / 8] |= static_cast<std::uint8_t>(0x80u >> m_at % 8);
        }
    }
    std::size_t Bytes() const { return (m_at + 7) / 8; }

  private:
    std::uint8_t* m_data;
    std::size_t m_at = 0;
};

}  // namespace

Status ParseAacConfig(const std::uint8_t* data, std::size_t size, AacConfig* config) {
    if (!data || !config) return Status::kBadArgument;
    util::BitReader bits(data, size);
    std::uint32_t object = bits.Read(5);
    const int rate = ReadRate(bits);
    const std::uint32_t channels = bits.Read(4);
    if (object == kObjectSbr || object == kObjectPs) {
        ReadRate(bits);  // of the replicated band
        object = bits.Read(5);
    }
    const bool shortFrames = bits.ReadFlag();
    const bool dependsOnCore = bits.ReadFlag();
    bits.Skip(1);  // extension flag: no meaning for AAC-LC
    if (bits.Overrun()) return Status::kBadData;
    if (object != kObjectAacLc || shortFrames || dependsOnCore) return Status::kUnsupported;
    if (rate < 0) return Status::kBadData;
    if (rate < kMinRate || rate > kMaxRate) return Status::kUnsupported;
    if (channels != 1 && channels != 2) return Status::kUnsupported;
    config->sampleRate = rate;
    config->channels = static_cast<int>(channels);
    return Status::kOk;
}

std::size_t WritePlainAacConfig(const AacConfig& config,
                                std::array<std::uint8_t, kPlainAacConfigMax>* bytes) {
    bytes->fill(0);
    BitWriter bits(bytes->data());
    bits.Write(kObjectAacLc, 5);
    std::uint32_t index = 0;
    while (index < std::size(kRates) && kRates[index] != config.sampleRate)
        ++index;
    if (index < std::size(kRates)) {
        bits.Write(index, 4);
    } else {
        bits.Write(kRateExplicit, 4);
        bits.Write(static_cast<std::uint32_t>(config.sampleRate), 24);
    }
    bits.Write(static_cast<std::uint32_t>(config.channels), 4);
    bits.Write(0, 3);  // 1024-sample frames, no core coder, no extension
    bits.Write(kSyncExtension, 11);
    bits.Write(kObjectSbr, 5);
    bits.Write(0, 1);
    return bits.Bytes();
}

}  // namespace codec
