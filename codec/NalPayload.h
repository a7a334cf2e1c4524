#pragma once

// What readers of H.264's and H.265's parameter sets share. Internal to codec/.

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "codec/Picture.h"
#include "codec/Status.h"
#include "util/H264Syntax.h"

namespace codec {

/// Longer ones are taken for damage.
inline constexpr std::size_t kMostParameterSetBytes = 1024;

inline constexpr std::uint64_t kChecksumFactor = 1'099'511'628'211u;

/// A picture of which less than that is shown is one that only costs memory.
inline constexpr std::uint64_t LeastShown(std::uint64_t decoded) {
    constexpr std::uint64_t kAlways = 64;  // what whole macroblocks may leave over
    return decoded <= kAlways ? 0 : (decoded - kAlways) / 2;
}
/// Whether a picture of which so much is decoded, and shown, can be: what is decoded takes the memory.
inline Status BoundsOf(std::uint64_t width, std::uint64_t height, std::uint64_t shownWidth,
                       std::uint64_t shownHeight) {
    const bool fits = shownWidth <= kMaxDimension && shownHeight <= kMaxDimension;
    const bool worth = shownWidth >= LeastShown(width) && shownHeight >= LeastShown(height);
    return fits && worth ? Status::kOk : Status::kUnsupported;
}

/// The bits of a NAL unit behind its header, without emulation prevention; as much as fits.
class NalPayload {
  public:
    /// `unit` is longer than its header.
    NalPayload(util::h264::Bytes unit, std::size_t headerSize)
        : m_size(util::h264::Unescape(unit.subspan(headerSize), m_bytes).size()) {}
    util::BitReader Bits() const { return {m_bytes, m_size}; }
    std::size_t Size() const { return m_size; }
    /// Of the first `bits`; FNV-1a.
    std::uint64_t Checksum(std::size_t bits) const {
        std::uint64_t sum = 14'695'981'039'346'656'037u;
        for (util::BitReader reader = Bits(); reader.Position() < bits;) {
            const std::size_t left = bits - reader.Position();
            sum = (sum ^ reader.Read(static_cast<int>(std::min<std::size_t>(left, 8)))) * kChecksumFactor;
        }
        return sum;
    }

  private:
    std::uint8_t m_bytes[kMostParameterSetBytes];
    const std::size_t m_size;
};

/// 0xffffffff for what can't be read, which no field of a parameter set may hold.
inline std::uint32_t Ue(util::BitReader& bits) {
    return util::h264::ReadUe(bits).value_or(0xffffffff);
}

}  // namespace codec
