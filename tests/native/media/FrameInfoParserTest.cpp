#include "media/FrameInfoParser.h"

#include <gtest/gtest.h>

#include "tests/native/media/FrameBytes.h"

namespace norix {
namespace {

using test::Bytes;
using test::Section;

ParsedFrameInfo Parse(VideoCodec codec, const Bytes& frame) {
    return ParseFrameInfo(codec, frame.data(), frame.size());
}

Bytes Frame(VideoCodec codec) {
    switch (codec) {
        case VideoCodec::H264:
            return {0, 0, 0, 1, 0x65, 0x88, 0x80, 0x10};
        case VideoCodec::H265:
            return {0, 0, 0, 1, 0x26, 0x01, 0xAF, 0x10};
        case VideoCodec::Mpeg4:
            return {0, 0, 1, 0xB6, 0x10, 0x60};
        default:
            return {0xFF, 0xD8, 0xFF, 0xD9};
    }
}

Section FullSection() {
    return Section()
        .Region(0, 1, 10, 20, 30, 40, 50, 60)
        .Region(2, 1, 0, 0, 320, 240, 90, 10)
        .MotionAlert(1, 55)
        .Analytics(3, 400)
        .General(500, 6, 7);
}

void ExpectFullSection(const ParsedFrameInfo& parsed) {
    ASSERT_TRUE(parsed.hasInformation);
    EXPECT_TRUE(parsed.signal);
    EXPECT_EQ(parsed.timeSeconds, 1700000000u);
    EXPECT_EQ(parsed.timeStampMs, 0x01020304u);
    EXPECT_EQ(parsed.sequence, 77u);
    EXPECT_EQ(parsed.info.ReferenceWidth(), 320);
    EXPECT_EQ(parsed.info.ReferenceHeight(), 240);
    EXPECT_EQ(parsed.info.digitalIo, 0x00050002u);

    const RegionRecord& first = parsed.info.regions[0];
    EXPECT_EQ(first.x, 10);
    EXPECT_EQ(first.height, 40);
    EXPECT_TRUE(first.InAlarm());
    EXPECT_FALSE(parsed.info.regions[1].enabled);
    EXPECT_FALSE(parsed.info.regions[2].InAlarm());

    ASSERT_EQ(parsed.events.motionAlerts.count, 1u);
    EXPECT_EQ(parsed.events.motionAlerts.items[0].percentage, 55);
    ASSERT_EQ(parsed.events.analytics.count, 1u);
    EXPECT_EQ(parsed.events.analytics.items[0].functionType, 400);
    ASSERT_EQ(parsed.events.general.count, 1u);
    EXPECT_EQ(parsed.events.general.items[0].type, 500);
    EXPECT_EQ(parsed.events.general.items[0].status, 7);
}

TEST(FrameInfoParser, ReadsTheHeaderBeforeAFrameOfAnyCodec) {
    for (VideoCodec codec : {VideoCodec::Mjpeg, VideoCodec::Mpeg4, VideoCodec::H264, VideoCodec::H265}) {
        const Bytes frame = Frame(codec);
        Bytes bytes = test::CameraHeader(FullSection().Build(), frame.size());
        const std::size_t headerSize = bytes.size();
        // A recording finds the time here.
        EXPECT_EQ((Bytes{bytes.begin() + 32, bytes.begin() + 36}), (Bytes{0x65, 0x53, 0xF1, 0x00}));
        test::Append(bytes, frame);
        const ParsedFrameInfo parsed = Parse(codec, bytes);
        EXPECT_EQ(parsed.headerLength, headerSize);
        ExpectFullSection(parsed);
    }
}

TEST(FrameInfoParser, ReadsTheSectionInsideAFrame) {
    Bytes h264{0, 0, 0, 1, 0x67, 0x42, 0, 0, 1, 0x68, 0xCE};
    test::Append(h264, test::SeiNal(FullSection().Build()));
    test::Append(h264, Frame(VideoCodec::H264));
    ParsedFrameInfo parsed = Parse(VideoCodec::H264, h264);
    EXPECT_EQ(parsed.headerLength, 0u);
    ExpectFullSection(parsed);

    // The message of H.264, behind a header of two bytes.
    Bytes h265{0, 0, 0, 1, 0x42, 0x01, 0x01, 0, 0, 1, 0x44, 0x01, 0xC1};
    const Bytes message = test::SeiNal(FullSection().Build());
    const std::size_t header = message[2] == 1 ? 3 : 4;
    h265.insert(h265.end(), message.begin(), message.begin() + static_cast<std::ptrdiff_t>(header));
    test::Append(h265, {0x4E, 0x01});
    h265.insert(h265.end(), message.begin() + static_cast<std::ptrdiff_t>(header) + 1, message.end());
    test::Append(h265, Frame(VideoCodec::H265));
    parsed = Parse(VideoCodec::H265, h265);
    EXPECT_EQ(parsed.headerLength, 0u);
    ExpectFullSection(parsed);

    Bytes mpeg4{0, 0, 1, 0xB0, 3, 0, 0, 1, 0xB2};
    test::Append(mpeg4, test::Escaped(test::Identified(FullSection().Build())));
    test::Append(mpeg4, Frame(VideoCodec::Mpeg4));
    parsed = Parse(VideoCodec::Mpeg4, mpeg4);
    EXPECT_EQ(parsed.headerLength, 0u);
    ExpectFullSection(parsed);
}

TEST(FrameInfoParser, LeavesFramesWithoutInformationAlone) {
    Bytes afterSlice = Frame(VideoCodec::H264);
    test::Append(afterSlice, test::SeiNal(FullSection().Build()));
    EXPECT_FALSE(Parse(VideoCodec::H264, afterSlice).hasInformation);

    Bytes otherUserData{0, 0, 1, 0xB2, 'D', 'i', 'v', 'X'};
    test::Append(otherUserData, Frame(VideoCodec::Mpeg4));
    EXPECT_FALSE(Parse(VideoCodec::Mpeg4, otherUserData).hasInformation);

    Bytes audio = test::CameraHeader(FullSection().Build(), 4);
    audio[3] = 0xC0;
    EXPECT_EQ(Parse(VideoCodec::Mjpeg, audio).headerLength, 0u);
    EXPECT_EQ(ParseFrameInfo(VideoCodec::H264, nullptr, 0).headerLength, 0u);
}

TEST(FrameInfoParser, BelievesNoLengthBeyondTheFrame) {
    const Bytes whole = test::CameraHeader(FullSection().Build(), 0);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        // Its own allocation, so that reading beyond it is seen.
        const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_EQ(Parse(VideoCodec::Mjpeg, cut).headerLength, 0u) << size;
    }
    // A header too short for its fixed part is no header of ours.
    Bytes shortHeader = test::CameraHeader(Bytes(26), 0);
    EXPECT_EQ(Parse(VideoCodec::Mjpeg, shortHeader).headerLength, 0u);

