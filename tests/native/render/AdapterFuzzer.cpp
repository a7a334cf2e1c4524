// A whole decoder, from the parameter block to the sink, over streams whose sizes and formats change and
// whose host turns every knob.

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <vector>

#include "codec/StaticInit.h"
#include "render/decode/DecodeLoop.h"
#include "render/present/DisplayLoop.h"

namespace norix {
namespace {

// Larger pictures only cost time.
constexpr std::uint32_t kLargestPicture = 192 * 192 * 3;

// Aborts where a picture is not what it says it is; a sanitizer sees reading beyond its end.
class ReadingSink final : public PictureSink {
  public:
    explicit ReadingSink(codec::PixelFormat format) : m_format(format) {}
    codec::PixelFormat Format() const override { return m_format; }
    bool Prepare(PixelSize) override { return !refuses; }
    void Show(const DisplayFrame& frame, const std::array<bool, kRegionCount>&) override {
        const std::size_t bytes = PictureSizeBytes(frame.format, frame.size);
        if (frame.format != m_format || bytes > kLargestPicture || frame.picture.Capacity() < bytes)
            std::abort();
        unsigned sum = frame.picture.Data()[bytes - 1];
        for (std::size_t i = 0; i < bytes; i += 997)
            sum += frame.picture.Data()[i];
        checksum = sum;
    }
    void DisplayChanged() override {}

    bool refuses = false;
    volatile unsigned checksum = 0;

  private:
    const codec::PixelFormat m_format;
};

DecoderSettings Settings() {
    DecoderSettings settings;
    settings.enableTimeSync = false;
    settings.displayBufferSize = kLargestPicture;
    return settings;
}

// What a frame's first byte turns before it goes in.
enum Knob : std::uint8_t {
    kDelta = 1,
    kDamagedBefore = 2,
    kDeinterlace = 4,
    kOtherFormat = 8,
    kOtherSpeed = 16,
    kDecodeAv = 32,
    kKeyFramesOnly = 64,
    kSinkRefuses = 128,
};

void Play(VideoCodec kind, const std::uint8_t* data, std::size_t size) {
    const auto param = std::make_shared<CCtrlParam>(MediaSettings());
    param->videoCodec.Set(kind);
    Pipeline pipeline(kind, Settings());
    const std::shared_ptr<ReadingSink> sinks[] = {
        std::make_shared<ReadingSink>(codec::PixelFormat::kYuy2),
        std::make_shared<ReadingSink>(codec::PixelFormat::kBgr24),
    };
    std::size_t sink = 0;
    pipeline.param = param;
    pipeline.sink = sinks[sink];
    DecodeLoop decode(pipeline);
    DisplayLoop display(pipeline);
    std::uint32_t pts = 0;
    const auto flip = [](Shared<bool>& value) { value.Set(!value.Get()); };
    while (size > 3) {
        const std::uint8_t knobs = data[0];
        const std::size_t length = std::min<std::size_t>(data[1] | data[2] << 8, size - 3);
        if (knobs & kDeinterlace) flip(param->deInterlace);
        if (knobs & kDecodeAv) flip(param->decodeAV);
        if (knobs & kKeyFramesOnly) flip(param->iFrameOnly);
        if (knobs & kOtherSpeed) param->decodeSpeed.Set((param->decodeSpeed.Get() + 3) % 8);
        if (knobs & kOtherFormat) {
            sink = 1 - sink;
            pipeline.OfferSink(sinks[sink]);
        }
        if (knobs & kSinkRefuses) sinks[sink]->refuses = !sinks[sink]->refuses;
        // In memory of its own, so that reading beyond is seen.
        const std::vector<std::uint8_t> frame(data + 3, data + 3 + length);
        const int stored = param->InsertFrameToVideoBuffer(frame.data(), frame.size(), pts += 40,
                                                           knobs & kDelta, knobs & kDamagedBefore);
        if (stored == 1) decode.Step();
        while (pipeline.pool.Waiting() != 0)
            display.Step();
        data += 3 + length;
        size -= 3 + length;
    }
}

}  // namespace
}  // namespace norix

// The first byte chooses the codec; the rest is one frame after the other: knobs, length, bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const int kInitialised = codec::StaticInit();
    if (kInitialised != codec::kStaticInitOk || size == 0) return 0;
    constexpr norix::VideoCodec kKinds[] = {norix::VideoCodec::H264, norix::VideoCodec::Mpeg4,
                                            norix::VideoCodec::Mjpeg};
    norix::Play(kKinds[data[0] % 3], data + 1, size - 1);
    return 0;
}
