// Once a stream runs, no frame costs an allocation.

#include <gtest/gtest.h>

#include "Streams.h"
#include "include/HTTP/BodyDecoder.h"
#include "include/HTTP/FrameDelivery.h"
#include "tests/support/CountAllocations.h"
#include "tests/support/MediaPlatformFake.h"

namespace http_test {
namespace {

using namespace norix;
using namespace norix::http;

TEST(SteadyState, AllocatesNothingPerFrame) {
    const platform::FakePlatform platform;
    const std::string picture = Header(60'000) + Jpeg(60'000 - Jpeg(0).size());
    const std::string part =
        "--foo\r\nContent-Length: " + std::to_string(picture.size()) + "\r\n\r\n" + picture + "\r\n";
    const std::string uncounted = "--foo\r\n\r\n" + picture + "\r\n";
    for (const auto& [type, unit] :
         {std::pair(std::string("multipart/x-mixed-replace; boundary=foo"), part),
          std::pair(std::string("multipart/x-mixed-replace; boundary=foo"), uncounted),
          std::pair(std::string("image/jpeg"), picture)}) {
        CCtrlParam param;
        FrameDelivery delivery(FrameDelivery::Kind::Pictures, param, nullptr);
        PictureSplitter splitter(512'000, ParseContentType(type));
        BodyDecoder body(true, std::nullopt);
        char size[16];
        std::snprintf(size, sizeof(size), "%zx\r\n", unit.size());
        const std::string chunk = size + unit + "\r\n";
        std::size_t before = 0;
        constexpr int kFrames = 40;
        for (int i = 0; i < kFrames; ++i) {
            if (i == 2) before = g_allocations;
            Bytes bytes = BytesOf(chunk), piece;
            while (body.Next(bytes, piece) == BodyDecoder::State::Data) {
                ASSERT_EQ(splitter.Feed(piece, delivery), Splitter::State::GoOn);
            }
            VideoFrameRecord* record = nullptr;
            if (param.GetFilledVideoFrame(&record) == kResultOk) param.PutEmptyVideoFrame(record);
        }
        EXPECT_EQ(g_allocations, before);
        EXPECT_GE(param.GetFrameCount(FrameCounters::kReceived), kFrames - 1u);
    }
}

}  // namespace
}  // namespace http_test
