#include "codec/H264Headers.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "codec/Picture.h"
#include "util/H264Syntax.h"

namespace codec {

namespace {

using namespace util::h264;
using util::BitReader;

// Longer ones are taken for damage.
constexpr std::size_t kMostSetBytes = 1024;
// A stream has one or two of each; more than this only a hostile one.
constexpr std::size_t kMostKept = 64;

constexpr int kMacroblock = 16;
/// A picture of which less than that is shown is one that only costs memory.
constexpr std::uint64_t LeastShown(std::uint64_t decoded) {
    constexpr std::uint64_t kAlways = 64;  // what whole macroblocks may leave over
    return decoded <= kAlways ? 0 : (decoded - kAlways) / 2;
}

constexpr std::uint64_t kChecksumFactor = 1'099'511'628'211u;

/// The bits of a NAL unit behind its header, without emulation prevention; as much as fits.
class Payload {
  public:
    Payload(const std::uint8_t* nal, std::size_t size)
        : m_size(Unescape({nal + 1, size - 1}, m_bytes).size()) {}
    BitReader Bits() const { return {m_bytes, m_size}; }
    /// Of the first `bits`; FNV-1a.
    std::uint64_t Checksum(std::size_t bits) const {
        std::uint64_t sum = 14'695'981'039'346'656'037u;
        for (BitReader reader = Bits(); reader.Position() < bits;) {
            const std::size_t left = bits - reader.Position();
            sum = (sum ^ reader.Read(static_cast<int>(std::min<std::size_t>(left, 8)))) * kChecksumFactor;
        }
        return sum;
    }

  private:
    std::uint8_t m_bytes[kMostSetBytes];
    const std::size_t m_size;
};

/// 0xffffffff for what can't be read, which no field of a parameter set may hold.
std::uint32_t Ue(BitReader& bits) {
    return ReadUe(bits).value_or(0xffffffff);
}

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

Status ParseH264Sps(const std::uint8_t* nal, std::size_t size, H264Sps* sps) {
    constexpr std::uint32_t kMostIds = 32;
    constexpr std::uint32_t kMostMacroblocks = 1u << 16;
    if (size == 0 || size > kMostSetBytes || TypeOf(nal[0]) != kSps) return Status::kBadData;
    const Payload payload(nal, size);
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
    // What is decoded takes the memory, not what is shown of it.
    if (width - cutWidth > kMaxDimension || height - cutHeight > kMaxDimension) return Status::kUnsupported;
    if (width - cutWidth < LeastShown(width) || height - cutHeight < LeastShown(height))
        return Status::kUnsupported;
    return Status::kOk;
}

H264Unit InspectH264(const std::uint8_t* data, std::size_t size) {
    H264Unit unit;
    H264Unit::Nal* open = nullptr;
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
        const unsigned type = TypeOf(*nal);
        if ((type == kSps || type == kPps) && unit.setCount < H264Unit::kMostSets) {
            open = &unit.sets[unit.setCount++];
            open->data = nal;
        }
        // Parameter sets precede the slices, which are long.
        if (type >= kSlice && type <= kIdrSlice) {
            unit.slice = {nal, size - at - 3};
            // A slice's header begins with the number of its first macroblock, 0 being the single bit 1.
            unit.begins = unit.slice.size > 1 && (nal[1] & 0x80) != 0;
            unit.continues = !unit.begins;
            unit.idr = unit.begins && type == kIdrSlice;
            break;
        }
        at += 3;
    }
    close(size);
    return unit;
}

const H264ParameterSets::Set* H264ParameterSets::Find(unsigned type, int id) const {
    const auto found = std::find_if(m_sets.begin(), m_sets.end(),
                                    [=](const Set& set) { return set.type == type && set.id == id; });
    return found == m_sets.end() ? nullptr : &*found;
}

Status H264ParameterSets::Take(const H264Unit& unit) try {
    constexpr std::uint32_t kMostPpsIds = 256;
    for (std::size_t i = 0; i < unit.setCount; ++i) {
        H264Sps sps;
        if (ParseH264Sps(unit.sets[i].data, unit.sets[i].size, &sps) == Status::kUnsupported)
            return Status::kUnsupported;
    }
    for (std::size_t i = 0; i < unit.setCount; ++i) {
        const H264Unit::Nal& nal = unit.sets[i];
        if (nal.size > kMostSetBytes) continue;
        const auto same = [&](const Set& set) {
            return set.nal.size() == nal.size && std::memcmp(set.nal.data(), nal.data, nal.size) == 0;
        };
        if (std::any_of(m_sets.begin(), m_sets.end(), same)) continue;
        Set set;
        set.type = TypeOf(nal.data[0]);
        if (set.type == kSps) {
            if (ParseH264Sps(nal.data, nal.size, &set.sps) != Status::kOk) continue;
            set.id = set.sps.id;
        } else {
            const Payload payload(nal.data, nal.size);
            BitReader bits = payload.Bits();
            const std::uint32_t id = Ue(bits);
            const std::uint32_t spsId = Ue(bits);
            if (bits.Overrun() || id >= kMostPpsIds || spsId >= kMostPpsIds) continue;
            set.id = static_cast<int>(id);
            set.spsId = static_cast<int>(spsId);
        }
        set.nal.assign(nal.data, nal.data + nal.size);
        std::erase_if(m_sets, [&](const Set& old) { return old.type == set.type && old.id == set.id; });
        if (m_sets.size() == kMostKept) m_sets.erase(m_sets.begin());
        m_sets.push_back(std::move(set));
    }
    return Status::kOk;
} catch (const std::bad_alloc&) {
    return Status::kOutOfMemory;
}

std::uint64_t H264ParameterSets::Decoding() const {
    std::uint64_t sum = 0;  // whatever their order
    for (const Set& set : m_sets) {
        if (set.type == kSps) sum += set.sps.decoding;
    }
    return sum;
}

const H264Sps* H264ParameterSets::SpsOf(const H264Unit& unit) const {
    if (!unit.slice.data) return nullptr;
    constexpr std::size_t kHeaderEnough = 16;
    const Payload payload(unit.slice.data, std::min(unit.slice.size, kHeaderEnough));
    BitReader bits = payload.Bits();
    Ue(bits);  // first macroblock
    Ue(bits);  // slice type
    const std::uint32_t id = Ue(bits);
    if (bits.Overrun()) return nullptr;
    const Set* const pps = Find(kPps, static_cast<int>(id));
    const Set* const sps = pps ? Find(kSps, pps->spsId) : nullptr;
    return sps ? &sps->sps : nullptr;
}

std::vector<std::uint8_t> H264ParameterSets::AnnexB() const {
    constexpr std::uint8_t kStartCode[] = {0, 0, 0, 1};
    std::vector<std::uint8_t> stream;
    for (const unsigned type : {kSps, kPps}) {
        for (const Set& set : m_sets) {
            if (set.type != type) continue;
            stream.insert(stream.end(), std::begin(kStartCode), std::end(kStartCode));
            stream.insert(stream.end(), set.nal.begin(), set.nal.end());
        }
    }
    return stream;
}

}  // namespace codec
