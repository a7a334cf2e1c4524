#pragma once

// What several folders read of H.265's byte and bit streams (ITU-T H.265). Start codes, escapes, numbers and
// supplemental messages are those of H.264. Pure; no length is taken on trust.

#include "util/H264Syntax.h"

namespace util::h265 {

using Bytes = h264::Bytes;
using h264::ForEachSeiMessage;
using h264::NextStartCode;
using h264::ReadUe;
using h264::Unescape;

/// Bytes of a unit's header (7.3.1.2).
inline constexpr std::size_t kHeaderSize = 2;

/// nal_unit_type (table 7-1). Below 32 all are slices or reserved for such.
enum NalType : unsigned {
    kFirstIrap = 16,
    kLastIrap = 23,
    kVps = 32,
    kSps = 33,
    kPps = 34,
    kDelimiter = 35,
    kPrefixSei = 39,
};
constexpr unsigned TypeOf(std::uint8_t firstByte) {
    return firstByte >> 1 & 0x3Fu;
}
constexpr bool IsSlice(unsigned type) {
    return type < kVps;
}
/// Of a picture that needs no other and from which decoding may begin.
constexpr bool IsIrap(unsigned type) {
    return type >= kFirstIrap && type <= kLastIrap;
}
/// No picture of its temporal layer refers to its picture: the even ones below 16.
constexpr bool IsUnreferenced(unsigned type) {
    return type < kFirstIrap && type % 2 == 0;
}
constexpr bool IsParameterSet(unsigned type) {
    return type >= kVps && type <= kPps;
}
/// Whether such a unit, behind a slice, belongs to the next picture (7.4.2.4.4): parameter sets, delimiter,
/// messages before a picture, and what is reserved for the like.
constexpr bool BeginsPicture(unsigned type) {
    return (type >= kVps && type <= kDelimiter) || type == kPrefixSei || (type >= 41 && type <= 44) ||
           (type >= 48 && type <= 55);
}
/// nuh_temporal_id_plus1 - 1; the header's second byte.
constexpr unsigned TemporalLayerOf(std::uint8_t secondByte) {
    return (secondByte & 7u) == 0 ? 0 : (secondByte & 7u) - 1;
}

/// The beginning of a slice segment's header (7.3.6.1).
struct SliceBegin {
    bool firstOfPicture = false;
    std::uint32_t pps = 0;
};
/// `unit` begins with its header. Nothing when it is too short.
inline std::optional<SliceBegin> ReadSliceBegin(Bytes unit) {
    constexpr std::size_t kEnough = 16;
    if (unit.size() <= kHeaderSize) return std::nullopt;
    std::uint8_t buffer[kEnough];
    const std::size_t size = std::min(unit.size() - kHeaderSize, kEnough);
    const Bytes plain = Unescape(unit.subspan(kHeaderSize, size), buffer);
    BitReader bits(plain.data(), plain.size());
    SliceBegin begin;
    begin.firstOfPicture = bits.ReadFlag();
    if (IsIrap(TypeOf(unit[0]))) bits.Skip(1);
    const auto pps = ReadUe(bits);
    if (!pps) return std::nullopt;
    begin.pps = *pps;
    return begin;
}

}  // namespace util::h265
