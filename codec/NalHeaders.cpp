#include "codec/NalHeaders.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "codec/H264Headers.h"
#include "codec/H265Headers.h"
#include "codec/NalPayload.h"
#include "util/H265Syntax.h"

namespace codec {

namespace {

namespace h264 = util::h264;
namespace h265 = util::h265;
using util::BitReader;

// A stream has one or two of each; more than this only a hostile one.
constexpr std::size_t kMostKept = 64;

constexpr std::size_t HeaderSize(NalCodec codec) {
    return codec == NalCodec::kH265 ? h265::kHeaderSize : 1;
}

/// What a unit is, in terms of both standards.
struct NalKind {
    SetType set = SetType::kNone;
    bool slice = false;
    bool key = false;
    bool unreferenced = false;
};
NalKind KindOf(NalCodec codec, std::uint8_t header) {
    NalKind kind;
    if (codec == NalCodec::kH265) {
        const unsigned type = h265::TypeOf(header);
        kind.set = type == h265::kVps   ? SetType::kVps
                   : type == h265::kSps ? SetType::kSps
                   : type == h265::kPps ? SetType::kPps
                                        : SetType::kNone;
        kind.slice = h265::IsSlice(type);
        kind.key = h265::IsIrap(type);
        kind.unreferenced = h265::IsUnreferenced(type);
    } else {
        const unsigned type = h264::TypeOf(header);
        kind.set = type == h264::kSps ? SetType::kSps : type == h264::kPps ? SetType::kPps : SetType::kNone;
        kind.slice = type >= h264::kSlice && type <= h264::kIdrSlice;
        kind.key = type == h264::kIdrSlice;
    }
    return kind;
}

}  // namespace

Status ParseSps(NalCodec codec, const std::uint8_t* nal, std::size_t size, NalSps* sps) {
    return codec == NalCodec::kH265 ? ParseH265Sps(nal, size, sps) : ParseH264Sps(nal, size, sps);
}

NalUnit InspectUnit(NalCodec codec, const std::uint8_t* data, std::size_t size) {
    NalUnit unit;
    NalUnit::Nal* open = nullptr;
    const auto close = [&](std::size_t end) {
        if (!open) return;
        open->size = static_cast<std::size_t>(data + end - open->data);
        // Zeros before a start code belong to neither.
        while (open->size > 1 && open->data[open->size - 1] == 0)
            --open->size;
        open = nullptr;
    };
    for (std::size_t at = 0; at + 3 < size; ++at) {
        if (data[at] != 0 || data[at + 1] != 0 || data[at + 2] != 1) continue;
        close(at);
        const std::uint8_t* const nal = data + at + 3;
        const NalKind kind = KindOf(codec, *nal);
        if (kind.set != SetType::kNone && unit.setCount < NalUnit::kMostSets) {
            open = &unit.sets[unit.setCount++];
            open->data = nal;
        }
        // Parameter sets precede the slices, which are long.
        if (kind.slice) {
            unit.slice = {nal, size - at - 3};
            // A slice's header begins with the number of its first macroblock, 0 being the single bit 1, or
            // with a flag.
            const std::size_t header = HeaderSize(codec);
            unit.begins = unit.slice.size > header && (nal[header] & 0x80) != 0;
            unit.continues = !unit.begins;
            unit.key = unit.begins && kind.key;
            unit.unreferenced = kind.unreferenced;
            if (codec == NalCodec::kH265 && unit.slice.size > 1)
                unit.temporalLayer = h265::TemporalLayerOf(nal[1]);
            break;
        }
        at += 3;
    }
    close(size);
    return unit;
}

const ParameterSets::Set* ParameterSets::Find(SetType type, int id) const {
    const auto found = std::find_if(m_sets.begin(), m_sets.end(),
                                    [=](const Set& set) { return set.type == type && set.id == id; });
    return found == m_sets.end() ? nullptr : &*found;
}

/// Reads which one `nal` is; false for a damaged one.
bool ParameterSets::Identify(NalUnit::Nal nal, Set* set) const {
    constexpr std::uint32_t kMostPpsIds = 256;
    if (nal.size <= HeaderSize(m_codec)) return false;
    set->type = KindOf(m_codec, nal.data[0]).set;
    if (set->type == SetType::kSps) {
        if (ParseSps(m_codec, nal.data, nal.size, &set->sps) != Status::kOk) return false;
        set->id = set->sps.id;
        return true;
    }
    const NalPayload payload({nal.data, nal.size}, HeaderSize(m_codec));
    BitReader bits = payload.Bits();
    if (set->type == SetType::kVps) {
        set->id = static_cast<int>(bits.Read(4));
        return true;
    }
    const std::uint32_t id = Ue(bits);
    const std::uint32_t spsId = Ue(bits);
    if (bits.Overrun() || id >= kMostPpsIds || spsId >= kMostPpsIds) return false;
    set->id = static_cast<int>(id);
    set->spsId = static_cast<int>(spsId);
    return true;
}

Status ParameterSets::Take(const NalUnit& unit) try {
    for (std::size_t i = 0; i < unit.setCount; ++i) {
        NalSps sps;
        if (ParseSps(m_codec, unit.sets[i].data, unit.sets[i].size, &sps) == Status::kUnsupported)
            return Status::kUnsupported;
    }
    for (std::size_t i = 0; i < unit.setCount; ++i) {
        const NalUnit::Nal& nal = unit.sets[i];
        if (nal.size > kMostParameterSetBytes) continue;
        const auto same = [&](const Set& set) {
            return set.nal.size() == nal.size && std::memcmp(set.nal.data(), nal.data, nal.size) == 0;
        };
        if (std::any_of(m_sets.begin(), m_sets.end(), same)) continue;
        Set set;
        if (!Identify(nal, &set)) continue;
        set.nal.assign(nal.data, nal.data + nal.size);
        std::erase_if(m_sets, [&](const Set& old) { return old.type == set.type && old.id == set.id; });
        if (m_sets.size() == kMostKept) m_sets.erase(m_sets.begin());
        m_sets.push_back(std::move(set));
    }
    return Status::kOk;
} catch (const std::bad_alloc&) {
    return Status::kOutOfMemory;
}

std::uint64_t ParameterSets::Decoding() const {
    std::uint64_t sum = 0;  // whatever their order
    for (const Set& set : m_sets) {
        if (set.type == SetType::kSps) sum += set.sps.decoding;
    }
    return sum;
}

/// The number of the picture parameter set that a slice refers to.
std::optional<std::uint32_t> ParameterSets::PpsOf(NalUnit::Nal slice) const {
    if (m_codec == NalCodec::kH265) {
        const auto begin = h265::ReadSliceBegin({slice.data, slice.size});
        return begin ? std::optional(begin->pps) : std::nullopt;
    }
    constexpr std::size_t kHeaderEnough = 16;
    const NalPayload payload({slice.data, std::min(slice.size, kHeaderEnough)}, HeaderSize(m_codec));
    BitReader bits = payload.Bits();
    Ue(bits);  // first macroblock
    Ue(bits);  // slice type
    const std::uint32_t id = Ue(bits);
    return bits.Overrun() ? std::nullopt : std::optional(id);
}

const NalSps* ParameterSets::SpsOf(const NalUnit& unit) const {
    if (!unit.slice.data) return nullptr;
    const auto id = PpsOf(unit.slice);
    const Set* const pps = id ? Find(SetType::kPps, static_cast<int>(*id)) : nullptr;
    const Set* const sps = pps ? Find(SetType::kSps, pps->spsId) : nullptr;
    return sps ? &sps->sps : nullptr;
}

std::vector<std::uint8_t> ParameterSets::AnnexB() const {
    constexpr std::uint8_t kStartCode[] = {0, 0, 0, 1};
    std::vector<std::uint8_t> stream;
    for (const SetType type : {SetType::kVps, SetType::kSps, SetType::kPps}) {
        for (const Set& set : m_sets) {
            if (set.type != type) continue;
            stream.insert(stream.end(), std::begin(kStartCode), std::end(kStartCode));
            stream.insert(stream.end(), set.nal.begin(), set.nal.end());
        }
    }
    return stream;
}

}  // namespace codec
