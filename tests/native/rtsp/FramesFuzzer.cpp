// The pure parts of the sink with whatever a camera may send. The input is a sequence of units: one byte says
// how long the next one is.

#include <algorithm>
#include <cstdlib>

#include "include/RTSP/AccessUnitAssembler.h"
#include "include/RTSP/FrameRules.h"

using namespace norix;

namespace {

using Outcome = AccessUnitAssembler::Outcome;
constexpr std::size_t kCapacity = 300;

// Pictures end where the next one begins; nothing is given out that builds on what was dropped.
void TakeH265(AccessUnitAssembler& assembler, ByteView unit, bool& overflowed) {
    if (assembler.HasPicture() && BeginsPicture(unit)) {
        const Outcome outcome = assembler.Finish();
        if (outcome == Outcome::KeyFrame) overflowed = false;
        if (outcome == Outcome::OtherFrame && overflowed) std::abort();
        if (assembler.Unit().size() > kCapacity || assembler.HasPicture()) std::abort();
    }
    const Outcome outcome = assembler.Append(unit);
    if (outcome == Outcome::Overflow) overflowed = true;
    if (outcome <= Outcome::OtherFrame && outcome != Outcome::Waiting) std::abort();
    if (assembler.Header().empty()) assembler.RememberAsHeader();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    AccessUnitAssembler assembler(kCapacity);
    AccessUnitAssembler h265(kCapacity, NalSyntax::H265);
    bool overflowed = false;
    bool h265Overflowed = false;
    for (ByteView rest(data, size); !rest.empty();) {
        const std::size_t length = std::min<std::size_t>(rest[0], rest.size() - 1);
        const ByteView unit = rest.subspan(1, length);
        rest = rest.subspan(1 + length);
        if (VopCodingType(unit) > 3) std::abort();
        const std::string_view text(reinterpret_cast<const char*>(unit.data()), unit.size());
        if (AacConfigFromText(text).size() != unit.size()) std::abort();

        TakeH265(h265, unit, h265Overflowed);
        const auto outcome = assembler.Append(unit);
        const ByteView whole = assembler.Unit();
        if (whole.size() > kCapacity) std::abort();
        if (outcome == AccessUnitAssembler::Outcome::Overflow) overflowed = true;
        if (outcome == AccessUnitAssembler::Outcome::KeyFrame) overflowed = false;
        // Nothing that builds on what was dropped, and each unit is given out whole.
        if (outcome == AccessUnitAssembler::Outcome::OtherFrame && overflowed) std::abort();
        const ByteView nal = unit.subspan(StartCodeLength(unit));
        if (outcome <= AccessUnitAssembler::Outcome::OtherFrame && !nal.empty() &&
            (nal.size() > whole.size() || !std::equal(nal.rbegin(), nal.rend(), whole.rbegin())))
            std::abort();
        for (const NalSyntax syntax : {NalSyntax::H264, NalSyntax::H265}) {
            if (ContentsOf(syntax, unit).parameterSets > unit.size()) std::abort();
        }
        if (outcome == AccessUnitAssembler::Outcome::Waiting && assembler.Header().empty())
            assembler.RememberAsHeader();
    }
    return 0;
}
