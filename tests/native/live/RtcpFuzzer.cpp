// Compound packets, and what a source's clock and statistics make of them.

#include <cstdint>

#include "live/rtp/PresentationClock.h"
#include "live/rtp/ReceptionStats.h"
#include "live/rtp/RtcpPacket.h"

namespace {

struct Receiver : live::rtp::RtcpReceiver {
    live::rtp::PresentationClock clock{90000};
    live::rtp::ReceptionStats stats{90000};
    void onSenderReport(const live::rtp::SenderReport& report) override {
        clock.onSenderReport(report);
        stats.onSenderReport(report, 1000);
        clock.at(report.rtpTimestamp + report.ssrc, 5);
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
