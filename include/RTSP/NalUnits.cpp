#include "include/RTSP/NalUnits.h"

#include <algorithm>
#include <array>
#include <optional>

#include "util/H264Syntax.h"

namespace norix {
namespace {

using namespace util::h264;

using Buffer = std::array<std::uint8_t, 256>;

// How many pictures after it all is whole; nothing when the messages say nothing of the kind.
std::optional<std::uint32_t> RecoveryFrames(ByteView nal) {
    Buffer buffer;
    std::optional<std::uint32_t> frames;
    ForEachSeiMessage(Unescape(nal.subspan(1), buffer), [&frames](std::uint32_t type, ByteView payload) {
        if (type != kRecoveryPoint) return false;
        util::BitReader bits(payload.data(), payload.size());
        frames = ReadUe(bits);
        return true;
    });
    return frames;
}

void ReadSlice(ByteView nal, NalContents& contents) {
    contents.slice = true;
    contents.idr = TypeOf(nal[0]) == kIdrSlice;
    Buffer buffer;
    const ByteView header = Unescape(nal.subspan(1, std::min<std::size_t>(nal.size() - 1, 15)), buffer);
    util::BitReader fields(header.data(), header.size());
    // What can't be read counts as the first one: then nothing is left out.
    contents.firstSlice = ReadUe(fields).value_or(0) == 0;
    constexpr std::uint32_t kKinds = 5;  // from there on: all slices of the picture are of that kind
    constexpr std::uint32_t kI = 2, kSI = 4;
    const auto kind = ReadUe(fields);
    contents.intra = kind && (*kind % kKinds == kI || *kind % kKinds == kSI);
}

}  // namespace

std::size_t StartCodeLength(ByteView nal) {
    if (nal.size() < 3 || nal[0] != 0 || nal[1] != 0) return 0;
    if (nal[2] == 1) return 3;
    return nal.size() > 3 && nal[2] == 0 && nal[3] == 1 ? 4 : 0;
}

NalContents ContentsOf(ByteView nal) {
    NalContents contents;
    std::size_t at = StartCodeLength(nal);
    for (bool first = true; at < nal.size(); first = false) {
        const ByteView rest = nal.subspan(at);
        const unsigned type = TypeOf(rest[0]);
        if (type == kSlice || type == kIdrSlice) {
            ReadSlice(rest, contents);
            return contents;
        }
        const std::size_t next = NextStartCode(nal, at);
        if (type == kSps || type == kPps) {
            (type == kSps ? contents.sps : contents.pps) = true;
            contents.parameterSets = next;
        } else if (type == kSei) {
            if (const auto frames = RecoveryFrames(rest.first(next - at))) {
                contents.recoveryPoint = true;
                contents.recoveryFrames = *frames;
            }
        }
        contents.onlyDelimiter = first && type == kDelimiter && next == nal.size();
        at = next + 3;
    }
    return contents;
}

}  // namespace norix
