// The pure rules by which frames get the form that decoders expect.

#include <gmock/gmock.h>

#include "include/RTSP/AccessUnitAssembler.h"
#include "include/RTSP/FrameRules.h"
#include "include/RTSP/PushDescription.h"

namespace norix {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Outcome = AccessUnitAssembler::Outcome;
using testing::ElementsAre;
using testing::ElementsAreArray;

Bytes Concat(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

const Bytes kStart{0, 0, 0, 1};
const Bytes kSps{0x67, 1}, kPps{0x68, 2}, kIdr{0x65, 3}, kSlice{0x41, 4};

TEST(AccessUnit, IsAllUpToASlice) {
    AccessUnitAssembler assembler(1000);
    EXPECT_EQ(assembler.Append(kSps), Outcome::Waiting);
    EXPECT_EQ(assembler.Append(kPps), Outcome::Waiting);
    EXPECT_EQ(assembler.Append({}), Outcome::Waiting);
    EXPECT_EQ(assembler.Append(kIdr), Outcome::KeyFrame);
    EXPECT_THAT(assembler.Unit(), ElementsAreArray(Concat({kStart, kSps, kStart, kPps, kStart, kIdr})));
    EXPECT_EQ(assembler.Append(kSlice), Outcome::OtherFrame);
    EXPECT_THAT(assembler.Unit(), ElementsAreArray(Concat({kStart, kSlice})));
}

// Slice headers: the first bit says whether it is the picture's first slice, then comes the slice's kind.
const Bytes kFirstI{0x65, 0x88}, kSecondI{0x65, 0x40}, kFirstP{0x41, 0x9A}, kFirstIntra{0x41, 0xB0};
const Bytes kMessage{0x06, 5, 1, 9, 0x80};                  // of another kind
const Bytes kRecoveryNow{0x06, 5, 1, 9, 6, 1, 0xC4, 0x80};  // ... and that all is there at once
const Bytes kRecoveryLater{0x06, 6, 2, 0x08, 0x44, 0x80};   // in 15 pictures
const Bytes kShort{0, 0, 1};

TEST(AccessUnit, IsKeyWhereverDecodingMayBegin) {
    struct Case {
        const char* what;
        std::vector<Bytes> units;
        Outcome outcome;
    };
    const Case cases[] = {
        {"behind delimiter and message", {{0x09, 0xF0}, kMessage, kFirstI}, Outcome::KeyFrame},
        {"all in one unit", {Concat({kSps, kStart, kPps, kStart, kFirstI})}, Outcome::KeyFrame},
        {"short start codes", {Concat({kSps, kShort, kPps, kShort, kFirstI})}, Outcome::KeyFrame},
        {"a start code in front", {Concat({kStart, kFirstI})}, Outcome::KeyFrame},
        {"start codes in front of all",
         {Concat({kShort, kSps, kShort, kPps, kShort, kFirstP})},
         Outcome::OtherFrame},
        {"a slice far behind a message", {Concat({Bytes(300, 0x06), kStart, kFirstI})}, Outcome::KeyFrame},
        {"a message alone", {kMessage}, Outcome::Waiting},
        {"cut off behind the start code", {Concat({kMessage, kStart})}, Outcome::Waiting},
        {"a message of another kind", {kMessage, kFirstIntra}, Outcome::OtherFrame},
        {"a recovery point", {kRecoveryNow, kFirstIntra}, Outcome::KeyFrame},
        {"a recovery point that can't be one", {kRecoveryNow, kFirstP}, Outcome::OtherFrame},
        {"recovery by and by", {kRecoveryLater, kFirstP}, Outcome::KeyFrame},
        {"message and slice in one unit", {Concat({kRecoveryLater, kStart, kFirstP})}, Outcome::KeyFrame},
    };
    for (const Case& c : cases) {
        AccessUnitAssembler assembler(1000);
        Outcome outcome = Outcome::Waiting;
        for (const Bytes& unit : c.units)
            outcome = assembler.Append(unit);
        EXPECT_EQ(outcome, c.outcome) << c.what;
        EXPECT_EQ(assembler.Append(kFirstP), Outcome::OtherFrame) << "the next one: " << c.what;
    }
}

TEST(AccessUnit, EachKeyFrameBringsParameterSets) {
    const Bytes sets = Concat({kStart, kSps, kStart, kPps});
    AccessUnitAssembler assembler(1000);
    assembler.Append(kSps);
    assembler.Append(kPps);
    assembler.RememberAsHeader();
    ASSERT_EQ(assembler.Append(kFirstP), Outcome::OtherFrame);
    EXPECT_THAT(assembler.Unit(), ElementsAreArray(Concat({sets, kStart, kFirstP}))) << "whatever is first";
    const Bytes delimiter{0x09, 0xF0};
    for (int i = 0; i < 2; ++i) {
        assembler.Append(delimiter);
        assembler.Append(kMessage);
        ASSERT_EQ(assembler.Append(kFirstI), Outcome::KeyFrame);
        EXPECT_THAT(assembler.Unit(),
                    ElementsAreArray(Concat({kStart, delimiter, sets, kStart, kMessage, kStart, kFirstI})));
        ASSERT_EQ(assembler.Append(kSecondI), Outcome::KeyFrame);
        EXPECT_THAT(assembler.Unit(), ElementsAreArray(Concat({kStart, kSecondI}))) << "not amid a picture";
        ASSERT_EQ(assembler.Append(kFirstP), Outcome::OtherFrame);
        EXPECT_THAT(assembler.Unit(), ElementsAreArray(Concat({kStart, kFirstP})));
    }
    // The stream's own count from then on, also from inside a larger unit.
    const Bytes own{0x67, 9}, ownPps{0x68, 8};
    assembler.Append(Concat({own, kStart, ownPps, kStart, kFirstI}));
    EXPECT_THAT(assembler.Unit(), ElementsAreArray(Concat({kStart, own, kStart, ownPps, kStart, kFirstI})));
    assembler.Append(kFirstI);
    EXPECT_THAT(assembler.Unit(),
                ElementsAreArray(Concat({kStart, own, kStart, ownPps, Bytes{0}, kStart, kFirstI})));
    assembler.Append(kPps);
    assembler.Append(kFirstI);
    EXPECT_EQ(assembler.Unit().size(), 3u * 4 + 3 * 2 + 1 + 4 + 2) << "one of the two is not enough";
}

TEST(AccessUnit, WhatDoesNotFitIsDroppedUpToTheNextKeyFrame) {
    AccessUnitAssembler assembler(40);
    assembler.Append(kSps);
    assembler.RememberAsHeader();
    ASSERT_EQ(assembler.Append(kFirstI), Outcome::KeyFrame);
    EXPECT_EQ(assembler.Append(Bytes(20, 0x0C)), Outcome::Waiting);
    EXPECT_EQ(assembler.Append(Bytes(20, 0x0C)), Outcome::Overflow);
    EXPECT_EQ(assembler.Append(kFirstP), Outcome::Skipped);
    // A key frame that never fits, with its own sets: neither they nor its other slices are there.
    EXPECT_EQ(assembler.Append(Concat({kSps, kStart, kPps, kStart, Bytes(500, 0x65)})), Outcome::Overflow);
    EXPECT_EQ(assembler.Append(kSecondI), Outcome::Skipped);
    EXPECT_EQ(assembler.Append(kFirstP), Outcome::Skipped);
    ASSERT_EQ(assembler.Append(kFirstI), Outcome::KeyFrame);
    EXPECT_THAT(assembler.Unit(), ElementsAreArray(Concat({kStart, kSps, kStart, kFirstI})));
    EXPECT_EQ(assembler.Append(kFirstP), Outcome::OtherFrame);
    // The unit that doesn't fit beside what waits may itself be the key frame.
    EXPECT_EQ(assembler.Append(Bytes(30, 0x0C)), Outcome::Waiting);
    Bytes large(20, 0x55);
    large[0] = 0x65, large[1] = 0x88;
    EXPECT_EQ(assembler.Append(large), Outcome::KeyFrame);
}

TEST(FrameRules, FindTheFirstPicturesCodingType) {
    EXPECT_EQ(VopCodingType(Bytes{0, 0, 1, 0xB6, 0x10}), 0);
    EXPECT_EQ(VopCodingType(Bytes{0, 0, 1, 0xB0, 9, 0, 0, 1, 0xB6, 0x40}), 1);
    EXPECT_EQ(VopCodingType(Bytes{0xB6, 0, 0xB6, 0, 0, 1, 0xB6, 0x80, 0, 0, 1, 0xB6, 0}), 2);
    EXPECT_EQ(VopCodingType(Bytes{7, 0, 0, 1, 0xB6, 0xC0}), 3);
    EXPECT_EQ(VopCodingType(Bytes{9, 0, 0, 1, 0xB6}), 0);  // nothing follows
    EXPECT_EQ(VopCodingType(Bytes{0, 0, 1, 0xB6}), 0);
    EXPECT_EQ(VopCodingType({}), 0);

    EXPECT_TRUE(HasVolHeader(Bytes{0, 0, 1, 0xB0, 1, 0, 0, 1, 0x20, 0, 0, 1, 0xB6, 0}));
    EXPECT_FALSE(
        HasVolHeader(Bytes{0, 0, 1, 0xB3, 1, 0, 0, 1, 0xB6, 0, 0, 0, 1, 0x20}));  // behind the picture
    EXPECT_FALSE(HasVolHeader({}));
}

TEST(FrameRules, ReadConfigurationAndPosition) {
    EXPECT_THAT(AacConfigFromText("1210"), ElementsAre(0x12, 0x10, 0, 0));
    EXPECT_THAT(AacConfigFromText("1Fz3a"), ElementsAre(0x1F, 0, 0, 0, 0));
    EXPECT_TRUE(AacConfigFromText("").empty());
    EXPECT_EQ(PtsFromSeconds(1.2345), 1234u);
    EXPECT_EQ(PtsFromSeconds(4294967.297), 1u);  // wraps
    EXPECT_EQ(PtsFromSeconds(-0.5), static_cast<std::uint32_t>(-500));
    EXPECT_EQ(PtsFromSeconds(1e300), 0u);
    EXPECT_EQ(PtsFromSeconds(-std::numeric_limits<double>::quiet_NaN()), 0u);
}

TEST(PushDescription, NamesTheGroupsThatAreSet) {
    MulticastInfo info;
    info[MulticastStream::Video] = {"239.1.1.1", 5560};
    const std::string begin = "v=0\r\na=type:broadcast\r\na=control:*\r\n";
    EXPECT_EQ(PushDescription(info, VideoCodec::H264),
              begin +
                  "m=video 5560 RTP/AVP 97\r\nc=IN IP4 239.1.1.1\r\na=rtpmap:97 H264/90000\r\n"
                  "a=control:track1\r\n");
    EXPECT_THAT(PushDescription(info, VideoCodec::H265),
                testing::HasSubstr(" RTP/AVP 98\r\nc=IN IP4 239.1.1.1\r\na=rtpmap:98 H265/90000\r\n"));
    EXPECT_THAT(PushDescription(info, VideoCodec::Mjpeg), testing::HasSubstr("a=rtpmap:26 JPEG/90000\r\n"));
    EXPECT_THAT(PushDescription(info, VideoCodec::None), testing::HasSubstr("a=rtpmap:96 MP4V-ES/90000\r\n"));
    info[MulticastStream::Video] = {};
    info[MulticastStream::Audio] = {"239.1.1.2", 5562};
    EXPECT_EQ(PushDescription(info, VideoCodec::H264),
              begin +
                  "m=audio 5562 RTP/AVP 0\r\nc=IN IP4 239.1.1.2\r\na=rtpmap:0 PCMU/8000/1\r\n"
                  "a=control:track2\r\n");
    EXPECT_EQ(PushDescription({}, VideoCodec::H264), begin);
}

}  // namespace
}  // namespace norix
