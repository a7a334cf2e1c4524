#include "media/CtrlParam.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

#include "tests/native/media/FrameBytes.h"
#include "tests/support/LogCapture.h"
#include "tests/support/MediaPlatformFake.h"

namespace norix {
namespace {

using Message = platform::FakePlatform::Message;
using test::Bytes;

constexpr int kKey = 0;
constexpr int kDelta = 1;

struct RecorderLog final : MediaRecorder {
    struct Frame {
        RecordMedia type;
        Bytes bytes;
    };
    bool IsRecordingRequested() const override { return requested; }
    void RecMedia(RecordMedia type, const std::uint8_t* data, std::size_t size, std::uint32_t) override {
        frames.push_back({type, Bytes(data, data + size)});
    }

    bool requested = false;
    std::vector<Frame> frames;
};

class CtrlParamTest : public testing::Test {
  protected:
    CtrlParamTest() {
        m_fake.media.videoBufferNum = 3;
        m_fake.media.videoBufferSize = 1000;
        m_fake.media.audioBufferNum = 2;
        m_fake.media.audioBufferSize = 100;
    }

    CCtrlParam& Param() {
        if (!m_param) {
            m_param = std::make_unique<CCtrlParam>();
            m_param->window.Set(m_fake.Window());
        }
        return *m_param;
    }
    int InsertVideo(std::uint32_t pts, int isPFrame, const Bytes& frame = {1, 2, 3}) {
        return Param().InsertFrameToVideoBuffer(frame.data(), frame.size(), pts, isPFrame);
    }
    int InsertAudio(std::uint32_t pts, const Bytes& frame = {1, 2, 3}) {
        return Param().InsertFrameToAudioBuffer(frame.data(), frame.size(), pts);
    }
    VideoFrameRecord* TakeVideo() {
        VideoFrameRecord* record = nullptr;
        Param().GetFilledVideoFrame(&record);
        return record;
    }

    platform::FakePlatform m_fake;
    const util::LogCapture m_log;
    std::unique_ptr<CCtrlParam> m_param;
};

TEST_F(CtrlParamTest, StoresFramesInOrderAndCutsLongOnes) {
    Bytes longFrame(1500, 0xAB);
    EXPECT_EQ(InsertVideo(40, kKey, longFrame), 1);
    EXPECT_TRUE(Param().TakeKeyFrameWish());
    EXPECT_EQ(InsertVideo(80, 3), 1);
    VideoFrameRecord* record = TakeVideo();
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->frameType, kKeyFrame);
    EXPECT_EQ(record->pts, 40u);
    EXPECT_EQ(record->storedLength, 1000u);
    EXPECT_EQ(record->payloadLength, 1000u);
    EXPECT_EQ(record->headerLength, 0u);
    EXPECT_EQ(std::memcmp(record->data.get(), longFrame.data(), 1000), 0);
    EXPECT_EQ(TakeVideo()->frameType, 3);

    EXPECT_EQ(InsertAudio(7, Bytes(150, 9)), 1);
    AudioFrameRecord* audio = nullptr;
    ASSERT_EQ(Param().GetFilledAudioFrame(&audio), kResultOk);
    EXPECT_EQ(audio->storedLength, 100u);
    EXPECT_EQ(audio->receivedLength, 150u);
    EXPECT_EQ(audio->pts, 7u);
    EXPECT_TRUE(m_log.Contains("VideoBufferNum = 3, VideoBufferSize = 0 (KB)"));

