// How H.265's units become pictures.

#include <gmock/gmock.h>

#include "include/RTSP/AccessUnitAssembler.h"

namespace norix {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Outcome = AccessUnitAssembler::Outcome;
using testing::ElementsAreArray;

Bytes Concat(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

const Bytes kStart{0, 0, 0, 1};
const Bytes kVps{0x40, 1, 7}, kSps{0x42, 1, 8}, kPps{0x44, 1, 9}, kDelimiter{0x46, 1, 0x50};
const Bytes kIdr{0x26, 1, 0xAF}, kIdrNext{0x26, 1, 0x2F}, kCra{0x2A, 1, 0xAF};
const Bytes kFirst{0x02, 1, 0xD0}, kNext{0x02, 1, 0x50};  // the high bit: a picture's first slice
const Bytes kMessage{0x4E, 1, 5, 1, 9, 0x80}, kSuffix{0x50, 1, 5, 1, 9, 0x80};
const Bytes kRecoveryLater{0x4E, 1, 6, 1, 0x24, 0x80}, kRecoveryNow{0x4E, 1, 6, 1, 0xE0, 0x80};

TEST(AccessUnit, OfH265IsAWholePicture) {
    for (const auto& [nal, begins] :
         std::initializer_list<std::pair<Bytes, bool>>{{kVps, true},
                                                       {kSps, true},
                                                       {kPps, true},
                                                       {kDelimiter, true},
                                                       {kMessage, true},
                                                       {kFirst, true},
                                                       {kIdr, true},
                                                       {Concat({kStart, kFirst}), true},
                                                       {kNext, false},
                                                       {kIdrNext, false},
                                                       {kSuffix, false},
                                                       {{0x48, 1}, false},
                                                       {{0x02}, false},
                                                       {{}, false}})
        EXPECT_EQ(BeginsPicture(nal), begins) << testing::PrintToString(nal);

    struct Case {
        const char* what;
        std::vector<Bytes> units;
        Outcome outcome;
    };
    const Case cases[] = {
        {"two slices", {kIdr, kIdrNext}, Outcome::KeyFrame},
        {"an open group", {kDelimiter, kMessage, kCra}, Outcome::KeyFrame},
        {"a picture that builds on others", {kFirst, kNext, kSuffix}, Outcome::OtherFrame},
        {"recovery by and by", {kRecoveryLater, kFirst}, Outcome::KeyFrame},
        {"a recovery point that tells nothing", {kRecoveryNow, kFirst}, Outcome::OtherFrame},
        {"all in one unit", {Concat({kVps, kStart, kSps, kStart, kPps, kStart, kIdr})}, Outcome::KeyFrame},
        {"without its beginning", {kIdrNext}, Outcome::Skipped},
        {"nothing but messages", {kMessage}, Outcome::Waiting},
    };
    for (const Case& c : cases) {
        AccessUnitAssembler assembler(1000, NalSyntax::H265);
        for (const Bytes& unit : c.units)
            EXPECT_EQ(assembler.Append(unit), Outcome::Waiting) << c.what;
        EXPECT_EQ(assembler.Finish(), c.outcome) << c.what;
        assembler.Append(kFirst);
        EXPECT_EQ(assembler.Finish(), Outcome::OtherFrame) << "the next one: " << c.what;
        EXPECT_EQ(assembler.Finish(), Outcome::Waiting) << "once: " << c.what;
    }

    AccessUnitAssembler assembler(60, NalSyntax::H265);
    const Bytes sets = Concat({kStart, kVps, kStart, kSps, kStart, kPps});
    for (const Bytes& set : {kVps, kSps, kPps})
        assembler.Append(set);
    assembler.RememberAsHeader();
    assembler.Append(kIdr);
    ASSERT_EQ(assembler.Finish(), Outcome::KeyFrame);
    assembler.Append(kDelimiter);
    assembler.Append(kSps);  // one of three is not enough
    assembler.Append(kCra);
    assembler.Append(kIdrNext);
    ASSERT_EQ(assembler.Finish(), Outcome::KeyFrame);
    EXPECT_THAT(
        assembler.Unit(),
        ElementsAreArray(Concat({kStart, kDelimiter, sets, kStart, kSps, kStart, kCra, kStart, kIdrNext})));
    // What doesn't fit goes with the whole picture, and with those that build on it.
    Bytes large(50, 0x55);
    std::copy(kNext.begin(), kNext.end(), large.begin());
    assembler.Append(kFirst);
    EXPECT_EQ(assembler.Append(large), Outcome::Overflow);
    EXPECT_EQ(assembler.Finish(), Outcome::Skipped);
    assembler.Append(kFirst);
    EXPECT_EQ(assembler.Finish(), Outcome::Skipped);
    assembler.Append(kIdr);
    EXPECT_EQ(assembler.Finish(), Outcome::KeyFrame);
    assembler.Append(kFirst);
    assembler.Discard();
    EXPECT_EQ(assembler.Finish(), Outcome::Waiting);
}

}  // namespace
}  // namespace norix
