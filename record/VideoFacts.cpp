#include "record/VideoFacts.h"

#include <algorithm>
#include <array>
#include <utility>

#include "codec/Mpeg4Headers.h"
#include "codec/NalHeaders.h"
#include "util/H265Syntax.h"

namespace norix {
namespace {

namespace h265 = util::h265;
using namespace util::h264;
using codec::NalCodec;

constexpr std::size_t kParametersMax = 4096;  // longer ones are no camera's

bool IsNal(VideoCodec codec) {
    return codec == VideoCodec::H264 || codec == VideoCodec::H265;
}

/// What a unit is, in terms of both standards.
enum class Unit { Other, Vps, Sps, Pps, Sei, Slice };
Unit UnitOf(NalCodec codec, std::uint8_t header) {
    if (codec == NalCodec::kH265) {
        const unsigned type = h265::TypeOf(header);
        return h265::IsSlice(type)        ? Unit::Slice
               : type == h265::kVps       ? Unit::Vps
               : type == h265::kSps       ? Unit::Sps
               : type == h265::kPps       ? Unit::Pps
               : type == h265::kPrefixSei ? Unit::Sei
                                          : Unit::Other;
    }
    switch (TypeOf(header)) {
        case kSlice:
        case kPartitionA:
        case kIdrSlice:
            return Unit::Slice;
        case kSps:
            return Unit::Sps;
        case kPps:
            return Unit::Pps;
        case kSei:
            return Unit::Sei;
        default:
            return Unit::Other;
    }
}

// Calls `take(kind, unit, start)` for every NAL unit up to and with the first slice; of that one the
// beginning only, because looking for its end would mean to read the whole picture. `start` is where its
// start code is.
template <class Take>
void ForEachNal(NalCodec codec, RecordBytes frame, Take&& take) {
    constexpr std::size_t kStartCode = 3;
    constexpr std::size_t kSliceBegin = 32;
    std::size_t start = NextStartCode(frame, 0);
    while (start + kStartCode < frame.size()) {
        const std::size_t begin = start + kStartCode;
        const Unit kind = UnitOf(codec, frame[begin]);
        if (kind == Unit::Slice) {
            take(kind, frame.subspan(begin, std::min(kSliceBegin, frame.size() - begin)), start);
            return;
        }
        const std::size_t next = NextStartCode(frame, begin);
        take(kind, frame.subspan(begin, next - begin), start);
        start = next;
    }
}

bool HasRecoveryPoint(NalCodec codec, RecordBytes sei) {
    const std::size_t header = codec == NalCodec::kH265 ? h265::kHeaderSize : 1;
    if (sei.size() <= header) return false;
    std::array<std::uint8_t, 256> plain;
    bool found = false;
    ForEachSeiMessage(Unescape(sei.subspan(header), plain), [&found](std::uint32_t type, RecordBytes) {
        found = type == kRecoveryPoint;
        return found;
    });
    return found;
}

// Of the picture's slice: whether it goes on with the picture before, and needs no other.
struct SliceFacts {
    bool continues = false;
    bool key = false;
    bool intra = false;  // H.264
};
SliceFacts ReadSlice(NalCodec codec, RecordBytes unit) {
    SliceFacts facts;
    if (codec == NalCodec::kH265) {
        const auto begin = h265::ReadSliceBegin(unit);
        facts.continues = begin && !begin->firstOfPicture;
        facts.key = h265::IsIrap(h265::TypeOf(unit[0]));
        return facts;
    }
    std::array<std::uint8_t, 32> plain;
    util::BitReader bits(plain.data(), Unescape(unit.subspan(1), plain).size());
    facts.continues = ReadUe(bits).value_or(0) != 0;
    const unsigned kind = ReadUe(bits).value_or(0) % 5;
    facts.intra = kind == 2 || kind == 4;  // I, SI
    facts.key = TypeOf(unit[0]) == kIdrSlice;
    return facts;
}

VideoFacts InspectNal(NalCodec codec, RecordBytes frame) {
    VideoFacts facts;
    bool vps = codec == NalCodec::kH264;  // which has none
    bool sps = false;
    bool pps = false;
    bool recovery = false;
    SliceFacts slice;
    facts.hasPicture = false;
    ForEachNal(codec, frame, [&](Unit kind, RecordBytes unit, std::size_t) {
        vps = vps || kind == Unit::Vps;
        pps = pps || kind == Unit::Pps;
        if (kind == Unit::Sps) {
            sps = true;
            codec::NalSps parsed;
            if (codec::ParseSps(codec, unit.data(), unit.size(), &parsed) == codec::Status::kBadData) return;
            facts.width = static_cast<std::uint32_t>(parsed.width);
            facts.height = static_cast<std::uint32_t>(parsed.height);
        } else if (kind == Unit::Sei) {
            recovery = recovery || HasRecoveryPoint(codec, unit);
        } else if (kind == Unit::Slice) {
            slice = ReadSlice(codec, unit);
            facts.hasPicture = true;
        }
    });
    facts.hasParameters = sps || pps;
    facts.complete = vps && sps && pps;
    facts.continues = slice.continues;
    if (!facts.hasPicture) {
        // Parameters alone: the picture that they are for comes in the next frame.
        facts.keyFrame = sps;
    } else if (!facts.continues) {
        facts.keyFrame = slice.key || recovery || (sps && slice.intra);
    }
    return facts;
}

VideoFacts InspectMpeg4(RecordBytes frame) {
    VideoFacts facts;
    const codec::Mpeg4Layout layout = codec::FindMpeg4Headers(frame.data(), frame.size());
    facts.hasPicture = layout.vop != codec::Mpeg4Layout::kNone;
    facts.keyFrame = facts.hasPicture && layout.vopType == codec::Mpeg4VopType::kI;
    if (layout.vol != codec::Mpeg4Layout::kNone) {
        facts.hasParameters = facts.complete = true;
        codec::Mpeg4Vol vol;
        if (codec::ParseMpeg4Vol(frame.data() + layout.vol, frame.size() - layout.vol, &vol) ==
            codec::Status::kOk) {
            facts.width = static_cast<std::uint32_t>(vol.width);
            facts.height = static_cast<std::uint32_t>(vol.height);
        }
    }
    return facts;
}

// ITU-T T.81: a frame header is one of C0 to CF that is no table and no extension.
bool IsFrameHeader(std::uint8_t marker) {
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

VideoFacts InspectJpeg(RecordBytes frame) {
    VideoFacts facts;
    facts.keyFrame = facts.complete = true;
    std::size_t at = 2;
    while (at + 4 <= frame.size() && frame[at] == 0xFF) {
        const std::uint8_t marker = frame[at + 1];
        const std::size_t length = static_cast<std::size_t>(frame[at + 2]) << 8 | frame[at + 3];
        if (IsFrameHeader(marker) && at + 9 <= frame.size()) {
            facts.height = static_cast<std::uint32_t>(frame[at + 5]) << 8 | frame[at + 6];
            facts.width = static_cast<std::uint32_t>(frame[at + 7]) << 8 | frame[at + 8];
            break;
        }
        constexpr std::uint8_t kScan = 0xDA;
        if (marker == kScan) break;
        at += marker == 0xFF ? 1 : 2 + length;
    }
    return facts;
}

}  // namespace

VideoFacts InspectVideo(VideoCodec codec, RecordBytes frame) {
    switch (codec) {
        case VideoCodec::H264:
            return InspectNal(NalCodec::kH264, frame);
        case VideoCodec::H265:
            return InspectNal(NalCodec::kH265, frame);
        case VideoCodec::Mpeg4:
            return InspectMpeg4(frame);
        case VideoCodec::Mjpeg:
        case VideoCodec::None:
            break;
    }
    return InspectJpeg(frame);
}

void ParameterSets::Reset() {
    m_codec = VideoCodec::None;
    m_vps.clear();
    m_first.clear();
    m_second.clear();
}

bool ParameterSets::Complete() const {
    return !m_first.empty() && (!IsNal(m_codec) || !m_second.empty()) &&
           (m_codec != VideoCodec::H265 || !m_vps.empty());
}

void ParameterSets::Remember(VideoCodec codec, RecordBytes frame) {
    if (codec != m_codec) {
        Reset();
        m_codec = codec;
    }
    const auto keep = [](RecordBytes bytes, std::vector<std::uint8_t>& to) {
        if (bytes.size() <= kParametersMax) to.assign(bytes.begin(), bytes.end());
    };
    if (codec == VideoCodec::Mpeg4) {
        const codec::Mpeg4Layout layout = codec::FindMpeg4Headers(frame.data(), frame.size());
        if (layout.vol == codec::Mpeg4Layout::kNone) return;
        // Up to the header that follows the layer's: a group's, or the picture's.
        std::size_t end = NextStartCode(frame, layout.vol + 3);
        end = std::min(end, layout.vop);
        keep(frame.first(end), m_first);
    } else if (IsNal(codec)) {
        bool fresh = false;
        const NalCodec syntax = codec == VideoCodec::H265 ? NalCodec::kH265 : NalCodec::kH264;
        ForEachNal(syntax, frame, [&](Unit kind, RecordBytes unit, std::size_t start) {
            if (kind != Unit::Vps && kind != Unit::Sps && kind != Unit::Pps) return;
            // Zeros before the next start code belong to that one.
            std::size_t length = unit.size();
            while (length > 0 && unit[length - 1] == 0)
                --length;
            constexpr std::size_t kStartCode = 3;
            const RecordBytes bytes = frame.subspan(start, kStartCode + length);
            if (kind == Unit::Vps) {
                keep(bytes, m_vps);
                return;
            }
            if (kind == Unit::Sps) {
                keep(bytes, m_first);
                fresh = true;
                return;
            }
            // A stream may have several, in one frame or in pieces: the first behind an SPS is a new
            // beginning.
            if (std::exchange(fresh, false) || m_second.size() + bytes.size() > kParametersMax)
                m_second.clear();
            const auto known = std::search(m_second.begin(), m_second.end(), bytes.begin(), bytes.end());
            if (known == m_second.end() && bytes.size() <= kParametersMax)
                m_second.insert(m_second.end(), bytes.begin(), bytes.end());
        });
    }
}

void ParameterSets::AppendTo(std::vector<std::uint8_t>& frame) const {
    for (const auto* const part : {&m_vps, &m_first, &m_second}) {
        if (part->empty()) continue;
        if (IsNal(m_codec)) frame.push_back(0);
        frame.insert(frame.end(), part->begin(), part->end());
    }
}

}  // namespace norix
