#include "record/VideoFacts.h"

#include <algorithm>
#include <array>
#include <utility>

#include "codec/H264Headers.h"
#include "codec/Mpeg4Headers.h"
#include "util/H264Syntax.h"

namespace norix {
namespace {

using namespace util::h264;

constexpr std::size_t kParametersMax = 4096;  // longer ones are no camera's

bool IsSlice(unsigned type) {
    return type == kSlice || type == kPartitionA || type == kIdrSlice;
}

// Calls `take(type, unit, start)` for every NAL unit up to and with the first slice; of that one the
// beginning only, because looking for its end would mean to read the whole picture. `start` is where its
// start code is.
template <class Take>
void ForEachNal(RecordBytes frame, Take&& take) {
    constexpr std::size_t kStartCode = 3;
    constexpr std::size_t kSliceBegin = 32;
    std::size_t start = NextStartCode(frame, 0);
    while (start + kStartCode < frame.size()) {
        const std::size_t begin = start + kStartCode;
        const unsigned type = TypeOf(frame[begin]);
        if (IsSlice(type)) {
            take(type, frame.subspan(begin, std::min(kSliceBegin, frame.size() - begin)), start);
            return;
        }
        const std::size_t next = NextStartCode(frame, begin);
        take(type, frame.subspan(begin, next - begin), start);
        start = next;
    }
}

bool HasRecoveryPoint(RecordBytes sei) {
    std::array<std::uint8_t, 256> plain;
    bool found = false;
    ForEachSeiMessage(Unescape(sei.subspan(1), plain), [&found](std::uint32_t type, RecordBytes) {
        found = type == kRecoveryPoint;
        return found;
    });
    return found;
}

VideoFacts InspectH264(RecordBytes frame) {
    VideoFacts facts;
    bool sps = false;
    bool pps = false;
    bool recovery = false;
    bool intra = false;
    unsigned slice = 0;
    ForEachNal(frame, [&](unsigned type, RecordBytes unit, std::size_t) {
        pps = pps || type == kPps;
        if (type == kSps) {
            sps = true;
            codec::H264Sps parsed;
            if (codec::ParseH264Sps(unit.data(), unit.size(), &parsed) == codec::Status::kBadData) return;
            facts.width = static_cast<std::uint32_t>(parsed.width);
            facts.height = static_cast<std::uint32_t>(parsed.height);
        } else if (type == kSei) {
            recovery = recovery || HasRecoveryPoint(unit);
        } else if (IsSlice(type)) {
            std::array<std::uint8_t, 32> plain;
            util::BitReader bits(plain.data(), Unescape(unit.subspan(1), plain).size());
            facts.continues = ReadUe(bits).value_or(0) != 0;
            const unsigned kind = ReadUe(bits).value_or(0) % 5;
            intra = kind == 2 || kind == 4;  // I, SI
            slice = type;
        }
    });
    facts.hasParameters = sps || pps;
    facts.complete = sps && pps;
    facts.hasPicture = slice != 0;
    if (!facts.hasPicture) {
        // Parameters alone: the picture that they are for comes in the next frame.
        facts.keyFrame = sps;
    } else if (!facts.continues) {
        facts.keyFrame = slice == kIdrSlice || recovery || (sps && intra);
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
            return InspectH264(frame);
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
    m_first.clear();
    m_second.clear();
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
    } else if (codec == VideoCodec::H264) {
        bool fresh = false;
        ForEachNal(frame, [&](unsigned type, RecordBytes unit, std::size_t start) {
            if (type != kSps && type != kPps) return;
            // Zeros before the next start code belong to that one.
            std::size_t length = unit.size();
            while (length > 0 && unit[length - 1] == 0)
                --length;
            constexpr std::size_t kStartCode = 3;
            const RecordBytes bytes = frame.subspan(start, kStartCode + length);
            if (type == kSps) {
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
    for (const auto* const part : {&m_first, &m_second}) {
        if (part->empty()) continue;
        if (m_codec == VideoCodec::H264) frame.push_back(0);
        frame.insert(frame.end(), part->begin(), part->end());
    }
}

}  // namespace norix
