// From a picture to what the host gets of it.

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "render/snapshot/SnapshotName.h"
#include "render/snapshot/SnapshotWork.h"
#include "tests/support/LogCapture.h"
#include "tests/support/MediaPlatformFake.h"

namespace norix {
namespace {

using Pixels = std::vector<std::uint8_t>;
using codec::PixelFormat;
using codec::Status;

// Every byte of a row tells where it stands; the padding does too, so that it shows where it must not.
DisplayFrame MakeFrame(PixelFormat format, PixelSize size) {
    DisplayFrame frame;
    frame.format = format;
    frame.size = size;
    const std::size_t bytes = PictureSizeBytes(format, size);
    frame.picture = PictureBuffer(bytes);
    for (std::size_t i = 0; i < bytes; ++i)
        frame.picture.Data()[i] = static_cast<std::uint8_t>(64 + i % 101);
    return frame;
}

Pixels Copy(SnapshotShaper::Bytes bytes) {
    return {bytes.begin(), bytes.end()};
}

TEST(SnapshotName, IsTheHostsTheTimeOrBoth) {
    const SnapshotTime time{2026, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(SnapshotFileName(L"", false, time), L"2026_03_04_05_06_07_008");
    EXPECT_EQ(SnapshotFileName(L"", true, time), L"2026_03_04_05_06_07_008");
    EXPECT_EQ(SnapshotFileName(L"cam1", true, time), L"cam1_2026_03_04_05_06_07_008");
    EXPECT_EQ(SnapshotFileName(L"cam1", false, time), L"cam1");
    EXPECT_EQ(SnapshotPath(L"C:\\Pictures", L"a.jpg"), L"C:\\Pictures\\a.jpg.jpg");
}

TEST(IntelJpegPacker, PacksAndUnpacksRowsWithAndWithoutPadding) {
    constexpr int kWidth = 35;  // rows of 105 bytes, 108 with padding
    constexpr int kHeight = 16;
    for (const bool converted : {true, false}) {
        const int stride = converted ? kWidth * 3 : (kWidth * 3 + 3) / 4 * 4;
        Pixels grey(static_cast<std::size_t>(stride) * kHeight);
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth * 3; ++x)
                grey[static_cast<std::size_t>(y * stride + x)] = static_cast<std::uint8_t>(x < 51 ? 40 : 200);
        CIntelJpegPacker packer(kWidth * 3 * kHeight);
        const std::uint8_t* jpeg = nullptr;
        std::size_t size = 0;
        ASSERT_EQ(packer.EncodeToJPEGBuffer(converted, grey.data(), kWidth, kHeight, &jpeg, &size),
                  Status::kOk);
        const std::uint8_t* picture = nullptr;
        int width = 0;
        int height = 0;
        int channels = 0;
        ASSERT_EQ(packer.DecodeFromJPEGBuffer(jpeg, size, &picture, &width, &height, &channels), Status::kOk);
        EXPECT_EQ(std::tuple(width, height, channels), std::tuple(kWidth, kHeight, 3));
        for (int y = 0; y < kHeight; ++y) {
            EXPECT_NEAR(picture[y * kWidth * 3 + 12], 40, 12) << y;
            EXPECT_NEAR(picture[y * kWidth * 3 + 90], 200, 12) << y;
        }
    }
}

TEST(SnapshotShaper, GivesEachFormatWithoutPadding) {
    CIntelJpegPacker packer(1 << 16);
    SnapshotShaper shaper(packer);
    for (const int width : {36, 35, 34, 33, 1}) {
        const PixelSize size{width, 5};
        const DisplayFrame bgr = MakeFrame(PixelFormat::kBgr24, size);
        Pixels rows;
        for (int y = 0; y < size.height; ++y) {
            const std::uint8_t* const row = bgr.picture.Data() + y * bgr.Stride();
            rows.insert(rows.end(), row, row + width * 3);
        }
        EXPECT_EQ(Copy(shaper.InFormat(SnapshotShaper::kBgr, bgr)), rows) << width;
        EXPECT_EQ(Copy(shaper.InFormat(SnapshotShaper::kYuy2, bgr)).at(0), 0xFF) << "GDI has no YUY2: a JPEG";

        const DisplayFrame yuy2 = MakeFrame(PixelFormat::kYuy2, size);
        const std::uint8_t* const data = yuy2.picture.Data();
        EXPECT_EQ(Copy(shaper.InFormat(SnapshotShaper::kYuy2, yuy2)), Pixels(data, data + width * 2 * 5))
            << width;
        EXPECT_EQ(shaper.InFormat(SnapshotShaper::kBgr, yuy2).size(),
                  static_cast<std::size_t>(width * 3 * 5));
        for (const std::int32_t other : {0, 3, -1}) {
            const Pixels jpeg = Copy(shaper.InFormat(other, yuy2));
            ASSERT_GT(jpeg.size(), 4u);
            EXPECT_EQ(jpeg[0] << 8 | jpeg[1], 0xFFD8);
        }
    }
}

class SnapshotWorkTest : public testing::Test, protected SnapshotStore {
  protected:
    SnapshotWorkTest() {
        param->window.Set(platform.Window());
        platform.onSend = [this](const platform::FakePlatform::Message& message) {
            const auto& picture = *reinterpret_cast<const SnapshotDescription*>(message.lParam);
            sent.push_back({picture.format, picture.byteLength});
        };
    }
    void Save(const SnapshotRequests::File& file, SnapshotShaper::Bytes jpeg) override {
        saved.push_back({file.name, Copy(jpeg)});
    }
    void Send() { SnapshotSending(sending, saving, 1 << 16).Run(); }
    void SaveAll() { SnapshotSaving(saving, *this, 1 << 16).Run(); }
    void RunToTheEnd() {
        sending.Close();
        Send();
        saving.Close();
        SaveAll();
    }
    static SnapshotRequests::File Named(const wchar_t* name) { return {L"folder", name}; }

