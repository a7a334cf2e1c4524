// RTP and RTCP packets, their order, their times.

#include <gmock/gmock.h>

#include <algorithm>
#include <random>

#include "Packetizer.h"
#include "live/rtp/ReceptionStats.h"
#include "live/rtp/ReorderBuffer.h"
#include "live/rtp/RtcpPacket.h"
#include "live/rtp/SenderFilter.h"

namespace live_test {
namespace {

using namespace live::rtp;

TEST(RtpPacket, HeaderVariants) {
    struct Case {
        const char* what;
        Buffer bytes;
        int payload;  // its size; -1: refused
    };
    const Buffer fixed = {0x80, 0xE0, 0xFF, 0xFE, 0, 0, 0, 1, 0, 0, 0, 2};
    const auto with = [&fixed](unsigned flags, const Buffer& rest) {
        Buffer bytes = fixed;
        bytes[0] = static_cast<unsigned char>(flags);
        bytes.insert(bytes.end(), rest.begin(), rest.end());
        return bytes;
    };
    const Case cases[] = {
        {"nothing", {}, -1},
        {"cut header", Buffer(fixed.begin(), fixed.end() - 1), -1},
        {"version 1", with(0x40, {1}), -1},
        {"plain", with(0x80, {1, 2}), 2},
        {"empty", fixed, 0},
        {"two sources", with(0x82, {0, 0, 0, 1, 0, 0, 0, 2, 9}), 1},
        {"sources missing", with(0x82, {0, 0, 0, 1}), -1},
        {"extension", with(0x90, {0xBE, 0xDE, 0, 1, 1, 2, 3, 4, 9, 9}), 2},
        {"extension too long", with(0x90, {0xBE, 0xDE, 0xFF, 0xFF, 1, 2, 3, 4}), -1},
        {"padding", with(0xA0, {7, 0, 0, 3}), 1},
        {"all padding", with(0xA0, {0, 0, 3}), 0},
        {"padding 0", with(0xA0, {7, 0}), -1},
        {"padding too long", with(0xA0, {7, 9}), -1},
        {"padding of nothing", with(0xA0, {}), -1},
    };
    for (const Case& c : cases) {
        const auto packet = parseRtpPacket(c.bytes);
        EXPECT_EQ(packet ? static_cast<int>(packet->payload.size()) : -1, c.payload) << c.what;
        if (packet) {
            EXPECT_TRUE(packet->marker && packet->payloadType == 96 && packet->sequence == 0xFFFE &&
                        packet->timestamp == 1 && packet->ssrc == 2);
        }
    }
}

struct Ordered : OrderedReceiver {
    std::vector<int> numbers;  // negative: told that packets are missing before it
    void onOrderedPacket(Bytes packet, bool afterLoss) override {
        const int number = packet[0] << 8 | packet[1];
        numbers.push_back(afterLoss ? -number : number);
    }
};

void push(ReorderBuffer& buffer, int number, std::int64_t now, Ordered& out) {
    const Buffer packet = {static_cast<unsigned char>(number >> 8), static_cast<unsigned char>(number)};
    buffer.push(static_cast<std::uint16_t>(number), packet, now, out);
}

std::vector<int> order(const std::vector<int>& arrivals, std::int64_t threshold = 50, std::int64_t step = 1) {
    ReorderBuffer buffer;
    Ordered out;
    buffer.setWindow(ReorderWindow(threshold));
    std::int64_t now = 0;
    for (const int number : arrivals)
        push(buffer, number, now += step, out);
    buffer.expire(now + threshold, out);
    EXPECT_FALSE(buffer.deadline());
    return out.numbers;
}

TEST(ReorderBuffer, Orders) {
    using V = std::vector<int>;
    EXPECT_EQ(order({1, 2, 3}), (V{1, 2, 3}));
    EXPECT_EQ(order({1, 3, 2, 4}), (V{1, 2, 3, 4}));
    EXPECT_EQ(order({1, 2, 2, 1, 3, 3}), (V{1, 2, 3}));
    EXPECT_EQ(order({65534, 0, 65535, 1}), (V{65534, 65535, 0, 1}));
    EXPECT_EQ(order({1, 3, 4}), (V{1, -3, 4}));
    EXPECT_EQ(order({1, 3, 3, 5}), (V{1, -3, -5}));
    EXPECT_EQ(order({1, 3, 4, 2}, 2, 2), (V{1, -3, 4})) << "too late";
    EXPECT_EQ(order({1, 3, 4}, 0), (V{1, -3, 4})) << "nothing is waited for";
    EXPECT_EQ(order({100, 30'000, 101, 102}), (V{100, 101, 102})) << "one stray";
    EXPECT_EQ(order({100, 30'000, 30'001, 30'002}), (V{100, -30'001, 30'002})) << "the sender restarted";
    EXPECT_EQ(order({5000, 3000, 3001}), (V{5000, -3001})) << "backwards, too";
    V again;  // a little backwards: late at first sight
    for (int i = 0; i < 100; ++i)
        again.push_back(500 + i);
    again.insert(again.begin(), 1000);
    const V restarted = order(again);
    EXPECT_EQ(restarted.size(), 1u + 37u);
    EXPECT_EQ(restarted[1], -563);
    V twice;  // what is sent again is no restart
    for (int i = 0; i < 400; ++i)
        twice.push_back(i % 200);
    EXPECT_EQ(order(twice).size(), 200u);
}

TEST(ReorderBuffer, AnyOrderWithinTheWindowIsRestored) {
    std::minstd_rand random(1);
    for (int round = 0; round < 50; ++round) {
        std::vector<std::pair<int, int>> arrivals;  // when, which
        const int first = 65536 - 100 + round;
        for (int i = 0; i < 300; ++i)
            arrivals.emplace_back(i * 10 + static_cast<int>(random() % 400), first + i);
        arrivals[0].first = -1;
        std::sort(arrivals.begin(), arrivals.end());
        ReorderBuffer buffer;
        buffer.setWindow(ReorderWindow(1000));
        Ordered out;
        for (const auto& [when, number] : arrivals)
            push(buffer, number % 65536, when, out);
        ASSERT_EQ(out.numbers.size(), 300u);
        for (int i = 0; i < 300; ++i)
            ASSERT_EQ(out.numbers[static_cast<std::size_t>(i)], (first + i) % 65536);
    }
}

// Pictures of sixteen packets, 25 a second, each packet delayed by anything up to `jitter`. How many of the
// last 300 come whole; and how long the buffer waits, during it and after ten calm seconds.
struct Jittered {
    int whole = 0;
    std::int64_t window = 0;
    std::int64_t held = 0;
    std::int64_t calmWindow = 0;
};

Jittered overJitter(int jitterMilliseconds) {
    constexpr int kPerPicture = 16, kPictures = 400, kCounted = 300;
    constexpr std::int64_t kPicture = 40'000, kInitial = 50'000, kLeast = 10'000, kMost = 300'000;
    std::minstd_rand random(7);
    std::vector<std::pair<std::int64_t, int>> arrivals;
    for (int i = 0; i < kPictures * kPerPicture; ++i) {
        const std::int64_t sent = i / kPerPicture * kPicture + i % kPerPicture * 500;
        arrivals.emplace_back(sent + random() % static_cast<unsigned>(jitterMilliseconds * 1000 + 1), i);
    }
    std::stable_sort(arrivals.begin(), arrivals.end());
    ReorderBuffer buffer;
    buffer.setWindow(ReorderWindow(kInitial, kLeast, kMost));
    Ordered out;
    for (const auto& [when, number] : arrivals) {
        while (buffer.deadline() && *buffer.deadline() <= when)
            buffer.expire(*buffer.deadline(), out);
        push(buffer, number, when, out);
    }
    Jittered result;
    std::int64_t now = arrivals.back().first;
    result.window = buffer.window(now);
    result.held = buffer.held(now);
    buffer.expire(now + kMost, out);
    std::vector<int> received(kPictures);
    for (const int number : out.numbers)
        ++received[static_cast<std::size_t>(std::abs(number) / kPerPicture)];
    result.whole = static_cast<int>(std::count(received.end() - kCounted, received.end(), kPerPicture));
    for (int i = 0; i < 25 * 11; ++i)
        push(buffer, kPictures * kPerPicture + i, now += kPicture, out);
    result.calmWindow = buffer.window(now);
    return result;
}

TEST(ReorderBuffer, TheWindowFollowsTheJitterAndGoesBack) {
    for (const int jitter : {0, 20, 100, 200}) {
        const Jittered result = overJitter(jitter);
        EXPECT_GE(result.whole, 300 * 95 / 100) << jitter;
        EXPECT_LE(result.window, std::max(jitter * 1300, 10'000)) << jitter;
        EXPECT_LE(result.held, jitter * 1000 * 2) << jitter;
        EXPECT_EQ(result.calmWindow, 10'000) << jitter;
        RecordProperty("whole_" + std::to_string(jitter), result.whole);
        RecordProperty("held_" + std::to_string(jitter), static_cast<int>(result.held));
    }
}

TEST(ReorderBuffer, GiantPacketsThatWaitAreBounded) {
    ReorderBuffer buffer;
    Ordered out;
    buffer.setWindow(ReorderWindow(1'000'000'000));
    push(buffer, 0, 0, out);
    const Buffer giant(65000, 1);
    for (std::uint16_t number = 2; number < 400; ++number)
        buffer.push(number, giant, 0, out);
    EXPECT_GT(out.numbers.size(), 300u) << "the gap was given up";
}

struct Seen : RtcpReceiver {
    std::vector<SenderReport> reports;
    std::vector<std::uint32_t> byes;
    void onSenderReport(const SenderReport& report) override { reports.push_back(report); }
    void onBye(std::uint32_t ssrc) override { byes.push_back(ssrc); }
};

TEST(Rtcp, ReadsReportsAndByesAndRefusesWhatIsCutShort) {
    Buffer compound = {0x80, 200, 0,   6, 0,    0,   0, 9, 0x83, 0xAA, 0x7E, 0x80, 0x80, 0, 0, 0, 0, 0,
                       0x10, 0,   0,   0, 0,    0,   0, 0, 0,    0,    0x81, 202,  0,    2, 0, 0, 0, 9,
                       1,    1,   'x', 0, 0x82, 203, 0, 2, 0,    0,    0,    9,    0,    0, 0, 8};
    Seen seen;
    EXPECT_TRUE(parseRtcp(compound, seen));
    ASSERT_EQ(seen.reports.size(), 1u);
    EXPECT_EQ(seen.reports[0].rtpTimestamp, 0x1000u);
    EXPECT_THAT(seen.byes, testing::ElementsAre(9u, 8u));
    for (std::size_t size = 1; size < compound.size(); ++size) {
        Seen part;
        const bool whole = parseRtcp(Bytes(compound).first(size), part);
        EXPECT_EQ(whole, size == 28 || size == 40) << size;
    }
    compound[41] = 203;
    compound[40] = 0x9F;  // says that it ends 31 sources
    Seen lying;
    EXPECT_FALSE(parseRtcp(compound, lying));
}

TEST(Rtcp, WhatWeSendIsWellFormed) {
    ReceptionReport report;
    report.ssrc = 0x01020304;
    report.packetsLost = -2;
    for (const std::string& name :
         {std::string(), std::string("a"), std::string("ab"), std::string(300, 'x')}) {
        Buffer out;
        buildReceiverReport(7, &report, name, out);
        EXPECT_EQ(out.size() % 4, 0u);
        Seen seen;
        EXPECT_TRUE(parseRtcp(out, seen));
        EXPECT_EQ(Buffer(out.begin() + 13, out.begin() + 16), (Buffer{0xFF, 0xFF, 0xFE}));
        const std::size_t description = 32;
        EXPECT_EQ(out[description + 9], std::min<std::size_t>(name.size(), 255));
        EXPECT_EQ(out.back(), 0) << "the list of items is ended";
    }
    Buffer bye;
    buildBye(7, bye);
    Seen seen;
    EXPECT_TRUE(parseRtcp(bye, seen));
    EXPECT_THAT(seen.byes, testing::ElementsAre(7u));
}

TEST(ReceptionStats, CountsLossAcrossAWrap) {
    ReceptionStats stats(8000);
    stats.reset(5);
    RtpPacket packet;
    for (const int number : {65533, 65534, 0, 1, 3, 2}) {  // 65535 is lost, 2 is late
        packet.sequence = static_cast<std::uint16_t>(number);
        stats.onPacket(packet, 0);
    }
    EXPECT_EQ(stats.lost(), 1);
    SenderReport sent;
    sent.ntpTime = 0x0001'0002'0003'0004;
    stats.onSenderReport(sent, 1'000'000);
    const ReceptionReport report = stats.takeReport(1'500'000);
    EXPECT_EQ(report.fractionLost, 256 / 7);
    EXPECT_EQ(report.highestSequence, 0x10003u);
    EXPECT_EQ(report.lastReport, 0x0002'0003u);
    EXPECT_EQ(report.delaySinceLastReport, 32768u);
    EXPECT_EQ(stats.takeReport(2'000'000).fractionLost, 0) << "nothing was lost since";
}

TEST(SenderFilter, KeepsToTheSessionsSender) {
    constexpr std::int64_t kSecond = 1'000'000;
    SenderFilter first;  // nobody said anything
    EXPECT_TRUE(first.accepts(9, false, 1)) << "a control packet before the stream";
    EXPECT_TRUE(first.accepts(5, true, 2));
    EXPECT_FALSE(first.accepts(6, true, 3));
    EXPECT_FALSE(first.accepts(9, false, 3));
    EXPECT_TRUE(first.accepts(5, false, 2 * kSecond));
    EXPECT_FALSE(first.accepts(6, true, 4 * kSecond));
    EXPECT_TRUE(first.accepts(6, true, 6 * kSecond)) << "the stream has moved";
    EXPECT_FALSE(first.accepts(5, true, 6 * kSecond));

    SenderFilter stated;
    stated.expect(10, 20);
    EXPECT_FALSE(stated.accepts(5, true, 1));
    EXPECT_TRUE(stated.accepts(10, true, 2));
    EXPECT_TRUE(stated.accepts(20, true, 3)) << "a camera behind a router names its inner address";
    EXPECT_FALSE(stated.accepts(5, true, 4));
    EXPECT_FALSE(stated.accepts(5, false, 9 * kSecond));
    EXPECT_TRUE(stated.accepts(5, true, 9 * kSecond)) << "nobody else has sent for long";
    EXPECT_TRUE(stated.accepts(10, true, 10 * kSecond));
    EXPECT_FALSE(stated.accepts(5, true, 11 * kSecond)) << "the session's own is back";

    SenderFilter unstated;  // the server alone is known
    unstated.expect(0, 20);
    EXPECT_FALSE(unstated.accepts(5, true, 1));
    EXPECT_TRUE(unstated.accepts(20, true, 2));
    unstated.expect(0, 20);
    EXPECT_FALSE(unstated.accepts(5, true, 1));
    EXPECT_TRUE(unstated.accepts(20, false, 1 * kSecond)) << "a report of the server's";
    EXPECT_FALSE(unstated.accepts(5, false, 2 * kSecond));
    EXPECT_TRUE(unstated.accepts(5, true, 2 * kSecond)) << "its stream comes from elsewhere";

    SenderFilter loopback;
    loopback.expect(0, 20);
    EXPECT_FALSE(loopback.accepts(0, true, 1));
    EXPECT_TRUE(loopback.accepts(0, true, 2 * kSecond));
    EXPECT_TRUE(loopback.accepts(0, true, 2 * kSecond + 1)) << "a group's sender may have no address";
}

}  // namespace
}  // namespace live_test
