#include "codec/H265Headers.h"

#include "codec/NalPayload.h"
#include "codec/Picture.h"
#include "util/H265Syntax.h"

namespace codec {

namespace {

/// profile_tier_level (7.3.3), which says nothing that matters here.
void SkipProfileAndLevel(util::BitReader& bits, std::uint32_t subLayers) {
    constexpr std::size_t kProfile = 2 + 1 + 5 + 32 + 4 + 43 + 1;
    constexpr std::size_t kLevel = 8;
    constexpr std::uint32_t kMostSubLayers = 8;
    bits.Skip(kProfile + kLevel);
    bool profile[kMostSubLayers] = {};
    bool level[kMostSubLayers] = {};
    for (std::uint32_t i = 0; i < subLayers; ++i) {
        profile[i] = bits.ReadFlag();
        level[i] = bits.ReadFlag();
    }
    if (subLayers > 0) bits.Skip(2 * (kMostSubLayers - subLayers));
    for (std::uint32_t i = 0; i < subLayers; ++i)
        bits.Skip((profile[i] ? kProfile : 0) + (level[i] ? kLevel : 0));
}

}  // namespace

Status ParseH265Sps(const std::uint8_t* nal, std::size_t size, NalSps* sps) {
    constexpr std::uint32_t kMostIds = 16;
    constexpr std::uint32_t kMostSamples = 1u << 16;
    constexpr std::uint32_t kMostSubLayers = 7;
    if (size <= util::h265::kHeaderSize || size > kMostParameterSetBytes ||
        util::h265::TypeOf(nal[0]) != util::h265::kSps)
        return Status::kBadData;
    const NalPayload payload({nal, size}, util::h265::kHeaderSize);
    util::BitReader bits = payload.Bits();
    bits.Skip(4);  // the video parameter set's number
    const std::uint32_t subLayers = bits.Read(3);
    bits.Skip(1);
    if (subLayers >= kMostSubLayers) return Status::kBadData;
    SkipProfileAndLevel(bits, subLayers);
    const std::uint32_t id = Ue(bits);
    const std::uint32_t chroma = Ue(bits);
    const bool separate = chroma == 3 && bits.ReadFlag();
    const std::uint64_t width = Ue(bits);
    const std::uint64_t height = Ue(bits);
    std::uint64_t cut[4] = {};  // left, right, top, bottom
    if (bits.ReadFlag()) {
        for (std::uint64_t& edge : cut)
            edge = Ue(bits);
    }
    if (bits.Overrun() || id >= kMostIds || chroma > 3 || width == 0 || height == 0) return Status::kBadData;
    // All of it: what comes behind, but for colours and timing, is too much to be read for the rare stream
    // that changes nothing else.
    sps->decoding = payload.Checksum(payload.Size() * 8);
    if (width > kMostSamples || height > kMostSamples) return Status::kUnsupported;

    const bool subsampled = !separate && (chroma == 1 || chroma == 2);
    std::uint64_t cutWidth = (cut[0] + cut[1]) * (subsampled ? 2 : 1);
    std::uint64_t cutHeight = (cut[2] + cut[3]) * (!separate && chroma == 1 ? 2 : 1);
    if (cutWidth >= width || cutHeight >= height) cutWidth = cutHeight = 0;  // as the decoder takes it
    sps->id = static_cast<int>(id);
    sps->width = static_cast<int>(width - cutWidth);
    sps->height = static_cast<int>(height - cutHeight);
    return BoundsOf(width, height, width - cutWidth, height - cutHeight);
}

}  // namespace codec
