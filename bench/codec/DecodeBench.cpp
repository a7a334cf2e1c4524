// One iteration is the whole clip; "frame" is the time of one frame. "Bare" is libavcodec by itself on the
// same packets with the same number of threads.

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <benchmark/benchmark.h>

#include <memory>

#include "bench/codec/Clip.h"
#include "codec/H264Decoder.h"
#include "codec/Jpeg.h"
#include "codec/StaticInit.h"
#include "codec/xvid.h"

namespace codec::bench {
namespace {

constexpr int kWidths[] = {1280, 1920};
constexpr int kHeights[] = {720, 1080};

std::string ClipName(const char* codec, std::int64_t size) {
    return std::string(codec) + (size == 0 ? "_720p" : "_1080p");
}

/// Plays the clip round and round.
class Loop {
  public:
    explicit Loop(const std::vector<Bytes>& packets) : m_packets(packets) {}
    std::size_t Length() const { return m_packets.size(); }
    const Bytes& Next() { return m_packets[m_next++ % m_packets.size()]; }

  private:
    const std::vector<Bytes>& m_packets;
    std::size_t m_next = 0;
};

/// Decodes the clip once per iteration, after one time that doesn't count. Reports the time per frame, and
/// how often operator new was called for it.
template <typename Frame>
void Run(benchmark::State& state, std::size_t frames, const Frame& frame) {
    const auto clip = [&] {
        for (std::size_t i = 0; i < frames; ++i)
            frame();
    };
    clip();
    const std::uint64_t before = Allocations();
    for (auto _ : state)
        clip();
    const double decoded = static_cast<double>(frames) * static_cast<double>(state.iterations());
    state.counters["allocs"] = static_cast<double>(Allocations() - before) / decoded;
    state.counters["frame"] =
        benchmark::Counter(decoded, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

struct AvDelete {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};

void Bare(benchmark::State& state, AVCodecID id, const std::vector<Bytes>& packets, int threads) {
    (void)StaticInit();
    const AVCodec* decoder = avcodec_find_decoder(id);
    std::unique_ptr<AVCodecContext, AvDelete> context(avcodec_alloc_context3(decoder));
    context->thread_type = FF_THREAD_SLICE;
    context->thread_count = threads;
    if (id == AV_CODEC_ID_MPEG4) {
        context->idct_algo = FF_IDCT_SIMPLE;
        context->flags |= AV_CODEC_FLAG_BITEXACT;
    }
    avcodec_open2(context.get(), decoder, nullptr);
    std::unique_ptr<AVFrame, AvDelete> frame(av_frame_alloc());
    // Ready packets: what demuxing costs is not the question.
    std::vector<std::unique_ptr<AVPacket, AvDelete>> ready;
    for (const Bytes& bytes : packets) {
        ready.emplace_back(av_packet_alloc());
        av_new_packet(ready.back().get(), static_cast<int>(bytes.size()));
        std::copy(bytes.begin(), bytes.end(), ready.back()->data);
    }
    std::size_t next = 0;
    Run(state, ready.size(), [&] {
        avcodec_send_packet(context.get(), ready[next++ % ready.size()].get());
        avcodec_receive_frame(context.get(), frame.get());
        benchmark::DoNotOptimize(frame->data[0]);
        av_frame_unref(frame.get());
    });
}

// Arguments: size (0: 720p, 1: 1080p), slices in a picture, threads.
std::string H264Name(const benchmark::State& state) {
    return ClipName("h264", state.range(0)) + "_" + std::to_string(state.range(1));
}

void H264Bare(benchmark::State& state) {
    Bare(state, AV_CODEC_ID_H264, LoadClip(H264Name(state)), static_cast<int>(state.range(2)));
}

void H264Planar(benchmark::State& state) {
    Loop loop(LoadClip(H264Name(state)));
    H264Decoder decoder(static_cast<int>(state.range(2)));
    PlanarPicture picture;
    const Bytes& first = LoadClip(H264Name(state))[0];
    if (decoder.Initialise(first.data(), first.size()) != Status::kOk)
        return state.SkipWithError("no stream");
    Run(state, loop.Length(), [&] {
        const Bytes& packet = loop.Next();
        if (decoder.DecodePlanar(packet.data(), packet.size(), &picture) != Status::kOk) {
            state.SkipWithError("no picture");
        }
    });
}

void H264Packed(benchmark::State& state, PixelFormat format) {
    Loop loop(LoadClip(H264Name(state)));
    H264Decoder decoder(static_cast<int>(state.range(2)));
    const Bytes& first = LoadClip(H264Name(state))[0];
    if (decoder.Initialise(first.data(), first.size()) != Status::kOk)
        return state.SkipWithError("no stream");
    Bytes buffer(PictureBytes(format, decoder.Width(), decoder.Height()));
    Run(state, loop.Length(), [&] {
        const Bytes& packet = loop.Next();
        if (decoder.Decode(packet.data(), packet.size(), {format, buffer.data(), buffer.size(), 0}) !=
            Status::kOk) {
            state.SkipWithError("no picture");
        }
    });
}
void H264Yuy2(benchmark::State& state) {
    H264Packed(state, PixelFormat::kYuy2);
}
void H264Bgr24(benchmark::State& state) {
    H264Packed(state, PixelFormat::kBgr24);
}

// Processor time tells more than the clock does, except where the work is shared.
void OneThread(benchmark::internal::Benchmark* bench) {
    bench->Unit(benchmark::kMillisecond)->ArgNames({"1080p", "slices", "threads"});
    for (int size : {0, 1})
        bench->Args({size, 1, 1});
}
void TwoThreads(benchmark::internal::Benchmark* bench) {
    bench->Unit(benchmark::kMillisecond)->UseRealTime()->ArgNames({"1080p", "slices", "threads"});
    for (int size : {0, 1})
        bench->Args({size, 4, 2});
}
BENCHMARK(H264Bare)->Apply(OneThread);
BENCHMARK(H264Planar)->Apply(OneThread);
BENCHMARK(H264Yuy2)->Apply(OneThread);
BENCHMARK(H264Bgr24)->Apply(OneThread);
BENCHMARK(H264Bare)->Apply(TwoThreads);
BENCHMARK(H264Planar)->Apply(TwoThreads);
BENCHMARK(H264Yuy2)->Apply(TwoThreads);
BENCHMARK(H264Bgr24)->Apply(TwoThreads);

void H264Speed(benchmark::State& state) {
    Loop loop(LoadClip("h264_1080p_1"));
    const Bytes& first = LoadClip("h264_1080p_1")[0];
    H264Decoder decoder(1);
    decoder.SetSpeed(static_cast<int>(state.range(0)));
    if (decoder.Initialise(first.data(), first.size()) != Status::kOk)
        return state.SkipWithError("no stream");
    PlanarPicture picture;
    Run(state, loop.Length(), [&] {
        const Bytes& packet = loop.Next();
        benchmark::DoNotOptimize(decoder.DecodePlanar(packet.data(), packet.size(), &picture));
    });
}
BENCHMARK(H264Speed)->Unit(benchmark::kMillisecond)->DenseRange(0, 7);

void Mpeg4Bare(benchmark::State& state) {
    Bare(state, AV_CODEC_ID_MPEG4, LoadClip(ClipName("mpeg4", state.range(0))), 1);
}

void Mpeg4Packed(benchmark::State& state, int csp, int bytesPerPixel) {
    (void)StaticInit();
    Loop loop(LoadClip(ClipName("mpeg4", state.range(0))));
    const int width = kWidths[state.range(0)];
    const int height = kHeights[state.range(0)];
    Bytes buffer(static_cast<std::size_t>(width * height) * 3);
    xvid_gbl_init_t init = {};
    init.version = XVID_VERSION;
    xvid_global(nullptr, XVID_GBL_INIT, &init, nullptr);
    xvid_dec_create_t create = {};
    create.version = XVID_VERSION;
    xvid_decore(nullptr, XVID_DEC_CREATE, &create, nullptr);
    Run(state, loop.Length(), [&] {
        const Bytes& packet = loop.Next();
        std::size_t at = 0;
        xvid_dec_stats_t stats = {};
        while (at < packet.size() && stats.type <= 0) {
            xvid_dec_frame_t frame = {};
            frame.version = stats.version = XVID_VERSION;
            frame.bitstream = const_cast<std::uint8_t*>(packet.data() + at);
            frame.length = static_cast<int>(packet.size() - at);
            frame.output.csp = csp;
            frame.output.plane[0] = buffer.data();
            frame.output.stride[0] = width * bytesPerPixel;
            const int used = xvid_decore(create.handle, XVID_DEC_DECODE, &frame, &stats);
            if (used <= 0) return state.SkipWithError("no picture");
            at += static_cast<std::size_t>(used);
        }
    });
    xvid_decore(create.handle, XVID_DEC_DESTROY, nullptr, nullptr);
}
void Mpeg4NoOutput(benchmark::State& state) {
    Mpeg4Packed(state, XVID_CSP_NULL, 0);
}
void Mpeg4Yuy2(benchmark::State& state) {
    Mpeg4Packed(state, XVID_CSP_YUY2, 2);
}
void Mpeg4Bgr24(benchmark::State& state) {
    Mpeg4Packed(state, XVID_CSP_BGR, 3);
}

void BothSizes(benchmark::internal::Benchmark* bench) {
    bench->Unit(benchmark::kMillisecond)->ArgName("1080p")->Arg(0)->Arg(1);
}
BENCHMARK(Mpeg4Bare)->Apply(BothSizes);
BENCHMARK(Mpeg4NoOutput)->Apply(BothSizes);
BENCHMARK(Mpeg4Yuy2)->Apply(BothSizes);
BENCHMARK(Mpeg4Bgr24)->Apply(BothSizes);

// Only where there is one: ours is built without FFmpeg's decoder for JPEG.
void JpegBare(benchmark::State& state) {
    if (avcodec_find_decoder(AV_CODEC_ID_MJPEG) == nullptr) {
        state.SkipWithError("no decoder");
        return;
    }
    Bare(state, AV_CODEC_ID_MJPEG, LoadClip(ClipName("jpeg", state.range(0))), 1);
}

void JpegPacked(benchmark::State& state, PixelFormat format) {
    Loop loop(LoadClip(ClipName("jpeg", state.range(0))));
    JpegDecoder decoder;
    Bytes buffer(PictureBytes(format, kWidths[state.range(0)], kHeights[state.range(0)]));
    Run(state, loop.Length(), [&] {
        const Bytes& packet = loop.Next();
        if (decoder.Decode(packet.data(), packet.size(), {format, buffer.data(), buffer.size(), 0}) !=
            Status::kOk) {
            state.SkipWithError("no picture");
        }
    });
}
void JpegYuy2(benchmark::State& state) {
    JpegPacked(state, PixelFormat::kYuy2);
}
void JpegBgr24(benchmark::State& state) {
    JpegPacked(state, PixelFormat::kBgr24);
}

void JpegEncode(benchmark::State& state) {
    const Bytes& packet = LoadClip(ClipName("jpeg", state.range(0)))[0];
    const int width = kWidths[state.range(0)];
    const int height = kHeights[state.range(0)];
    JpegDecoder decoder;
    JpegEncoder encoder;
    Bytes buffer(PictureBytes(PixelFormat::kBgr24, width, height));
    (void)decoder.Decode(packet.data(), packet.size(),
                         {PixelFormat::kBgr24, buffer.data(), buffer.size(), 0});
    const std::uint8_t* jpeg = nullptr;
    std::size_t size = 0;
    Run(state, 10,
        [&] { (void)encoder.Encode(PixelFormat::kBgr24, buffer.data(), width, height, 0, &jpeg, &size); });
}
BENCHMARK(JpegBare)->Apply(BothSizes);
BENCHMARK(JpegYuy2)->Apply(BothSizes);
BENCHMARK(JpegBgr24)->Apply(BothSizes);
BENCHMARK(JpegEncode)->Apply(BothSizes);

}  // namespace
}  // namespace codec::bench
