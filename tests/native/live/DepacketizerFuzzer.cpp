// RTP packets of every payload format, in any order, through the reordering buffer. The input: a byte that
// chooses the format, then packets, each behind its length (2 bytes).

#include <cstdint>
#include <cstdlib>

#include "live/rtp/PayloadFormats.h"
#include "live/rtp/ReorderBuffer.h"

namespace {

using namespace live::rtp;

struct Receiver : OrderedReceiver {
    std::unique_ptr<Depacketizer> depacketizer;
    FrameQueue frames;
    void onOrderedPacket(Bytes bytes, bool afterLoss) override {
        const auto packet = parseRtpPacket(bytes);
        if (!packet) return;
        depacketizer->onPacket(*packet, afterLoss, frames);
        for (; !frames.empty(); frames.pop()) {
            if (frames.front().bytes.empty()) std::abort();
        }
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const char* const kFormats[] = {
        "a=rtpmap:96 H264/90000",
        "a=rtpmap:96 MP4V-ES/90000",
        "a=rtpmap:96 JPEG/90000",
        "a=rtpmap:96 PCMU/8000",
        "a=rtpmap:96 MPEG4-GENERIC/8000\na=fmtp:96 sizelength=13;indexlength=3;indexdeltalength=3",
        ("a=rtpmap:96 MPEG4-GENERIC/8000\na=fmtp:96 "
         "sizelength=32;indexlength=32;indexdeltalength=32;ctsdeltalength=31;"
         "dtsdeltalength=7;randomaccessindication=1;streamstateindication=5;auxiliarydatasizelength=9;"
         "constantduration=9")};
    if (size == 0) return 0;
    std::string error;
    const auto session = live::sdp::parseSdp(
        std::string("m=video 0 RTP/AVP 96\n") + kFormats[data[0] % std::size(kFormats)] + "\n", error);
    Receiver receiver;
    receiver.depacketizer = makeDepacketizer(session->media[0], error);
    static ReorderBuffer reorder;
    reorder.reset();
    ByteReader reader(Bytes(data, size).subspan(1));
    std::int64_t now = 0;
    while (reader.left() > 0) {
        const std::size_t length = reader.u16() % 2048;
        const Bytes bytes = reader.take(std::min(length, reader.left()));
        if (const auto packet = parseRtpPacket(bytes))
            reorder.push(packet->sequence, bytes, now += 10'000, receiver);
    }
    reorder.expire(INT64_MAX, receiver);
    return 0;
}
