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

TEST(AccessUnit, ASliceBehindAMessageCounts) {
    // The start code may begin at any of the first hundred bytes, and a byte has to follow it.
    const auto sei = [](std::size_t before, const Bytes& rest) {
        Bytes nal(before, 0xFF);
        nal[0] = 0x06;
        return Concat({nal, rest});
    };
    struct Case {
        Bytes nal;
        Outcome outcome;
    };
    const Case cases[] = {{sei(20, Concat({kStart, kIdr})), Outcome::KeyFrame},
                          {sei(99, Concat({kStart, kSlice})), Outcome::OtherFrame},
                          {sei(100, Concat({kStart, kIdr})), Outcome::Waiting},
                          {sei(20, kStart), Outcome::Waiting},
                          {{0x06, 0, 0, 1}, Outcome::Waiting},
                          {{0x06}, Outcome::Waiting},
                          {sei(1, Concat({kStart, kSps})), Outcome::Waiting}};
    for (const Case& c : cases) {
        AccessUnitAssembler assembler(1000);
        EXPECT_EQ(assembler.Append(c.nal), c.outcome) << testing::PrintToString(c.nal);
    }
}

TEST(AccessUnit, WhatDoesNotFitIsDroppedUpToTheNextKeyFrame) {
    AccessUnitAssembler assembler(40);
    assembler.Append(kSps);
    assembler.RememberAsHeader();
    ASSERT_EQ(assembler.Append(kIdr), Outcome::KeyFrame);
    EXPECT_EQ(assembler.Append(Bytes(20, 0x06)), Outcome::Waiting);
    EXPECT_EQ(assembler.Append(Bytes(20, 0x06)), Outcome::Overflow);
    EXPECT_EQ(assembler.Append(kSlice), Outcome::Skipped);
    EXPECT_EQ(assembler.Append(Bytes(500, 0x65)), Outcome::Overflow);  // a key frame that never fits
    EXPECT_EQ(assembler.Append(kSlice), Outcome::Skipped);
    ASSERT_EQ(assembler.Append(kIdr), Outcome::KeyFrame);
    EXPECT_THAT(assembler.Unit(), ElementsAreArray(Concat({kStart, kSps, kStart, kIdr})));
    EXPECT_EQ(assembler.Append(kSlice), Outcome::OtherFrame);
    // The unit that doesn't fit beside what waits may itself be the key frame.
    EXPECT_EQ(assembler.Append(Bytes(30, 0x06)), Outcome::Waiting);
    EXPECT_EQ(assembler.Append(Bytes(20, 0x65)), Outcome::KeyFrame);
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
    EXPECT_THAT(BytesFromHex("000001b0F"), ElementsAre(0, 0, 1, 0xB0));
    EXPECT_TRUE(BytesFromHex("00x0").empty());
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
