#include "codec/Mpeg4Headers.h"

#include <bit>

#include "codec/Picture.h"
#include "util/BitReader.h"

namespace codec {

namespace {

constexpr std::size_t kStartCodeBytes = 4;
constexpr std::uint8_t kFirstVolCode = 0x20;
constexpr std::uint8_t kLastVolCode = 0x2f;
constexpr std::uint8_t kVopCode = 0xb6;

constexpr std::uint32_t kAspectExtended = 15;
constexpr std::uint32_t kShapeRectangular = 0;
constexpr std::size_t kVbvBits = 79;

}  // namespace

Mpeg4Layout FindMpeg4Headers(const std::uint8_t* data, std::size_t size) {
    Mpeg4Layout layout;
    for (std::size_t at = 0; at + kStartCodeBytes <= size; ++at) {
        if (data[at] != 0 || data[at + 1] != 0 || data[at + 2] != 1) continue;
        const std::uint8_t code = data[at + 3];
        if (code >= kFirstVolCode && code <= kLastVolCode && layout.vol == Mpeg4Layout::kNone)
            layout.vol = at;
        if (code == kVopCode && at + kStartCodeBytes < size) {
            layout.vop = at;
            layout.vopType = static_cast<Mpeg4VopType>(data[at + kStartCodeBytes] >> 6);
            break;
        }
    }
    return layout;
}

Status ParseMpeg4Vol(const std::uint8_t* data, std::size_t size, Mpeg4Vol* vol) {
    util::BitReader bits(data, size);
    Mpeg4Vol found;
    bits.Skip(kStartCodeBytes * 8);
    bits.Skip(1 + 8);                   // random_accessible_vol, video_object_type_indication
    if (bits.ReadFlag()) bits.Skip(7);  // video_object_layer_verid and priority
    found.aspect = static_cast<int>(bits.Read(4));
    if (found.aspect == static_cast<int>(kAspectExtended)) {
        found.aspectWidth = static_cast<int>(bits.Read(8));
        found.aspectHeight = static_cast<int>(bits.Read(8));
    }
    if (bits.ReadFlag()) {  // vol_control_parameters
        bits.Skip(2 + 1);   // chroma_format, low_delay
        if (bits.ReadFlag()) bits.Skip(kVbvBits);
    }
    const std::uint32_t shape = bits.Read(2);
    if (bits.Overrun()) return Status::kBadData;
    if (shape != kShapeRectangular) return Status::kUnsupported;
    bits.Skip(1);  // marker
    const std::uint32_t resolution = bits.Read(16);
    if (resolution == 0) return Status::kBadData;
    bits.Skip(1);  // marker
    // fixed_vop_time_increment takes as many bits as the numbers below the resolution need, at least one.
    if (bits.ReadFlag())
        bits.Skip(resolution > 1 ? static_cast<std::size_t>(std::bit_width(resolution - 1)) : 1);
    bits.Skip(1);  // marker
    found.width = static_cast<int>(bits.Read(13));
    bits.Skip(1);  // marker
    found.height = static_cast<int>(bits.Read(13));
    bits.Skip(1);  // marker
    found.interlaced = bits.ReadFlag();
    if (bits.Overrun() || found.width < 1 || found.height < 1) return Status::kBadData;
    if (found.width > kMaxDimension || found.height > kMaxDimension) return Status::kUnsupported;
    *vol = found;
    return Status::kOk;
}

}  // namespace codec
