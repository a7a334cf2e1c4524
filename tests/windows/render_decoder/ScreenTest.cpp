// A stream goes in, its pictures are on the screen.

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <string>

#include "codec/H264Decoder.h"
#include "codec/Jpeg.h"
#include "render/decode/Decoder.h"
#include "tests/native/codec/Corpus.h"
#include "tests/windows/render_presenter/Screen.h"

namespace norix {
namespace {

using codec::test::Bytes;

constexpr PixelSize kWindow{640, 360};
constexpr PixelRect kPlace{100, 80, 100 + kWindow.width, 80 + kWindow.height};

struct BgrPicture {
    PixelSize size;
    Bytes pixels;
};

// Decodes by the codec library alone.
class Reference {
  public:
    explicit Reference(VideoCodec kind) : m_kind(kind) {}

    // One picture from each packet.
    const BgrPicture& Decode(const Bytes& packet) {
        codec::JpegInfo info;
        const bool jpeg = m_kind == VideoCodec::Mjpeg;
        if (jpeg) {
            EXPECT_EQ(m_jpeg.ReadHeader(packet.data(), packet.size(), &info), codec::Status::kOk);
        } else if (!m_h264.IsInitialised()) {
            EXPECT_EQ(m_h264.Initialise(packet.data(), packet.size()), codec::Status::kOk);
        }
        m_picture.size =
            jpeg ? PixelSize{info.width, info.height} : PixelSize{m_h264.Width(), m_h264.Height()};
        m_picture.pixels.resize(
            codec::PictureBytes(codec::PixelFormat::kBgr24, m_picture.size.width, m_picture.size.height));
        const codec::OutputPicture out{codec::PixelFormat::kBgr24, m_picture.pixels.data(),
                                       m_picture.pixels.size(), 0};
        EXPECT_EQ(jpeg ? m_jpeg.Decode(packet.data(), packet.size(), out)
                       : m_h264.Decode(packet.data(), packet.size(), out),
                  codec::Status::kOk);
        return m_picture;
    }

  private:
    const VideoCodec m_kind;
    codec::H264Decoder m_h264;
    codec::JpegDecoder m_jpeg;
    BgrPicture m_picture;
};

using Colour = std::array<double, 3>;  // blue, green, red

template <typename At>
Colour MeanColour(const PixelRect& rect, const At& at) {
    Colour sum{};
    for (int y = rect.top; y < rect.bottom; ++y) {
        for (int x = rect.left; x < rect.right; ++x) {
            const Colour colour = at(x, y);
            for (std::size_t i = 0; i < sum.size(); ++i)
                sum[i] += colour[i];
        }
    }
    for (double& channel : sum)
        channel /= static_cast<double>(rect.Width()) * rect.Height();
    return sum;
}

// Mean difference of the channels between the screen and the picture. A picture of another size than the
// window's is compared by the mean colours of cells, since which of its pixels are left out is not the point.
double DifferenceFromScreen(const BgrPicture& picture) {
    const Pixels screen = Pixels::OfScreen(kPlace);
    const PixelSize cells = picture.size == kWindow ? kWindow : PixelSize{32, 18};
    const auto cell = [&](PixelSize whole, int x, int y) {
        return PixelRect{x * whole.width / cells.width, y * whole.height / cells.height,
                         (x + 1) * whole.width / cells.width, (y + 1) * whole.height / cells.height};
    };
    double sum = 0;
    for (int y = 0; y < cells.height; ++y) {
        for (int x = 0; x < cells.width; ++x) {
            const Colour seen = MeanColour(cell(kWindow, x, y), [&](int column, int row) {
                const COLORREF colour = screen.At(column, row);
                return Colour{static_cast<double>(GetBValue(colour)), static_cast<double>(GetGValue(colour)),
                              static_cast<double>(GetRValue(colour))};
            });
            const Colour expected = MeanColour(cell(picture.size, x, y), [&](int column, int row) {
                const std::uint8_t* const at =
                    &picture.pixels[(static_cast<std::size_t>(row) * picture.size.width + column) * 3];
                return Colour{static_cast<double>(at[0]), static_cast<double>(at[1]),
                              static_cast<double>(at[2])};
            });
            for (std::size_t i = 0; i < seen.size(); ++i)
                sum += std::abs(seen[i] - expected[i]);
        }
    }
    return sum / (3.0 * cells.width * cells.height);
}

struct Case {
    const char* name;
    DisplayMode mode;
    VideoCodec kind;
    const char* clip;
};

class ScreenTest : public testing::TestWithParam<Case> {};

TEST_P(ScreenTest, ShowsTheStreamsPictures) {
    const std::vector<Bytes> packets = codec::test::LoadPackets(GetParam().clip);
    const TestWindow window(kPlace, RGB(255, 0, 255));
    MediaSettings noDrops;
    noDrops.enableDecodeFrameDrop = false;
    noDrops.enableDisplayFrameDrop = false;
    const auto shared = std::make_shared<CCtrlParam>(noDrops);
    CCtrlParam& param = *shared;
    param.videoCodec.Set(GetParam().kind);
    CDecoder decoder(static_cast<std::uint32_t>(GetParam().kind), DecoderSettings());
    PresenterConfig config;
    config.videoWindow = window.Handle();
    config.notifyWindow = window.Handle();
    config.view = decoder.View();
    config.decoderKind = static_cast<std::uint32_t>(GetParam().kind);
    decoder.SetPresenter(CreatePresenter(GetParam().mode, config));
    decoder.CreateDisplayThread();
    decoder.StartDecThread(shared);

    Reference reference(GetParam().kind);
    for (std::size_t i = 0; i < packets.size(); ++i) {
        const BgrPicture& expected = reference.Decode(packets[i]);
        param.InsertFrameToVideoBuffer(packets[i].data(), packets[i].size(), 0, i == 0 ? 0 : 1);
        for (int waited = 0; waited < 10000 && param.GetFrameCount(FrameCounters::kDisplayed) <= i;
             ++waited) {
            PumpMessages();
            Sleep(1);
        }
        const bool exact = expected.size == kWindow && GetParam().mode == DisplayMode::Gdi;
        EXPECT_LT(DifferenceFromScreen(expected), exact ? 1.0 : 6.0) << i;
    }
}

constexpr DisplayMode kGdi = DisplayMode::Gdi;
constexpr DisplayMode kDirectDraw = DisplayMode::DirectDraw;
INSTANTIATE_TEST_SUITE_P(
    Modes, ScreenTest,
    testing::Values(Case{"Gdi", kGdi, VideoCodec::H264, "h264_high_slices_640x360"},
                    Case{"DirectDraw", kDirectDraw, VideoCodec::H264, "h264_high_slices_640x360"},
                    // High definition, and larger than the buffers once were.
                    Case{"Gdi2560x1440", kGdi, VideoCodec::H264, "h264_high_2560x1440"},
                    Case{"DirectDraw2560x1440", kDirectDraw, VideoCodec::H264, "h264_high_2560x1440"},
                    Case{"Gdi3840x2160", kGdi, VideoCodec::H264, "h264_high_3840x2160"},
                    Case{"DirectDraw3840x2160", kDirectDraw, VideoCodec::H264, "h264_high_3840x2160"},
                    Case{"GdiJpegOf5Megapixels", kGdi, VideoCodec::Mjpeg, "jpeg_420_2592x1944"}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace norix
