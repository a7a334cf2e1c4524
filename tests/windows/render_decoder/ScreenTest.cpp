// A stream goes in, its pictures are on the screen.

#include <gtest/gtest.h>

#include <cstdlib>

#include "codec/H264Decoder.h"
#include "render/decode/Decoder.h"
#include "tests/native/codec/Corpus.h"
#include "tests/windows/render_presenter/Screen.h"

namespace norix {
namespace {

constexpr char kClip[] = "h264_high_slices_640x360";
constexpr PixelSize kSize{640, 360};
constexpr PixelRect kPlace{100, 80, 100 + kSize.width, 80 + kSize.height};

// Mean difference of the channels between the screen and the picture that the codec library makes by itself.
double DifferenceFromScreen(const std::vector<std::uint8_t>& bgr) {
    const Pixels screen = Pixels::OfScreen(kPlace);
    double sum = 0;
    for (int y = 0; y < kSize.height; ++y) {
        for (int x = 0; x < kSize.width; ++x) {
            const std::uint8_t* const pixel = &bgr[static_cast<std::size_t>(y * kSize.width + x) * 3];
            const COLORREF seen = screen.At(x, y);
            sum += std::abs(GetBValue(seen) - pixel[0]) + std::abs(GetGValue(seen) - pixel[1]) +
                   std::abs(GetRValue(seen) - pixel[2]);
        }
    }
    return sum / (3.0 * kSize.width * kSize.height);
}

class ScreenTest : public testing::TestWithParam<DisplayMode> {};

TEST_P(ScreenTest, ShowsTheStreamsPictures) {
    const auto packets = codec::test::LoadPackets(kClip);
    const TestWindow window(kPlace, RGB(255, 0, 255));
    MediaSettings noDrops;
    noDrops.enableDecodeFrameDrop = false;
    noDrops.enableDisplayFrameDrop = false;
    const auto shared = std::make_shared<CCtrlParam>(noDrops);
    CCtrlParam& param = *shared;
    param.videoCodec.Set(VideoCodec::H264);
    CDecoder decoder(4, DecoderSettings());
    PresenterConfig config;
    config.videoWindow = window.Handle();
    config.notifyWindow = window.Handle();
    config.view = decoder.View();
    decoder.SetPresenter(CreatePresenter(GetParam(), config));
    decoder.CreateDisplayThread();
    decoder.StartDecThread(shared);

    codec::H264Decoder reference;
    ASSERT_EQ(reference.Initialise(packets[0].data(), packets[0].size()), codec::Status::kOk);
    std::vector<std::uint8_t> bgr(kSize.width * kSize.height * 3);
    for (std::size_t i = 0; i < packets.size(); ++i) {
        ASSERT_EQ(reference.Decode(packets[i].data(), packets[i].size(),
                                   {codec::PixelFormat::kBgr24, bgr.data(), bgr.size(), 0}),
                  codec::Status::kOk);
        param.InsertFrameToVideoBuffer(packets[i].data(), packets[i].size(), 0, i == 0 ? 0 : 1);
        for (int waited = 0; waited < 5000 && param.GetFrameCount(FrameCounters::kDisplayed) <= i; ++waited) {
            PumpMessages();
            Sleep(1);
        }
        EXPECT_LT(DifferenceFromScreen(bgr), GetParam() == DisplayMode::Gdi ? 1.0 : 6.0) << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Modes, ScreenTest, testing::Values(DisplayMode::Gdi, DisplayMode::DirectDraw),
                         [](const auto& info) {
                             return info.param == DisplayMode::Gdi ? "Gdi" : "DirectDraw";
                         });

}  // namespace
}  // namespace norix