    platform::FakePlatform platform;
    const std::shared_ptr<CCtrlParam> param = std::make_shared<CCtrlParam>(MediaSettings());
    SnapshotQueue saving;
    SnapshotQueue sending;
    std::vector<std::pair<std::wstring, Pixels>> saved;
    std::vector<std::pair<std::int32_t, std::uint32_t>> sent;
};

TEST_F(SnapshotWorkTest, ServesWhatWaitsAlsoAfterTheClosing) {
    const Pixels received = {0xFF, 0xD8, 1, 2, 3, 0xFF, 0xD9};
    ASSERT_TRUE(saving.PutJpeg(Named(L"received"), received.data(), received.size()));
    DisplayFrame frame = MakeFrame(PixelFormat::kYuy2, {10, 4});
    ASSERT_TRUE(sending.PutPicture({Named(L"both"), SnapshotShaper::kYuy2}, frame, param, saving.Reserve()));
    ASSERT_TRUE(sending.PutPicture({std::nullopt, SnapshotShaper::kBgr}, frame, param));
    RunToTheEnd();
    ASSERT_EQ(saved.size(), 2u);
    EXPECT_EQ(saved[0], std::pair(std::wstring(L"received"), received));
    EXPECT_EQ(saved[1].second.at(1), 0xD8);
    EXPECT_EQ(sent, (std::vector<std::pair<std::int32_t, std::uint32_t>>{{2, 10 * 2 * 4}, {1, 10 * 3 * 4}}));
    EXPECT_EQ(param.use_count(), 1);  // nothing holds on to the connection
    EXPECT_FALSE(saving.PutPicture({Named(L"late"), std::nullopt}, frame, param));
}

TEST_F(SnapshotWorkTest, TakesNoMoreThanItHasRoomForAndLeavesTheFrameABuffer) {
    DisplayFrame frame = MakeFrame(PixelFormat::kBgr24, {8, 8});
    const std::size_t capacity = frame.picture.Capacity();
    std::size_t taken = 0;
    for (const std::uint8_t* before = frame.picture.Data(); saving.HasRoom(); before = frame.picture.Data()) {
        ASSERT_TRUE(saving.PutPicture({Named(L"x"), std::nullopt}, frame, param));
        EXPECT_NE(frame.picture.Data(), before);
        EXPECT_EQ(frame.picture.Capacity(), capacity);
        std::fill_n(frame.picture.Data(), capacity, std::uint8_t{9});
        ++taken;
    }
    EXPECT_EQ(taken, SnapshotQueue::kCapacity);
    EXPECT_FALSE(saving.PutPicture({Named(L"y"), std::nullopt}, frame, param));
    EXPECT_EQ(frame.picture.Capacity(), capacity);
    std::thread work([this] { SaveAll(); });
    saving.Close();
    work.join();
    EXPECT_EQ(saved.size(), taken);
}

}  // namespace
}  // namespace norix
