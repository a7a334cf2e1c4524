#include "include/RTSP/NalUnits.h"

#include <algorithm>
#include <array>
#include <optional>

#include "util/H265Syntax.h"

namespace norix {
namespace {

namespace h264 = util::h264;
namespace h265 = util::h265;

using Buffer = std::array<std::uint8_t, 256>;

// How many pictures after it all is whole; nothing when the messages say nothing of the kind. H.265 counts
// with a sign, and writes 1 as 1, -1 as 2, 2 as 3.
std::optional<std::uint32_t> RecoveryFrames(NalSyntax syntax, ByteView messages) {
    Buffer buffer;
    std::optional<std::uint32_t> frames;
    h264::ForEachSeiMessage(h264::Unescape(messages, buffer), [&](std::uint32_t type, ByteView payload) {
        if (type != h264::kRecoveryPoint) return false;
        util::BitReader bits(payload.data(), payload.size());
        frames = h264::ReadUe(bits);
        if (frames && syntax == NalSyntax::H265) frames = *frames % 2 != 0 ? *frames / 2 + 1 : 0;
        return true;
    });
    return frames;
}

void ReadSlice(ByteView nal, NalContents& contents) {
    contents.slice = true;
    contents.idr = h264::TypeOf(nal[0]) == h264::kIdrSlice;
    Buffer buffer;
    const ByteView header = h264::Unescape(nal.subspan(1, std::min<std::size_t>(nal.size() - 1, 15)), buffer);
    util::BitReader fields(header.data(), header.size());
    // What can't be read counts as the first one: then nothing is left out.
    contents.firstSlice = h264::ReadUe(fields).value_or(0) == 0;
    constexpr std::uint32_t kKinds = 5;  // from there on: all slices of the picture are of that kind
    constexpr std::uint32_t kI = 2, kSI = 4;
    const auto kind = h264::ReadUe(fields);
    contents.intra = kind && (*kind % kKinds == kI || *kind % kKinds == kSI);
}

void ReadH265Slice(ByteView nal, NalContents& contents) {
    contents.slice = true;
    contents.idr = h265::IsIrap(h265::TypeOf(nal[0]));
    const auto begin = h265::ReadSliceBegin(nal);
    contents.firstSlice = !begin || begin->firstOfPicture;
}

// What the unit is in terms of both standards.
struct Kind {
    bool slice;
    bool vps;
    bool sps;
    bool pps;
    bool sei;
    bool delimiter;
};
Kind KindOf(NalSyntax syntax, std::uint8_t header) {
    if (syntax == NalSyntax::H265) {
        const unsigned type = h265::TypeOf(header);
        return {h265::IsSlice(type), type == h265::kVps,       type == h265::kSps,
                type == h265::kPps,  type == h265::kPrefixSei, type == h265::kDelimiter};
    }
    const unsigned type = h264::TypeOf(header);
    return {type == h264::kSlice || type == h264::kIdrSlice,
            false,
            type == h264::kSps,
            type == h264::kPps,
            type == h264::kSei,
            type == h264::kDelimiter};
}

}  // namespace

std::size_t StartCodeLength(ByteView nal) {
    if (nal.size() < 3 || nal[0] != 0 || nal[1] != 0) return 0;
    if (nal[2] == 1) return 3;
    return nal.size() > 3 && nal[2] == 0 && nal[3] == 1 ? 4 : 0;
}

NalContents ContentsOf(NalSyntax syntax, ByteView nal) {
    NalContents contents;
    const std::size_t header = syntax == NalSyntax::H265 ? h265::kHeaderSize : 1;
    std::size_t at = StartCodeLength(nal);
    for (bool first = true; at < nal.size(); first = false) {
        const ByteView rest = nal.subspan(at);
        const Kind kind = KindOf(syntax, rest[0]);
        if (kind.slice) {
            syntax == NalSyntax::H265 ? ReadH265Slice(rest, contents) : ReadSlice(rest, contents);
            return contents;
        }
        const std::size_t next = h264::NextStartCode(nal, at);
        contents.vps = contents.vps || kind.vps;
        contents.sps = contents.sps || kind.sps;
        contents.pps = contents.pps || kind.pps;
        if (kind.vps || kind.sps || kind.pps) contents.parameterSets = next;
        if (kind.sei && next - at > header) {
            if (const auto frames = RecoveryFrames(syntax, rest.subspan(header, next - at - header))) {
                contents.recoveryPoint = true;
                contents.recoveryFrames = *frames;
            }
        }
        contents.onlyDelimiter = first && kind.delimiter && next == nal.size();
        at = next + 3;
    }
    return contents;
}

bool BeginsPicture(ByteView nal) {
    nal = nal.subspan(StartCodeLength(nal));
    if (nal.empty()) return false;
    const unsigned type = h265::TypeOf(nal[0]);
    if (!h265::IsSlice(type)) return h265::BeginsPicture(type);
    const auto begin = h265::ReadSliceBegin(nal);
    return begin && begin->firstOfPicture;
}

}  // namespace norix
