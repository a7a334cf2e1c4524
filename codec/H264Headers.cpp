#include "codec/H264Headers.h"

#include <algorithm>

#include "codec/NalPayload.h"

namespace codec {

namespace {

using namespace util::h264;
using util::BitReader;

constexpr int kMacroblock = 16;
std::int64_t ReadSe(BitReader& bits) {
    const std::uint32_t code = Ue(bits);
    const std::int64_t half = code / 2;
    return code % 2 ? half + 1 : -half;
}

void SkipScalingList(BitReader& bits, int size) {
    std::int64_t last = 8;
    std::int64_t next = 8;
    for (int i = 0; i < size; ++i) {
        if (next != 0) next = (last + ReadSe(bits) % 256 + 256) % 256;
        if (next != 0) last = next;
    }
}

void SkipHrd(BitReader& bits) {
    const std::uint32_t count = Ue(bits) + 1;
    bits.Skip(4 + 4);
    for (std::uint32_t i = 0; i < count && !bits.Overrun(); ++i) {
        Ue(bits);
        Ue(bits);
        bits.Skip(1);
    }
    bits.Skip(5 + 5 + 5 + 5);
}

/// Of the usability information (E.1.1), what bounds the order of pictures; 0 where nothing does.
std::uint64_t ReadPictureOrder(BitReader& bits) {
    constexpr std::uint32_t kExtendedAspect = 255;
    if (!bits.ReadFlag()) return 0;
    if (bits.ReadFlag() && bits.Read(8) == kExtendedAspect) bits.Skip(16 + 16);
    if (bits.ReadFlag()) bits.Skip(1);  // overscan
    if (bits.ReadFlag()) {
        bits.Skip(3 + 1);
        if (bits.ReadFlag()) bits.Skip(8 + 8 + 8);  // colours
    }
    if (bits.ReadFlag()) {  // where chroma samples lie
        Ue(bits);
        Ue(bits);
    }
    if (bits.ReadFlag()) bits.Skip(32 + 32 + 1);  // timing
    const bool nal = bits.ReadFlag();
    if (nal) SkipHrd(bits);
    const bool vcl = bits.ReadFlag();
    if (vcl) SkipHrd(bits);
    if (nal || vcl) bits.Skip(1);
    bits.Skip(1);  // each picture's structure is told
    if (!bits.ReadFlag()) return 0;
    bits.Skip(1);
    for (int i = 0; i < 4; ++i)
        Ue(bits);
    const std::uint64_t reordered = Ue(bits);
    const std::uint64_t kept = Ue(bits);
    return bits.Overrun() ? 0 : 1 + (reordered << 32 | kept);
}

bool HasChromaFormat(std::uint32_t profile) {
    constexpr std::uint32_t kProfiles[] = {44, 83, 86, 100, 110, 118, 122, 128, 134, 135, 138, 139, 244};
    return std::binary_search(std::begin(kProfiles), std::end(kProfiles), profile);
}

}  // namespace

Status ParseH264Sps(const std::uint8_t* nal, std::size_t size, NalSps* sps) {
    constexpr std::uint32_t kMostIds = 32;
    constexpr std::uint32_t kMostMacroblocks = 1u << 16;
    if (size == 0 || size > kMostParameterSetBytes || TypeOf(nal[0]) != kSps) return Status::kBadData;
    const NalPayload payload({nal, size}, 1);
    BitReader bits = payload.Bits();
    const std::uint32_t profile = bits.Read(8);
    bits.Skip(8 + 8);  // constraints, level
    const std::uint32_t id = Ue(bits);
    std::uint32_t chroma = 1;
    bool separate = false;
    if (HasChromaFormat(profile)) {
        chroma = Ue(bits);
        if (chroma == 3) separate = bits.ReadFlag();
        Ue(bits);  // bit depths
        Ue(bits);
        bits.Skip(1);           // lossless
        if (bits.ReadFlag()) {  // scaling matrix
            for (int i = 0; i < (chroma == 3 ? 12 : 8); ++i) {
                if (bits.ReadFlag()) SkipScalingList(bits, i < 6 ? 16 : 64);
            }
        }
    }
    Ue(bits);  // bits of frame_num
    const std::uint32_t orderType = Ue(bits);
    if (orderType == 0) {
        Ue(bits);
    } else if (orderType == 1) {
        bits.Skip(1);
        ReadSe(bits);
        ReadSe(bits);
        const std::uint32_t count = Ue(bits);
        for (std::uint32_t i = 0; i < count && !bits.Overrun(); ++i)
            ReadSe(bits);
    }
    Ue(bits);  // reference frames
    bits.Skip(1);
    const std::uint64_t columns = std::uint64_t{Ue(bits)} + 1;
    const std::uint64_t rows = std::uint64_t{Ue(bits)} + 1;
    const bool framesOnly = bits.ReadFlag();
    if (!framesOnly) bits.Skip(1);
    bits.Skip(1);
    std::uint64_t cut[4] = {};  // left, right, top, bottom
    if (bits.ReadFlag()) {
        for (std::uint64_t& edge : cut)
            edge = Ue(bits);
    }
    if (bits.Overrun() || id >= kMostIds || chroma > 3) return Status::kBadData;
    sps->decoding = payload.Checksum(bits.Position());
    sps->decoding ^= ReadPictureOrder(bits) * kChecksumFactor;
    if (columns > kMostMacroblocks || rows > kMostMacroblocks) return Status::kUnsupported;

    const std::uint64_t fields = framesOnly ? 1 : 2;
    const std::uint64_t width = columns * kMacroblock;
    const std::uint64_t height = rows * kMacroblock * fields;
    const bool subsampled = !separate && (chroma == 1 || chroma == 2);
    std::uint64_t cutWidth = (cut[0] + cut[1]) * (subsampled ? 2 : 1);
    std::uint64_t cutHeight = (cut[2] + cut[3]) * (!separate && chroma == 1 ? 2 : 1) * fields;
    if (cutWidth >= width || cutHeight >= height) cutWidth = cutHeight = 0;  // as the decoder takes it
    sps->id = static_cast<int>(id);
    sps->width = static_cast<int>(width - cutWidth);
    sps->height = static_cast<int>(height - cutHeight);
    return BoundsOf(width, height, width - cutWidth, height - cutHeight);
}

}  // namespace codec
