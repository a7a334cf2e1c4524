#include "live/rtp/RtcpPacket.h"

#include <algorithm>

namespace live::rtp {
namespace {

constexpr unsigned kVersion = 2;
constexpr unsigned kSenderReport = 200;
constexpr unsigned kReceiverReport = 201;
constexpr unsigned kSourceDescription = 202;
constexpr unsigned kBye = 203;
constexpr unsigned kItemName = 1;
constexpr std::size_t kMaxItem = 255;

void put(std::vector<unsigned char>& out, std::uint32_t value, int bytes) {
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
        out.push_back(static_cast<unsigned char>(value >> shift));
}

// The length counts 32-bit words after the header.
void putHeader(std::vector<unsigned char>& out, unsigned count, unsigned type, std::size_t words) {
    put(out, kVersion << 6 | count, 1);
    put(out, type, 1);
    put(out, static_cast<std::uint32_t>(words), 2);
}

}  // namespace

bool parseRtcp(Bytes compound, RtcpReceiver& receiver) {
    ByteReader reader(compound);
    while (reader.left() > 0) {
        const unsigned flags = reader.u8();
        const unsigned type = reader.u8();
        const std::size_t size = reader.u16() * std::size_t{4};
        ByteReader body(reader.take(size));
        if (!reader.ok() || flags >> 6 != kVersion) return false;
        if (type == kSenderReport) {
            SenderReport report;
            report.ssrc = body.u32();
            report.ntpTime = std::uint64_t{body.u32()} << 32;
            report.ntpTime |= body.u32();
            report.rtpTimestamp = body.u32();
            body.skip(8);  // packet and octet counts
            if (!body.ok()) return false;
            receiver.onSenderReport(report);
        } else if (type == kBye) {
            for (unsigned left = flags & 0x1F; left > 0; --left) {
                const std::uint32_t ssrc = body.u32();
                if (!body.ok()) return false;
                receiver.onBye(ssrc);
            }
        }
    }
    return true;
}

void buildReceiverReport(std::uint32_t ownSsrc, const ReceptionReport* report, std::string_view name,
                         std::vector<unsigned char>& out) {
    out.clear();
    putHeader(out, report ? 1 : 0, kReceiverReport, report ? 7 : 1);
    put(out, ownSsrc, 4);
    if (report) {
        put(out, report->ssrc, 4);
        put(out, report->fractionLost, 1);
        put(out, static_cast<std::uint32_t>(std::clamp(report->packetsLost, -0x800000, 0x7FFFFF)), 3);
        put(out, report->highestSequence, 4);
        put(out, report->jitter, 4);
        put(out, report->lastReport, 4);
        put(out, report->delaySinceLastReport, 4);
    }
    name = name.substr(0, kMaxItem);
    const std::size_t words = (2 + name.size()) / 4 + 1;  // at least one zero ends the list of items
    putHeader(out, 1, kSourceDescription, 1 + words);
    put(out, ownSsrc, 4);
    put(out, kItemName, 1);
    put(out, static_cast<std::uint32_t>(name.size()), 1);
    out.insert(out.end(), name.begin(), name.end());
    out.insert(out.end(), words * 4 - 2 - name.size(), 0);
}

void buildBye(std::uint32_t ownSsrc, std::vector<unsigned char>& out) {
    out.clear();
    // A compound packet begins with a report.
    putHeader(out, 0, kReceiverReport, 1);
    put(out, ownSsrc, 4);
    putHeader(out, 1, kBye, 1);
    put(out, ownSsrc, 4);
}

}  // namespace live::rtp
