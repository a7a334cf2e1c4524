#include <gtest/gtest.h>

#include <ctime>
#include <random>
#include <thread>

#include "Rig.h"
#include "record/FileNames.h"
#include "record/VideoFacts.h"

namespace norix::tests {
namespace {

TEST(FileNamesTest, AutomaticName) {
    EXPECT_EQ(AutomaticName({2024, 5, 1, 6, 7, 8, 9, 12}), L"2024_05_06_07_08_09_12");
    EXPECT_EQ(AutomaticName({2024, 12, 1, 16, 17, 18, 59, 123}), L"2024_12_16_17_18_59_123");
}

// Our codes give what the C library's give, on every day that could be special.
TEST(FileNamesTest, CodesAreThoseOfTheCLibrary) {
    for (std::time_t day = 0; day < 20000; day += 3) {
        const std::time_t seconds = day * 86400 + day * 37 % 86400;
        const std::tm tm = *std::gmtime(&seconds);
        const LocalTime time = {
            static_cast<std::uint16_t>(tm.tm_year + 1900), static_cast<std::uint16_t>(tm.tm_mon + 1),
            static_cast<std::uint16_t>(tm.tm_wday),        static_cast<std::uint16_t>(tm.tm_mday),
            static_cast<std::uint16_t>(tm.tm_hour),        static_cast<std::uint16_t>(tm.tm_min),
            static_cast<std::uint16_t>(tm.tm_sec),         7};
        const std::string format =
            "%a %A %b %B %c %C %d %D %e %F %g %G %h %H %I %j %m %M %n %p %r %R %S %t %T %u %U %V %w %W %x %X "
            "%y %Y";
        char expected[1000];
        std::strftime(expected, sizeof(expected), (format + " %%").c_str(), &tm);
        const std::wstring text = ExpandNameFormat(std::wstring(format.begin(), format.end()) + L" %%", time);
        ASSERT_EQ(std::string(text.begin(), text.end()), expected);
    }
}

TEST(FileNamesTest, WhatIsNoCodeStays) {
    const LocalTime time = {2024, 5, 1, 6, 7, 8, 9, 12};
    EXPECT_EQ(ExpandNameFormat(L"cam%Q_%Y%", time), L"cam%Q_2024%");
    EXPECT_EQ(ExpandNameFormat(L"%5d %s %n", time), L"%5d %s \n");
    EXPECT_EQ(ExpandNameFormat(L"%H%M%S.%L", time), L"070809.012");
    EXPECT_EQ(WithoutBadCharacters(L"a:b/c\\d\n*?\"<>|e"), L"a_b_c_d_______e");
}

TEST(VideoFactsTest, PicturesInParts) {
    Bytes second = OtherFrame(VideoCodec::H264, 1);
    second[5] = 0x40;  // first_mb_in_slice 1
    EXPECT_FALSE(InspectVideo(VideoCodec::H264, OtherFrame(VideoCodec::H264, 1)).continues);
    EXPECT_TRUE(InspectVideo(VideoCodec::H264, second).continues);
}

TEST(VideoFactsTest, RecoveryPointIsAPlaceToStart) {
    Bytes frame = {0, 0, 0, 1, 6, 6, 1, 0xC4, 0x80};
    const Bytes slice = OtherFrame(VideoCodec::H264, 1);
    frame.insert(frame.end(), slice.begin(), slice.end());
    EXPECT_TRUE(InspectVideo(VideoCodec::H264, frame).keyFrame);
    EXPECT_FALSE(InspectVideo(VideoCodec::H264, slice).keyFrame);
    for (const auto codec : {VideoCodec::H264, VideoCodec::H265}) {
        const VideoFacts key = InspectVideo(codec, KeyFrame(codec, 1));
        EXPECT_TRUE(key.keyFrame && key.complete && !key.continues);
        EXPECT_EQ(key.width, 320u);
        EXPECT_EQ(key.height, 240u);
        EXPECT_FALSE(InspectVideo(codec, OtherFrame(codec, 1)).keyFrame);
    }
}

// A server's timestamps begin anew, or jump when its sender reports arrive: the recording does neither.
TEST(RecordClockTest, OriginOfTimestampsMayChange) {
    RecordClock clock;
    std::int64_t last = 0;
    for (std::uint32_t i = 0; i < 1000; ++i) {
        const std::uint32_t now = 0xFFFFF000u + i * 40;
        const std::uint32_t origin = i < 300 ? 0xFFFFFF00u : i < 600 ? 50000u : 123456789u;
        const std::int64_t time = clock.Place(RecordClock::kVideo, origin + i * 40, now);
        if (i != 0) {
            EXPECT_NEAR(static_cast<double>(time - last), 40, 2) << i;
        }
        last = time;
    }
}

// What was stuck in the network and comes all at once was still taken one after the other.
TEST(RecordClockTest, BurstKeepsItsTimes) {
    RecordClock clock;
    for (std::uint32_t i = 0; i < 200; ++i) {
        const std::uint32_t taken = i * 40;
        const std::uint32_t now = i >= 100 && i < 150 ? 150 * 40 : taken;
        EXPECT_EQ(clock.Place(RecordClock::kVideo, 500 + taken, now), taken) << i;
    }
}

TEST(RecordQueueTest, KeepsOrderAndBytesBetweenThreads) {
    RecordQueue queue;
    queue.Reserve(5000);
    constexpr std::uint32_t kFrames = 20000;
    std::thread producer([&] {
        std::mt19937 random(3);
        for (std::uint32_t i = 0; i < kFrames;) {
            RecordEntry entry;
            entry.kind = RecordEntry::Kind::Video;
            entry.file = i;
            const Bytes head(random() % 3, static_cast<std::uint8_t>(i));
            const Bytes body(random() % 1500, static_cast<std::uint8_t>(i));
            if (queue.Push(entry, head, body)) {
                ++i;
            } else {
                std::this_thread::yield();
            }
        }
    });
    for (std::uint32_t i = 0; i < kFrames;) {
        RecordEntry entry;
        if (!queue.Wait(10, entry)) continue;
        ASSERT_EQ(entry.file, i);
        for (const std::uint8_t byte : queue.Bytes(entry))
            ASSERT_EQ(byte, static_cast<std::uint8_t>(i));
        queue.Pop();
        ++i;
    }
    producer.join();
    EXPECT_TRUE(queue.Empty());
}

}  // namespace
}  // namespace norix::tests
