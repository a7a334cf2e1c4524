// RTP packets of every payload format, in any order, through the reordering buffer. The input: a byte that
// chooses the format, then packets, each behind its length (2 bytes) and a byte that says how often its
// payload is repeated, up to a datagram's size and some of these in all: what loops shows in what is long.
// There may be no more frames than bytes that came.

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "live/rtp/PayloadFormats.h"
#include "live/rtp/ReorderBuffer.h"

namespace {

using namespace live::rtp;

struct Receiver : OrderedReceiver {
    std::unique_ptr<Depacketizer> depacketizer;
    FrameQueue frames;
    std::size_t received = 0;
    std::size_t delivered = 0;
    void onOrderedPacket(Bytes bytes, bool afterLoss) override {
        const auto packet = parseRtpPacket(bytes);
        if (!packet) return;
        if (afterLoss) frames.noteMissing();
        depacketizer->onPacket(*packet, afterLoss, frames);
        received += bytes.size();
        for (; !frames.empty(); frames.pop()) {
            if (frames.front().bytes.empty() || ++delivered > received) std::abort();
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
         "constantduration=9"),
        "a=rtpmap:96 H265/90000",
        "a=rtpmap:96 H265/90000\na=fmtp:96 sprop-max-don-diff=3"};
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
    constexpr std::size_t kHeader = 12, kLongest = 65535;
    std::size_t room = 3 * kLongest;
    while (reader.left() > 0) {
        const std::size_t length = reader.u16() % 2048;
        const unsigned repeated = reader.u8();
        const Bytes bytes = reader.take(std::min(length, reader.left()));
        static std::vector<unsigned char> packet;
        packet.assign(bytes.begin(), bytes.end());
        if (bytes.size() > kHeader) {
            const std::size_t part = bytes.size() - kHeader;
            const std::size_t times =
                std::min<std::size_t>(repeated * repeated, std::min(kLongest - bytes.size(), room) / part);
            packet.resize(bytes.size() + times * part);
            for (std::size_t at = bytes.size(); at < packet.size(); at += part)
                std::memcpy(&packet[at], &bytes[kHeader], part);
            room -= times * part;
        }
        if (const auto parsed = parseRtpPacket(packet))
            reorder.push(parsed->sequence, packet, now += 10'000, receiver);
    }
    reorder.expire(INT64_MAX, receiver);
    return 0;
}
