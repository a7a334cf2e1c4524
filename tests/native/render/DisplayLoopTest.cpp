#include "render/present/DisplayLoop.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/native/render/Rig.h"
#include "tests/support/LogCapture.h"
#include "util/Log.h"

namespace norix {
namespace {

using codec::test::LoadPackets;
using test::Bytes;
using test::Rig;

struct TakerLog final : SnapshotTaker {
    bool HasRoom(Snapshot kind) override { return room && (kind != Snapshot::kFile || !fileIsSlow); }
    void SaveJpeg(SnapshotRequests::File, const std::uint8_t* jpeg, std::size_t size) override {
        calls.push_back("jpeg");
        saved.assign(jpeg, jpeg + size);
    }
    void TakePicture(SnapshotOrder order, DisplayFrame& frame, const std::shared_ptr<CCtrlParam>&) override {
        PictureBuffer taken;
        taken.Swap(frame.picture);
        if (order.file) calls.push_back("picture " + std::to_string(frame.size.width));
        if (order.format) calls.push_back("send " + std::to_string(*order.format));
    }
    bool room = true;
    bool fileIsSlow = false;
    std::vector<std::string> calls;
    Bytes saved;
};

TEST(DisplayLoop, WithDisplayOffEverythingButTheShowingHappens) {
    Rig rig(VideoCodec::H264);
    const auto shared = std::make_shared<TakerLog>();
    TakerLog& taker = *shared;
    rig.pipeline.snapshots = shared;
    rig.param.display.Set(false);
    rig.param.displayChanged.Set(true);
    rig.param.snapshots.RequestFile({});
    rig.param.snapshots.RequestData(2);
    rig.Play(LoadPackets("h264_baseline_64x48")[0]);
    EXPECT_TRUE(rig.sink->Shown().empty());
    EXPECT_EQ(rig.param.GetFrameCount(FrameCounters::kDisplayed), 1u);
    EXPECT_EQ(taker.calls, (std::vector<std::string>{"picture 64", "send 2"}));

    rig.param.display.Set(true);
    rig.Play(LoadPackets("h264_baseline_64x48")[1], 0, 1);
    EXPECT_EQ(rig.sink->Shown().size(), 1u);
    EXPECT_EQ(rig.sink->displayChanges, 1);
    EXPECT_EQ(taker.calls.size(), 2u);  // each request once

    // A taker that is busy gets the request with a later picture, and only the latest one.
    taker.room = false;
    rig.param.snapshots.RequestData(1);
    rig.Play(LoadPackets("h264_baseline_64x48")[2], 0, 1);
    rig.param.snapshots.RequestData(0);
    taker.room = true;
    rig.Play(LoadPackets("h264_baseline_64x48")[3], 0, 1);
    EXPECT_EQ(taker.calls, (std::vector<std::string>{"picture 64", "send 2", "send 0"}));

    // Files that can't be written any faster hold no data back, and come when they can.
    taker.fileIsSlow = true;
    rig.param.snapshots.RequestFile({});
    rig.param.snapshots.RequestData(3);
    rig.Play(LoadPackets("h264_baseline_64x48")[0]);
    taker.fileIsSlow = false;
    rig.Play(LoadPackets("h264_baseline_64x48")[1], 0, 1);
    EXPECT_EQ(taker.calls,
              (std::vector<std::string>{"picture 64", "send 2", "send 0", "send 3", "picture 64"}));
}

TEST(DisplayLoop, MotionJpegSnapshotsAreTheFrameItself) {
    Rig rig(VideoCodec::Mjpeg);
    const auto shared = std::make_shared<TakerLog>();
    TakerLog& taker = *shared;
    rig.pipeline.snapshots = shared;
    rig.param.snapshots.RequestFile({});
    rig.param.snapshots.RequestData(1);
    const Bytes jpeg = LoadPackets("jpeg_420_64x48")[0];
    rig.Play(jpeg);
    EXPECT_EQ(taker.calls, std::vector<std::string>{"jpeg"});
    EXPECT_EQ(taker.saved, jpeg);
    EXPECT_FALSE(rig.param.snapshots.DataWanted());

    // What does not decode is no picture: the request waits for one.
    rig.param.snapshots.RequestFile({});
    rig.Play(Bytes(64, 0x55));
    EXPECT_EQ(taker.calls.size(), 1u);
    rig.Play(jpeg);
    EXPECT_EQ(taker.calls.size(), 2u);
    EXPECT_EQ(taker.saved, jpeg);

    // What is too large to be shown is the frame itself all the same.
    const Bytes large = LoadPackets("jpeg_420_3840x2160")[0];
    for (int times = 0; times < 2; ++times) {
        rig.param.snapshots.RequestFile({});
        rig.Play(large);
        EXPECT_EQ(taker.saved, large);
        EXPECT_FALSE(rig.param.snapshots.FileWanted());
    }
    rig.param.snapshots.RequestFile({});
    rig.Play(Bytes(64, 0x55));
    EXPECT_TRUE(rig.param.snapshots.FileWanted());
    EXPECT_EQ(rig.sink->Shown().size(), 2u);
}

// A stream of which nothing more may come for a minute.
TEST(DisplayLoop, OnePictureIsEnoughForSnapshotAndRepaint) {
    for (const auto& [kind, clip] :
         {std::pair{VideoCodec::H264, "h264_baseline_64x48"}, {VideoCodec::Mpeg4, "mpeg4_odd_99x67"}}) {
        Rig rig(kind);
        const auto taker = std::make_shared<TakerLog>();
        rig.pipeline.snapshots = taker;
        EXPECT_FALSE(rig.pipeline.kept.Borrow());
        rig.param.snapshots.RequestFile({});
        rig.Play(LoadPackets(clip)[0]);
        EXPECT_EQ(taker->calls.size(), 1u) << clip;
        const auto kept = rig.pipeline.kept.Borrow();
        ASSERT_TRUE(kept && kept->picture) << clip << ": the snapshot left it none";
        std::uint32_t sum = 0;
        for (std::size_t i = 0; i < kept->picture.Capacity(); i += 61)
            sum += kept->picture.Data()[i];
        EXPECT_EQ(sum, rig.sink->checksum) << clip;
    }
}

// Pictures go on and requests wait, however long the writer takes.
TEST(DisplayLoop, AStalledWriterHoldsNothingUp) {
    Rig rig(VideoCodec::H264);
    const auto taker = std::make_shared<TakerLog>();
    rig.pipeline.snapshots = taker;
    taker->fileIsSlow = true;
    rig.param.snapshots.RequestFile({});
    const std::vector<Bytes> packets = LoadPackets("h264_baseline_64x48");
    for (std::uint32_t i = 0; i < 25; ++i)
        rig.Play(packets[i % 8], i, i % 8 == 0 ? 0 : 1);
    EXPECT_EQ(rig.sink->Shown().size(), 25u);
    EXPECT_TRUE(taker->calls.empty());
    taker->fileIsSlow = false;
    rig.Play(packets[0]);
    EXPECT_EQ(taker->calls.size(), 1u);
}

TEST(DisplayLoop, DrawsRegionsInUseThatAreSwitchedOn) {
    Rig rig(VideoCodec::None);
    DisplayFrame* frame = nullptr;
    const auto show = [&] {
        rig.pipeline.pool.TakeFree(&frame);
        frame->size = {8, 8};
        frame->format = codec::PixelFormat::kYuy2;
        frame->used = {true, true, false};
        frame->picture = PictureBuffer(128);
        std::fill_n(frame->picture.Data(), 128, std::uint8_t{0});
        rig.pipeline.pool.PutDisplayable(frame, 1);
        rig.display->Step();
        return rig.sink->Shown().back().drawn;
    };
    EXPECT_EQ(show(), (std::array<bool, 3>{}));
    rig.param.showRegions.Set(true);
    rig.param.regionShown[1].Set(false);
    EXPECT_EQ(show(), (std::array<bool, 3>{true, false, false}));
}

}  // namespace
}  // namespace norix
