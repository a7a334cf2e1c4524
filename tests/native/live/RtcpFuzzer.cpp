// Compound packets, and what a source's clock and statistics make of them.

#include <cstdint>

#include "live/rtp/ReceptionStats.h"
#include "live/rtp/RtcpPacket.h"
#include "live/rtp/Timeline.h"

namespace {

struct Receiver : live::rtp::RtcpReceiver {
    live::rtp::SessionTimeline session;
    live::rtp::StreamTimeline first{session, 90000}, second{session, 8000};
    std::int64_t now = 0;
    live::rtp::ReceptionStats stats{90000};
    void onSenderReport(const live::rtp::SenderReport& report) override {
        live::rtp::StreamTimeline& clock = report.ssrc % 2 != 0 ? first : second;
        if (report.ssrc % 16 == 0) clock.onNewSender();
        clock.onSenderReport(report);
        stats.onSenderReport(report, 1000);
        clock.at(report.rtpTimestamp + report.ssrc, now += report.ssrc % 1'000'000, 5);
        stats.takeReport(2000);
    }
    void onBye(std::uint32_t) override {}
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Receiver receiver;
    live::rtp::parseRtcp({data, size}, receiver);
    return 0;
}