    EXPECT_EQ(Param().GetFilledVideoFrame(nullptr), kResultInvalidArgument);
    EXPECT_EQ(Param().PutEmptyVideoFrame(nullptr), kResultInvalidArgument);
    EXPECT_EQ(Param().GetFilledVideoFrame(&record), kResultFail);
}

TEST_F(CtrlParamTest, OneGiantFrameDoesNotKeepItsMemory) {
    m_fake.media.videoBufferNum = 1;
    m_fake.media.videoBufferSize = 2'000'000;
    const auto capacityAfter = [&](std::size_t size) {
        InsertVideo(0, kKey, Bytes(size));
        VideoFrameRecord* const record = TakeVideo();
        Param().PutEmptyVideoFrame(record);
        return record->capacity;
    };
    EXPECT_GE(capacityAfter(1'500'000), 1'500'000u);
    for (int i = 0; i < 5000; ++i)
        capacityAfter(100);
    EXPECT_LT(capacityAfter(100), 150'000u);
}

TEST_F(CtrlParamTest, AnAudioRecordPutBackComesFirst) {
    InsertAudio(1);
    InsertAudio(2);
    AudioFrameRecord* first = nullptr;
    AudioFrameRecord* again = nullptr;
    Param().GetFilledAudioFrame(&first);
    EXPECT_EQ(Param().PutFilledAudioFrame(first, 0), kResultOk);
    Param().GetFilledAudioFrame(&again);
    EXPECT_EQ(again, first);
    Param().PutFilledAudioFrame(first, 1);
    Param().GetFilledAudioFrame(&again);
    EXPECT_EQ(again->pts, 2u);
}

TEST_F(CtrlParamTest, AFullPoolDropsTheRestOfTheGroupOfPictures) {
    for (std::uint32_t i = 0; i < 3; ++i)
        EXPECT_EQ(InsertVideo(i, i == 0 ? kKey : kDelta), 1);
    EXPECT_EQ(InsertVideo(3, kDelta), -1);
    EXPECT_TRUE(m_log.Contains("InsertFrameToVideoBuffer(pts=3) drop video frame (p)"));
    EXPECT_FALSE(m_log.Contains("skip GOP"));

    // A free record changes nothing before the next key frame.
    Param().PutEmptyVideoFrame(TakeVideo());
    EXPECT_EQ(InsertVideo(4, kDelta), -1);
    EXPECT_TRUE(m_log.Contains("InsertFrameToVideoBuffer(pts=4) drop video frame (p), skip GOP"));
    // Something missing before a dropped frame is missing before the next one that is stored.
    const std::uint8_t byte = 0;
    EXPECT_EQ(Param().InsertFrameToVideoBuffer(&byte, 1, 5, kDelta, true), -1);
    EXPECT_TRUE(Param().TakeKeyFrameWish());
    EXPECT_FALSE(Param().TakeKeyFrameWish());
    Param().WishKeyFrame();
    EXPECT_EQ(InsertVideo(6, kKey), 1);
    EXPECT_FALSE(Param().TakeKeyFrameWish());
    EXPECT_EQ(Param().GetFrameCount(FrameCounters::kReceived), 7u);
    for (const bool damaged : {false, false, true}) {
        VideoFrameRecord* const record = TakeVideo();
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(record->damagedBefore, damaged);
        Param().PutEmptyVideoFrame(record);
    }

    EXPECT_EQ(InsertAudio(1), 1);
    EXPECT_EQ(InsertAudio(2), 1);
    EXPECT_EQ(InsertAudio(3), -1);
    EXPECT_TRUE(m_log.Contains("InsertFrameToAudioBuffer(pts=3) drop audio frame"));
}

// Fills the pool, and gives a record back once the insert operation has been waiting for a while.
TEST_F(CtrlParamTest, KeyFramesWaitAndSoDoesEverythingWithoutDropping) {
    for (bool drop : {true, false}) {
        m_param.reset();
        m_fake.media.enableDecodeFrameDrop = drop;
        for (std::uint32_t i = 0; i < 3; ++i)
            InsertVideo(i, kKey);
        std::thread decoder([&] {
            platform::SleepMs(35);
            Param().PutEmptyVideoFrame(TakeVideo());
        });
        EXPECT_EQ(InsertVideo(9, drop ? kKey : kDelta), 1);
        decoder.join();
    }
}

TEST_F(CtrlParamTest, ClosingEndsWaitingAndRefusesFrames) {
    m_fake.media.enableDecodeFrameDrop = false;
    for (std::uint32_t i = 0; i < 3; ++i)
        InsertVideo(i, kKey);
    std::atomic<int> result{0};
    std::thread receiver([&] { result = InsertVideo(9, kKey); });
    while (Param().GetFrameCount(FrameCounters::kReceived) < 4)
        std::this_thread::yield();
    EXPECT_FALSE(Param().WaitForInserts(30));
    Param().SetClosing(true);
    EXPECT_TRUE(Param().WaitForInserts(5000));
    receiver.join();
    EXPECT_EQ(result, -1);
    EXPECT_EQ(InsertVideo(10, kKey), -1);
    EXPECT_EQ(Param().GetFrameCount(FrameCounters::kReceived), 4u);

    // A new stream finds all records free, also those that nobody gave back.
    TakeVideo();
    Param().ResetForNewStream();
    EXPECT_EQ(TakeVideo(), nullptr);
    for (std::uint32_t i = 0; i < 3; ++i)
        EXPECT_EQ(InsertVideo(i, kKey), 1);
}

TEST_F(CtrlParamTest, FeedsTheRecorderBeforeAnyDrop) {
    const auto shared = std::make_shared<RecorderLog>();
    RecorderLog& recorder = *shared;
    Param().SetRecorder(shared);
    Param().videoCodec.Set(VideoCodec::H264);
    InsertVideo(0, kDelta, {0, 0, 0, 1, 0x41});
    EXPECT_EQ(Param().streamForm.Get(), StreamForm::Bare);
    Param().videoCodec.Set(VideoCodec::Mjpeg);
    Bytes withHeader = test::CameraHeader(test::Section().Build(), 4);
    test::Append(withHeader, {0xFF, 0xD8, 0xFF, 0xD9});
    InsertVideo(0, kKey, withHeader);
    EXPECT_EQ(Param().streamForm.Get(), StreamForm::WithHeader);
    InsertVideo(0, kDelta);
    EXPECT_EQ(InsertVideo(0, kDelta), -1);
    InsertAudio(0);
    recorder.requested = true;
    InsertAudio(0);

    ASSERT_EQ(recorder.frames.size(), 5u);
    EXPECT_EQ(recorder.frames[0].type, RecordMedia::VideoH264);
    EXPECT_EQ(recorder.frames[1].type, RecordMedia::VideoMpeg4OrMjpeg);
    EXPECT_EQ(recorder.frames[1].bytes, withHeader);
    EXPECT_EQ(recorder.frames[4].type, RecordMedia::Audio);

    // The decoder gets the frame without the header.
    TakeVideo();
    const VideoFrameRecord* record = TakeVideo();
    EXPECT_EQ(record->headerLength, withHeader.size() - 4);
    EXPECT_EQ(record->payloadLength, 4u);
    EXPECT_EQ(record->data[0], 0xFF);
}

// A host that does not listen: its queue stays free for what matters more, and the state of the ports is not
// lost.
TEST_F(CtrlParamTest, FillsNoQueueWithWhatFramesReport) {
    Param().videoCodec.Set(VideoCodec::Mjpeg);
    const auto alert = [&](int percentage) {
        InsertVideo(0, kKey, test::CameraHeader(test::Section().MotionAlert(1, percentage).Build(), 0));
        Param().PutEmptyVideoFrame(TakeVideo());
    };
    for (int i = 0; i < 200; ++i)
        alert(i % 100);
    EXPECT_EQ(m_fake.Messages().size(), 64u);
    const auto told = m_fake.Messages();
    for (const Message& message : told)
        Param().window.TakeEvent(message.id, message.wParam, message.lParam);
    alert(7);
    alert(7);
    EXPECT_EQ(m_fake.Messages().size(), 65u) << "the same waits once";
    Param().window.TakeEvent(WM_OnMDAlert, 1, 7);
    // There and back: what waits first is not what holds last.
    const std::size_t before = m_fake.Messages().size();
    for (int i = 0; i < 2; ++i) {
        alert(8);
        alert(9);
    }
    EXPECT_EQ(m_fake.Messages().size(), before + 4);
    test::Section changed;
    changed.inputs = 1;
    m_fake.queueFull = true;
    InsertVideo(0, kKey, test::CameraHeader(changed.Build(), 0));
    Param().PutEmptyVideoFrame(TakeVideo());
    m_fake.queueFull = false;
    InsertVideo(0, kKey, test::CameraHeader(changed.Build(), 0));
    EXPECT_EQ(m_fake.Messages().back(), (Message{false, WM_OnDIOStatus, 1, 2}));
}

TEST_F(CtrlParamTest, TellsTheWindowWhatFramesReport) {
    Param().videoCodec.Set(VideoCodec::Mjpeg);
    const Bytes frame = test::CameraHeader(
        test::Section().MotionAlert(1, 55).Analytics(3, 400).General(500, 6, 7).Build(), 0);
    InsertVideo(0, kKey, frame);
    EXPECT_EQ(m_fake.Messages(), (std::vector<Message>{{false, WM_OnDIOStatus, 5, 2},
                                                       {false, WM_OnMDAlert, 1, 55},
                                                       {false, WM_OnIVAEvent, 3, 400},
                                                       {false, WM_OnGeneralEvent, 500, 6 << 8 | 7}}));
    // The state of the ports is news only when it changes.
    test::Section same;
    test::Section changed;
    changed.inputs = 1;
    InsertVideo(0, kKey, test::CameraHeader(same.Build(), 0));
    EXPECT_EQ(m_fake.Messages().size(), 4u);
    InsertVideo(0, kKey, test::CameraHeader(changed.Build(), 0));
    EXPECT_EQ(m_fake.Messages().back(), (Message{false, WM_OnDIOStatus, 1, 2}));

    Param().SetPictureSize(640, 480);
    Param().SetPictureSize(640, 480);
    EXPECT_EQ(m_fake.Messages().size(), 6u);
    EXPECT_EQ(m_fake.Messages().back(), (Message{false, WM_OnResolutionChanged, 640, 480}));
}

TEST_F(CtrlParamTest, SendsFramesToTheHostOnRequest) {
    NewFrameDescription seen;
    Bytes bytes;
    m_fake.onSend = [&](const Message& message) {
        seen = *reinterpret_cast<const NewFrameDescription*>(message.wParam);
        const auto* data = reinterpret_cast<const std::uint8_t*>(message.lParam);
        bytes.assign(data, data + seen.byteLength);
    };
    InsertVideo(0, kDelta);
    EXPECT_TRUE(m_fake.Messages().empty());
    Param().notifyVideoData.Set(true);
    test::Section lost;
    lost.flags = 1;
    Bytes frame = test::CameraHeader(lost.Build(), 2);
    test::Append(frame, {0xFF, 0xD8});
    InsertVideo(0, 2, frame);
    EXPECT_EQ(seen.frameType, 2u);
    EXPECT_EQ(seen.signal, 0u);
    EXPECT_EQ(bytes, (Bytes{0xFF, 0xD8}));
}

TEST_F(CtrlParamTest, TheLastSnapshotRequestCounts) {
    SnapshotRequests& requests = Param().snapshots;
    requests.RequestFile({L"a", L"first"});
    requests.RequestFile({L"b", L"second"});
    EXPECT_EQ(requests.TakeFile()->name, L"second");
    EXPECT_FALSE(requests.TakeFile());
}

}  // namespace
}  // namespace norix