    // An element that reaches beyond the section ends it; what came before counts.
    Section section = Section().MotionAlert(1, 2);
    test::Append(section.elements, {1, 200, 0});
    ParsedFrameInfo parsed = Parse(VideoCodec::Mjpeg, test::CameraHeader(section.Build(), 0));
    EXPECT_TRUE(parsed.hasInformation);
    EXPECT_EQ(parsed.events.motionAlerts.count, 1u);
}

TEST(FrameInfoParser, SkipsWhatItDoesNotKnow) {
    Section section;
    section.elements = {0, 0, 99, 3, 1, 2, 3};  // padding, then an element of a later version
    section.Region(3, 1, 1, 1, 1, 1, 1, 1);     // there is no fourth region
    for (std::uint8_t id = 0; id < 12; ++id)
        section.MotionAlert(id, 1);  // more than we keep
    const ParsedFrameInfo parsed = Parse(VideoCodec::Mjpeg, test::CameraHeader(section.Build(), 0));
    EXPECT_TRUE(parsed.hasInformation);
    EXPECT_EQ(parsed.events.motionAlerts.count, parsed.events.motionAlerts.items.size());
    EXPECT_EQ(parsed.events.motionAlerts.items[7].windowId, 7);

    Section later;
    later.version = 2;
    const Bytes bytes = test::CameraHeader(later.Build(), 0);
    const ParsedFrameInfo unread = Parse(VideoCodec::Mjpeg, bytes);
    EXPECT_EQ(unread.headerLength, bytes.size());  // but the frame behind it is found
    EXPECT_FALSE(unread.hasInformation);
}

}  // namespace
}  // namespace norix
