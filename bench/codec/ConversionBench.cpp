// Conversion and filters on 1920x1080; one iteration is one picture.

#include <benchmark/benchmark.h>

#include "bench/codec/Clip.h"
#include "codec/BgrScaler.h"
#include "codec/ColorConvert.h"
#include "codec/Deinterlace.h"

#ifdef CODEC_BENCH_SWSCALE
extern "C" {
#include <libswscale/swscale.h>
}
#endif

namespace codec::bench {
namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;

struct Source {
    Source() : luma(kWidth * kHeight), chroma(kWidth * kHeight / 4) {
        for (std::size_t i = 0; i < luma.size(); ++i)
            luma[i] = static_cast<std::uint8_t>(16 + i * 7 % 220);
        for (std::size_t i = 0; i < chroma.size(); ++i)
            chroma[i] = static_cast<std::uint8_t>(16 + i * 5 % 225);
        picture.width = kWidth;
        picture.height = kHeight;
        picture.planes[0] = luma.data();
        picture.planes[1] = picture.planes[2] = chroma.data();
        picture.strides[0] = kWidth;
        picture.strides[1] = picture.strides[2] = kWidth / 2;
    }
    Bytes luma;
    Bytes chroma;
    PlanarPicture picture;
};

// Arguments: format (0: YUY2, 1: BGR24), whether the source is full range, whether it is BT.709.
void Convert(benchmark::State& state) {
    Source source;
    source.picture.fullRange = state.range(1) != 0;
    source.picture.matrix = state.range(2) != 0 ? ColourMatrix::kBt709 : ColourMatrix::kBt601;
    const PixelFormat format = state.range(0) ? PixelFormat::kBgr24 : PixelFormat::kYuy2;
    Bytes out(PictureBytes(format, kWidth, kHeight));
    ColorConverter converter;
    for (auto _ : state) {
        if (converter.Convert(source.picture, {format, out.data(), out.size(), 0}) != Status::kOk) {
            state.SkipWithError("refused");
        }
    }
}
BENCHMARK(Convert)
    ->Unit(benchmark::kMillisecond)
    ->ArgNames({"bgr24", "full", "709"})
    ->ArgsProduct({{0, 1}, {0, 1}, {0, 1}});

#ifdef CODEC_BENCH_SWSCALE
void ConvertSwscale(benchmark::State& state) {
    const Source source;
    const bool bgr = state.range(0) != 0;
    const int bytesPerPixel = bgr ? 3 : 2;
    Bytes out(kWidth * kHeight * static_cast<std::size_t>(bytesPerPixel));
    SwsContext* context = sws_getContext(kWidth, kHeight, AV_PIX_FMT_YUV420P, kWidth, kHeight,
                                         bgr ? AV_PIX_FMT_BGR24 : AV_PIX_FMT_YUYV422, SWS_FAST_BILINEAR,
                                         nullptr, nullptr, nullptr);
    std::uint8_t* planes[4] = {out.data()};
    const int strides[4] = {kWidth * bytesPerPixel};
    for (auto _ : state)
        sws_scale(context, source.picture.planes, source.picture.strides, 0, kHeight, planes, strides);
    sws_freeContext(context);
}
BENCHMARK(ConvertSwscale)->Unit(benchmark::kMillisecond)->ArgName("bgr24")->Arg(0)->Arg(1);
#endif

void Yuy2ToBgr24(benchmark::State& state) {
    const Bytes yuy2(kWidth * kHeight * 2, 100);
    Bytes bgr(kWidth * kHeight * 3);
    for (auto _ : state)
        (void)ConvertYuy2ToBgr24(yuy2.data(), 0, kWidth, kHeight, bgr.data(), 0);
}
BENCHMARK(Yuy2ToBgr24)->Unit(benchmark::kMillisecond);

void Deinterlace(benchmark::State& state) {
    const int row = kWidth * static_cast<int>(state.range(0));
    const Bytes in(static_cast<std::size_t>(row) * kHeight, 100);
    Bytes out(in.size());
    for (auto _ : state)
        (void)DeinterlaceTriangle(in.data(), row, out.data(), row, row, kHeight);
}
BENCHMARK(Deinterlace)->Unit(benchmark::kMillisecond)->ArgName("bytesPerPixel")->Arg(2)->Arg(3);

// Into a window of the given width; a turned picture into one as high as that.
void Scale(benchmark::State& state) {
    const Bytes in(kWidth * kHeight * 3, 100);
    const auto rotation = static_cast<Rotation>(state.range(1));
    const bool quarter = rotation == Rotation::k90 || rotation == Rotation::k270;
    const int longer = static_cast<int>(state.range(0));
    const int width = quarter ? longer * kHeight / kWidth : longer;
    const int height = quarter ? longer : longer * kHeight / kWidth;
    Bytes out(static_cast<std::size_t>(width) * height * 4);
    BgrScaler scaler;
    const auto filter = state.range(2) != 0 ? BgrScaler::Filter::kBilinear : BgrScaler::Filter::kNearest;
    for (auto _ : state)
        (void)scaler.Scale({in.data(), kWidth * 3, kWidth, kHeight}, {out.data(), width * 4, width, height},
                           rotation, filter);
}
BENCHMARK(Scale)
    ->Unit(benchmark::kMillisecond)
    ->ArgNames({"to", "turned", "smooth"})
    ->ArgsProduct({{480, 960, 1920}, {0, 90, 180, 270}, {0, 1}});

}  // namespace
}  // namespace codec::bench
