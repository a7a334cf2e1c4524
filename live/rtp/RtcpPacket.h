#pragma once

// RTCP (RFC 3550, 6): what is read of reports and BYE, and the packets that we send.

#include <string_view>
#include <vector>

#include "live/rtp/ByteReader.h"

namespace live::rtp {

struct SenderReport {
    std::uint32_t ssrc = 0;
    std::uint64_t ntpTime = 0;  // seconds since 1900 in 32.32 fixed point
    std::uint32_t rtpTimestamp = 0;
};

class RtcpReceiver {
  public:
    virtual void onSenderReport(const SenderReport& report) = 0;
    virtual void onBye(std::uint32_t ssrc) = 0;

  protected:
    ~RtcpReceiver() = default;
};

/// Reports what a compound packet says; false when any part of it is malformed (what came before it counts).
bool parseRtcp(Bytes compound, RtcpReceiver& receiver);

struct ReceptionReport {
    std::uint32_t ssrc = 0;
    std::uint8_t fractionLost = 0;
    std::int32_t packetsLost = 0;
    std::uint32_t highestSequence = 0;
    std::uint32_t jitter = 0;
    std::uint32_t lastReport = 0;
    std::uint32_t delaySinceLastReport = 0;
};

/// Replace the contents of `out`. A receiver report and our name; `report` may be NULL: nothing received yet.
void buildReceiverReport(std::uint32_t ownSsrc, const ReceptionReport* report, std::string_view name,
                         std::vector<unsigned char>& out);
void buildBye(std::uint32_t ownSsrc, std::vector<unsigned char>& out);

}  // namespace live::rtp
