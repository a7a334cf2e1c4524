// Frames through controller, queue and writer to files, which a strict reader reads back.

#include <gtest/gtest.h>

#include <random>

#include "RiffCheck.h"
#include "Rig.h"

namespace norix::tests {
namespace {

using enum RecordStatus;

AviContents OnlyFile(const Rig& rig) {
    EXPECT_EQ(rig.disk.Names().size(), 1u);
    AviContents avi = ReadAvi(rig.disk.Contents(std::size_t{0}));
    EXPECT_EQ(avi.fault, "");
    return avi;
}

std::vector<Bytes> PicturesOf(const AviContents& avi) {
    std::vector<Bytes> pictures;
    for (const auto& chunk : avi.Video())
        if (!chunk.data.empty()) pictures.push_back(chunk.data);
    return pictures;
}

class RecordingOfTest : public testing::TestWithParam<Streams> {};

TEST_P(RecordingOfTest, EveryFrameIsThereAsItCame) {
    const auto [video, audio, form] = GetParam();
    Rig rig(video, audio);
    rig.controller.Start(RecordFormat::Avi);
    rig.Send(GetParam());
    rig.Stop();
    EXPECT_EQ(rig.reports.front(), Started);
    EXPECT_EQ(rig.reports.back(), Stopped);
    EXPECT_EQ(rig.Count(Recording), static_cast<int>(rig.reports.size()) - 2);

    const AviContents avi = OnlyFile(rig);
    EXPECT_EQ(PicturesOf(avi), rig.pictures);
    for (std::size_t i = 0; i < avi.Video().size(); ++i)
        EXPECT_EQ(avi.Video()[i].key, video == VideoCodec::Mjpeg || i % 10 == 0) << i;
    Bytes recorded;
    for (const auto& chunk : avi.Audio())
        recorded.insert(recorded.end(), chunk.data.begin(), chunk.data.end());
    Bytes sound;
    for (const Bytes& block : rig.sounds)
        sound.insert(sound.end(), block.begin(), block.end());
    EXPECT_EQ(recorded, sound);
    if (video != VideoCodec::None) {
        EXPECT_EQ(avi.width, 320u);
        EXPECT_EQ(avi.height, 240u);
        EXPECT_EQ(avi.rate, 25u * avi.scale);
    }
    EXPECT_EQ(avi.audioTag, audio == AudioCodec::None ? 0u : audio == AudioCodec::Aac ? 0xFFu : 7u);
}

INSTANTIATE_TEST_SUITE_P(All, RecordingOfTest, testing::ValuesIn(kStreams));

TEST(RecordingTest, RawFilesHoldTheStreamAndNothingElse) {
    for (const StreamForm form : {StreamForm::WithHeader, StreamForm::Bare}) {
        Rig rig(VideoCodec::Mpeg4);
        rig.param.streamForm.Set(form);
        rig.controller.Start(RecordFormat::Raw);
        const Bytes frame = KeyFrame(VideoCodec::Mpeg4, 1);
        const Bytes key = form == StreamForm::WithHeader ? WithHeader(frame, 0xE0) : frame;
        const Bytes sound = Sound(160, 3);
        rig.Video(key, 0);
        rig.Audio(sound, 0);
        rig.Stop(RecordFormat::Raw);
        Bytes expected = key;
        expected.insert(expected.end(), {0, 0, 1, 0xC0, 4, 0x1A});
        expected.insert(expected.end(), 26, 0);
        expected.insert(expected.end(), sound.begin(), sound.end());
        EXPECT_EQ(rig.disk.Names().front(), "D:/2024_05_06_00_00_01_00.pes");
        EXPECT_EQ(rig.disk.Contents(std::size_t{0}), expected);
        EXPECT_EQ(rig.reports, (std::vector{Started, Stopped}));
    }
}

// Until the other file begins, the old one gets what it always has: no headers.
TEST(RecordingTest, AnotherFormatBeginsAnotherFile) {
    Rig rig(VideoCodec::H264, AudioCodec::None);
    rig.param.streamForm.Set(StreamForm::WithHeader);
    rig.controller.Start(RecordFormat::Avi);
    const Bytes key = KeyFrame(VideoCodec::H264, 1);
    const Bytes other = OtherFrame(VideoCodec::H264, 2);
    rig.Video(WithHeader(key, 0xE0), 0);
    rig.controller.Start(RecordFormat::Raw);
    rig.Video(WithHeader(other, 0xE0), 40);
    rig.Video(WithHeader(key, 0xE0), 80);
    rig.Stop();
    ASSERT_EQ(rig.disk.Names().size(), 2u);
    EXPECT_EQ(PicturesOf(ReadAvi(rig.disk.Contents(std::size_t{0}))), (std::vector{key, other}));
    EXPECT_EQ(rig.disk.Contents(std::size_t{1}), WithHeader(key, 0xE0));
}

// ---- Where a file begins

// Its first picture finds no room in the queue: the file begins with the next that can be decoded, not with
// sound.
TEST(RecordingTest, FirstPictureThatIsLost) {
    Rig rig(VideoCodec::H264, AudioCodec::Pcmu, 4096);
    rig.controller.Start(RecordFormat::Avi);
    rig.Video(KeyFrame(VideoCodec::H264, 1, 5000), 0);
    rig.Audio(Sound(320, 1), 20);
    rig.Video(BareIdr(2), 40);
    rig.Stop();
    const std::vector<Bytes> pictures = PicturesOf(OnlyFile(rig));
    ASSERT_EQ(pictures.size(), 1u);
    EXPECT_EQ(pictures[0][4], 0x67);
    EXPECT_GT(pictures[0].size(), BareIdr(2).size());
    EXPECT_EQ(OnlyFile(rig).audioLength, 0u);
}

TEST(RecordingTest, SoundOfNoKnownKindDoesNotBeginFiles) {
    Rig rig(VideoCodec::H264, AudioCodec::None);
    rig.param.mediaType.Set(MediaType::AudioVideo);
    rig.controller.Start(RecordFormat::Avi);
    for (int i = 0; i < 5; ++i) {
        rig.Pictures(10, 40);
        rig.Audio(Sound(320, 1), rig.now);
    }
    rig.Stop();
    EXPECT_EQ(OnlyFile(rig).videoLength, 50u);
}

TEST(RecordingTest, BeginsWhereDecodingCan) {
    Rig rig;
    rig.controller.Start(RecordFormat::Avi);
    rig.Audio(Sound(160, 1), 1000);
    rig.Video(OtherFrame(VideoCodec::H264, 1), 1000);
    rig.Video(BareIdr(2), 1040);
    EXPECT_TRUE(rig.disk.Names().empty()) << "nothing that a decoder could start with";
    EXPECT_EQ(rig.wishes, 1);

    // A delimiter and a message before the parameter sets are no hindrance.
    Bytes key = {0, 0, 0, 1, 9, 0xF0, 0, 0, 0, 1, 6, 5, 1, 0, 0x80};
    const Bytes rest = KeyFrame(VideoCodec::H264, 3);
    key.insert(key.end(), rest.begin(), rest.end());
    rig.Video(key, 1080);
    rig.Stop();
    const AviContents avi = OnlyFile(rig);
    EXPECT_EQ(PicturesOf(avi), std::vector<Bytes>{key});
    EXPECT_TRUE(avi.Audio().empty());
}

TEST(RecordingTest, ParameterSetsAreRemembered) {
    Rig rig;
    const Bytes first = KeyFrame(VideoCodec::H264, 0);
    rig.Video(first, 1000);  // before anybody wants a recording
    rig.controller.Start(RecordFormat::Avi);
    const Bytes idr = BareIdr(1);
    rig.Video(idr, 1040);
    rig.Stop();
    const Bytes recorded = PicturesOf(OnlyFile(rig)).at(0);
    ASSERT_EQ(recorded.size(), 28 + 9 + idr.size());
    EXPECT_TRUE(std::equal(recorded.begin(), recorded.begin() + 37, first.begin()));
    EXPECT_TRUE(std::equal(idr.begin(), idr.end(), recorded.begin() + 37));
}

// A stream may bring its sets in pieces, and several pictures' sets: what begins a file has them all.
TEST(RecordingTest, ParameterSetsInPieces) {
    Rig rig;
    const Bytes whole = KeyFrame(VideoCodec::H264, 0);
    const Bytes sps(whole.begin(), whole.begin() + 28);
    const Bytes pps(whole.begin() + 28, whole.begin() + 37);
    Bytes other = pps;
    other[5] ^= 0x40;
    for (const Bytes& piece : {sps, pps, other, pps, sps})
        rig.Video(piece, 1000);
    rig.controller.Start(RecordFormat::Avi);
    const Bytes idr = BareIdr(1);
    rig.Video(idr, 1040);
    rig.Stop();
    Bytes expected;
    for (const Bytes& piece : {sps, pps, Bytes(other.begin() + 1, other.end()), idr})
        expected.insert(expected.end(), piece.begin(), piece.end());
    EXPECT_EQ(PicturesOf(OnlyFile(rig)), std::vector<Bytes>{expected});
}

TEST(RecordingTest, WaitsUntilTheFormIsKnown) {
    Rig rig(VideoCodec::Mjpeg, AudioCodec::None);
    rig.param.streamForm.Set(StreamForm::Unknown);
    rig.controller.Start(RecordFormat::Avi);
    rig.Pictures(3, 40);
    EXPECT_TRUE(rig.disk.Names().empty());
}

// ---- How long it plays

TEST(RecordingTest, PlaysAsLongAsItTook) {
    for (const double interval : {1000.0 / 30, 40.0, 1000.0 / 24.3, 80.0, 143.0, 1000.0}) {
        Rig rig(VideoCodec::H264, AudioCodec::None);
        rig.controller.Start(RecordFormat::Avi);
        constexpr std::uint32_t kFrames = 900;
        for (std::uint32_t i = 0; i < kFrames; ++i) {
            rig.now = 1000 + static_cast<std::uint32_t>(i * interval);
            rig.Video(i % 30 == 0 ? KeyFrame(VideoCodec::H264, i) : OtherFrame(VideoCodec::H264, i), rig.now);
        }
        rig.Stop();
        const AviContents avi = OnlyFile(rig);
        EXPECT_NEAR(avi.Seconds() * 1000, kFrames * interval, interval) << interval;
        EXPECT_EQ(PicturesOf(avi).size(), kFrames);
        if (interval < 34) {
            EXPECT_EQ(avi.microsecondsPerFrame, 33334u);
            EXPECT_EQ(avi.rate / avi.scale, 30u);
        }
    }
}

// Timestamps that jump back once say no less from then on: pictures that come by fits and starts stay in
// step.
TEST(RecordingTest, OneStepBackIsForgotten) {
    Rig rig(VideoCodec::H264, AudioCodec::None);
    rig.Pictures(30, 40);
    rig.controller.Start(RecordFormat::Avi);
    for (std::uint32_t i = 0; i < 200; ++i) {
        const std::uint32_t sent = 2200 + i * 40;
        rig.now = sent + (i > 100 && i % 10 < 5 ? 200 - i % 10 * 40 : 0);
        rig.Video(i % 10 == 0 ? KeyFrame(VideoCodec::H264, i) : OtherFrame(VideoCodec::H264, i),
                  sent - (i > 20 ? 300 : 0));
    }
    rig.Stop();
    const AviContents avi = OnlyFile(rig);
    EXPECT_EQ(PicturesOf(avi).size(), 200u);
    EXPECT_LE(avi.Video().size(), 201u);
}

TEST(RecordingTest, GapKeepsItsLength) {
    Rig rig;
    rig.Pictures(30, 40);
    rig.controller.Start(RecordFormat::Avi);
    const auto soundFor = [&](int count) {
        for (int i = 0; i < count; ++i) {
            rig.Audio(Sound(320, 7), rig.now);
            rig.Pictures(1, 40);
        }
    };
    soundFor(50);
    rig.now += 3000;
    soundFor(50);
    rig.Stop();
    const AviContents avi = OnlyFile(rig);
    EXPECT_EQ(avi.Video().size(), 175u);
    EXPECT_EQ(PicturesOf(avi).size(), 100u);
    EXPECT_NEAR(avi.audioLength, 7 * 8000, 160);
}

// ---- Rotation

TEST(RecordingTest, RotationLosesAndDoublesNothing) {
    for (const bool bySize : {true, false}) {
        Rig rig;
        rig.controller.SetLimits(bySize ? RecordLimits{4096, 0} : RecordLimits{0, 1});
        rig.controller.Start(RecordFormat::Avi);
        Bytes sound;
        while (rig.disk.Names().size() < 200) {
            const Bytes block = Sound(320, static_cast<std::uint8_t>(rig.pictures.size() % 250));
            rig.Pictures(1, 40);
            rig.Audio(block, rig.now - 40);
            sound.insert(sound.end(), block.begin(), block.end());
        }
        rig.Stop();
        std::vector<Bytes> pictures;
        Bytes recorded;
        for (std::size_t i = 0; i < rig.disk.Names().size(); ++i) {
            const AviContents avi = ReadAvi(rig.disk.Contents(i));
            ASSERT_EQ(avi.fault, "");
            ASSERT_TRUE(avi.Video().at(0).key);
            for (const Bytes& picture : PicturesOf(avi))
                pictures.push_back(picture);
            for (const auto& chunk : avi.Audio())
                recorded.insert(recorded.end(), chunk.data.begin(), chunk.data.end());
        }
        EXPECT_EQ(pictures, rig.pictures);
        EXPECT_EQ(recorded, sound);
        EXPECT_EQ(rig.Count(Started), 200);
        EXPECT_EQ(rig.Count(Stopped), 1);
        EXPECT_GE(rig.wishes, 10);
    }
}

TEST(RecordingTest, LimitEndsTheFileWithTheFrameThatPassesIt) {
    Rig rig(VideoCodec::Mjpeg, AudioCodec::None);
    rig.controller.SetLimits({1048576, 0});
    rig.controller.Start(RecordFormat::Avi);
    const Bytes frame = KeyFrame(VideoCodec::Mjpeg, 0, 131072);  // eight of them are not more than the limit
    for (int i = 0; i < 10; ++i, rig.now += 40)
        rig.Video(frame, rig.now);
    rig.Stop();
    ASSERT_EQ(rig.disk.Names().size(), 2u);
    EXPECT_EQ(ReadAvi(rig.disk.Contents(std::size_t{0})).videoLength, 9u);
}

TEST(RecordingTest, AnotherPictureSizeBeginsAnotherFile) {
    Rig rig(VideoCodec::Mjpeg, AudioCodec::None);
    rig.controller.Start(RecordFormat::Avi);
    rig.Pictures(25, 40);
    Bytes larger = KeyFrame(VideoCodec::Mjpeg, 1);
    larger[8] = 200;  // lines
    rig.Video(larger, rig.now);
    rig.Stop();
    ASSERT_EQ(rig.disk.Names().size(), 2u);
    EXPECT_EQ(ReadAvi(rig.disk.Contents(std::size_t{1})).height, 200u);
}

// ---- Names

TEST(RecordingTest, AsksForTheNextNameAndUsesTheAnswer) {
    Rig rig(VideoCodec::Mjpeg, AudioCodec::None);
    rig.writer.SetNaming({L"D:/", L"first.avi", true});
    rig.onQuestion = [&] {
        rig.writer.SetNaming({L"D:/", L"second.avi", true});
        rig.writer.OnNameAnswered();
    };
    rig.controller.SetLimits({0, 1});
    rig.controller.Start(RecordFormat::Avi);
    rig.Pictures(40, 40);
    rig.Stop();
    EXPECT_EQ(rig.disk.Names(), (std::vector<std::string>{"D:/first.avi", "D:/second.avi"}));
    EXPECT_EQ(rig.questions, 2);
    // An answer is good for as long as it takes until there is another file.
    rig.controller.Suspend();
    rig.controller.Resume();
    rig.writer.SetNaming({L"D:/", L"third.avi", true});
    rig.controller.Start(RecordFormat::Avi);
    rig.Pictures(10, 40);
    rig.Stop();
    EXPECT_EQ(rig.disk.Names().back(), "D:/third.avi");
    // A host that hangs has given no name.
    rig.onQuestion = nullptr;
    rig.question = RecordEnvironment::Question::Unanswered;
    for (int i = 0; i < 2; ++i) {
        rig.controller.Start(RecordFormat::Avi);
        rig.Pictures(10, 40);
        rig.Stop();
    }
    EXPECT_EQ(rig.disk.Names().back(), "D:/2024_05_06_00_00_03_400.avi");
}

// The host ends the recording inside the question, and never answers: the frames that wait get a file.
TEST(RecordingTest, StopInsideTheQuestion) {
    Rig rig(VideoCodec::Mjpeg, AudioCodec::None);
    rig.writer.SetNaming({L"D:/", L"first.avi", true});
    rig.onQuestion = [&] { rig.controller.Stop(RecordFormat::Avi); };
    rig.controller.SetLimits({0, 1});
    rig.controller.Start(RecordFormat::Avi);
    rig.Pictures(28, 40);
    EXPECT_EQ(rig.disk.Names(), (std::vector<std::string>{"D:/first.avi", "D:/2024_05_06_00_00_02_80.avi"}));
    std::size_t recorded = 0;
    for (std::size_t i = 0; i < 2; ++i)
        recorded += ReadAvi(rig.disk.Contents(i)).videoLength;
    EXPECT_EQ(recorded, rig.pictures.size());
    EXPECT_EQ(rig.reports.back(), Stopped);
}

// ---- When something fails

TEST(RecordingTest, FailureIsReportedOnceAndTheRecordingGoesOn) {
    using Fault = FakeDisk::Fault;
    const struct {
        Fault fault;
        RecordStatus status;
    } kCases[] = {{Fault::NoFolder, PathInvalid}, {Fault::Full, DiskFull}, {Fault::Error, FileCreateFailed}};
    for (const auto& [fault, status] : kCases) {
        Rig rig;
        rig.disk.FailAlways(fault);
        rig.controller.Start(RecordFormat::Avi);
        rig.Pictures(300, 40);
        EXPECT_EQ(rig.reports, std::vector{status});
        rig.disk.FailAlways(Fault::None);
        rig.Pictures(100, 40);
        rig.Stop();
        EXPECT_EQ(rig.Count(status), 1);
        EXPECT_EQ(rig.Count(Started), 1);
        EXPECT_GT(PicturesOf(OnlyFile(rig)).size(), 50u);
    }
}

TEST(RecordingTest, AnySingleCallMayFail) {
    const auto record = [](Rig& rig) {
        rig.controller.SetLimits({0, 2});
        rig.controller.Start(RecordFormat::Avi);
        for (int i = 0; i < 120; ++i) {
            rig.Audio(Sound(320, 1), rig.now);
            rig.Pictures(1, 40);
        }
        rig.Stop();
    };
    Rig whole;
    record(whole);
    const int calls = whole.disk.Calls();
    ASSERT_GT(calls, 15);
    using Fault = FakeDisk::Fault;
    for (const Fault fault : {Fault::Error, Fault::Short, Fault::Full}) {
        for (int call = 0; call < calls; ++call) {
            Rig rig;
            rig.disk.FailAt(call, fault);
            record(rig);
            SCOPED_TRACE(call);
            EXPECT_EQ(rig.Count(FileWriteFailed) + rig.Count(FileCreateFailed) + rig.Count(DiskFull), 1);
            EXPECT_EQ(rig.Count(DiskFull), fault == Fault::Full ? 1 : 0);
            std::size_t pictures = 0;
            for (std::size_t i = 0; i < rig.disk.Names().size(); ++i) {
                const AviContents avi = ReadAvi(rig.disk.Contents(i), false);
                EXPECT_EQ(avi.fault, "") << rig.disk.Names()[i];
                pictures += PicturesOf(avi).size();
            }
            // What is lost is what had not been written yet, and the time to the next attempt.
            EXPECT_GE(pictures, 120u - 25 - 35);
        }
    }
}

// A disk that stands still: the queue takes what it can, then whole groups of pictures are lost; the host
// hears of it once, and the file goes on with a gap.
TEST(RecordingTest, DiskThatHangs) {
    Rig rig(VideoCodec::H264, AudioCodec::Pcmu, 20000);
    rig.controller.Start(RecordFormat::Avi);
    rig.Pictures(50, 40);
    rig.writerRuns = false;
    rig.Pictures(300, 40);
    EXPECT_EQ(rig.Count(FileWriteFailed), 1);
    rig.writerRuns = true;
    rig.RunWriter();
    rig.Pictures(50, 40);
    rig.Stop();
    EXPECT_EQ(rig.Count(FileWriteFailed), 1);
    const AviContents avi = OnlyFile(rig);
    EXPECT_NEAR(avi.Seconds(), 16, 0.04);
    const std::vector<AviContents::Chunk> video = avi.Video();
    for (std::size_t i = 1; i < video.size(); ++i) {
        const bool afterGap = video[i - 1].data.empty() && !video[i].data.empty();
        EXPECT_TRUE(!afterGap || video[i].key) << i;
    }
}

// The process ends between any two writes, or in the middle of one: what is in the file by then plays up to
// the last safe point.
TEST(RecordingTest, PlaysAfterASuddenEnd) {
    Rig rig;
    rig.disk.keepJournal = true;
    rig.controller.Start(RecordFormat::Avi);
    std::vector<std::size_t> picturesAt;  // when so many writes had been made
    for (int i = 0; i < 1500; ++i) {
        rig.Audio(Sound(320, 1), rig.now);
        rig.Pictures(1, 40);
        picturesAt.resize(rig.disk.journal.size() + 1, rig.pictures.size());
    }
    std::mt19937 random(1);
    for (int i = 0; i < 100; ++i) {
        const std::size_t writes = 1 + random() % (rig.disk.journal.size() - 1);
        Bytes file;
        for (std::size_t call = 0; call <= writes; ++call) {
            Bytes bytes = rig.disk.journal[call].bytes;
            const std::uint64_t position = rig.disk.journal[call].position;
            // A header of less than a sector is written whole or not at all.
            if (call == writes && position == 0) continue;
            if (call == writes) bytes.resize(random() % (bytes.size() + 1));
            if (file.size() < position + bytes.size()) file.resize(position + bytes.size());
            std::copy(bytes.begin(), bytes.end(), file.begin() + static_cast<std::ptrdiff_t>(position));
        }
        const AviContents avi = ReadAvi(file, false);
        // An index that has been written over is what a reader finds instead of one.
        if (!avi.fault.starts_with("expected idx1") && !avi.fault.starts_with("cut off") &&
            !avi.fault.starts_with("index")) {
            EXPECT_EQ(avi.fault, "") << writes;
        }
        const std::size_t recorded = picturesAt[std::min(writes, picturesAt.size() - 1)];
        EXPECT_GE(PicturesOf(avi).size() + 50, recorded) << writes;
    }
}

TEST(RecordingTest, DisconnectionFinishesTheFileWithoutAReport) {
    Rig rig;
    rig.controller.Start(RecordFormat::Avi);
    rig.Pictures(30, 40);
    EXPECT_TRUE(rig.controller.Suspend());
    rig.RunWriter();
    rig.Pictures(5, 40);
    EXPECT_EQ(rig.Count(Stopped), 0);
    EXPECT_EQ(OnlyFile(rig).videoLength, 30u);
    EXPECT_FALSE(rig.controller.Suspend());
    // The wish outlives the connection.
    rig.controller.Resume();
    rig.Pictures(20, 40);
    rig.Stop();
    EXPECT_EQ(rig.disk.Names().size(), 2u);
}

}  // namespace
}  // namespace norix::tests
