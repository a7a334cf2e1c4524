#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "codec/Status.h"

namespace codec {

// The part of H.264 and H.265 (clauses 7.3 of both) that has to be known before a decoder may see the stream,
// or a file can say how large its pictures are. Input is Annex B.

enum class NalCodec { kH264, kH265 };
enum class SetType { kNone, kVps, kSps, kPps };

/// Sequence parameter set: what the pictures that refer to it are like.
struct NalSps {
    int id = 0;
    int width = 0;  ///< as shown, without what is cut off
    int height = 0;
    std::uint64_t decoding = 0;  ///< a checksum of all that decoding depends on: no colours, no timing
};

/// Reads the set whose NAL header byte is at `nal`. kBadData when truncated or senseless, kUnsupported for
/// sizes beyond kMaxDimension and for pictures most of which is cut off; the size is set then, too, unless it
/// is beyond all sense.
Status ParseSps(NalCodec codec, const std::uint8_t* nal, std::size_t size, NalSps* sps);

/// What an access unit, or a piece of one, is made of, up to its first slice.
struct NalUnit {
    struct Nal {
        const std::uint8_t* data = nullptr;  ///< its header byte
        std::size_t size = 0;
    };
    static constexpr std::size_t kMostSets = 16;

    Nal sets[kMostSets];  ///< its first parameter sets; a unit with more is no sane one
    std::size_t setCount = 0;
    Nal slice;                   ///< none: data is null
    bool key = false;            ///< begins a picture that needs no other: IDR, H.265 IRAP
    bool begins = false;         ///< its first slice is a picture's first
    bool continues = false;      ///< its first slice is a later one: the unit is a piece of a picture
    bool unreferenced = false;   ///< H.265: no picture of its temporal layer refers to its picture
    unsigned temporalLayer = 0;  ///< H.265: pictures of lower layers don't refer to its picture
};
NalUnit InspectUnit(NalCodec codec, const std::uint8_t* data, std::size_t size);

/// The latest parameter sets of a stream, one of each kind and number. They outlive decoders: a camera may
/// send them once.
class ParameterSets {
  public:
    explicit ParameterSets(NalCodec codec) : m_codec(codec) {}

    /// Keeps the unit's sets. kUnsupported, and nothing kept, when one announces a size that nothing here
    /// decodes; damaged ones are passed over; kOutOfMemory.
    Status Take(const NalUnit& unit);

    /// Another value when what decoding depends on has changed in a sequence parameter set, or one was added.
    std::uint64_t Decoding() const;

    /// The set that the unit's first slice refers to; null when there is no slice, or the sets are not known.
    const NalSps* SpsOf(const NalUnit& unit) const;

    /// All of them as Annex B, those that others refer to first. Throws std::bad_alloc.
    std::vector<std::uint8_t> AnnexB() const;

  private:
    struct Set {
        SetType type = SetType::kNone;
        int id = 0;
        NalSps sps;     ///< of a sequence parameter set
        int spsId = 0;  ///< of a picture parameter set
        std::vector<std::uint8_t> nal;
    };
    const Set* Find(SetType type, int id) const;
    std::optional<std::uint32_t> PpsOf(NalUnit::Nal slice) const;
    bool Identify(NalUnit::Nal nal, Set* set) const;

    const NalCodec m_codec;
    std::vector<Set> m_sets;
};

}  // namespace codec
