// Whatever a sender cuts up comes out whole, at any packet size; what lacks a packet does not come out at
// all.

#include <gmock/gmock.h>

#include <cctype>
#include <functional>
#include <utility>

#include "Packetizer.h"
#include "live/rtp/H264Depacketizer.h"
#include "live/rtp/H265Depacketizer.h"
#include "live/rtp/JpegDepacketizer.h"
#include "live/rtp/Mpeg4GenericDepacketizer.h"
#include "live/rtp/Mpeg4VideoDepacketizer.h"
#include "live/rtp/PayloadFormats.h"

namespace live_test {
namespace {

using namespace live::rtp;
using testing::ElementsAre;
using testing::IsEmpty;

Mpeg4GenericFormat aacFormat() {
    Mpeg4GenericFormat format;
    format.sizeLength = 13;
    format.indexLength = format.indexDeltaLength = 3;
    return format;
}

struct Format {
    const char* name;
    std::function<std::unique_ptr<Depacketizer>()> make;
    std::function<std::vector<Packet>(const Buffer&, std::uint32_t, std::size_t)> packetize;
    Buffer first;         // how a frame of this format begins
    std::size_t headers;  // bytes that are put in front of what was sent
    std::size_t trailer;  // and behind
};

constexpr std::size_t kJpegHeaders = 2 + 2 * 69 + 19 + 33 + 183 + 33 + 183 + 14;

const Format kFormats[] = {
    {"H264", [] { return std::make_unique<H264Depacketizer>(); }, packetizeH264, {0x65}, 0, 0},
    {"H265", [] { return std::make_unique<H265Depacketizer>(false); }, packetizeH265, {0x27, 0x0A}, 0, 0},
    {"MP4V-ES",
     [] { return std::make_unique<Mpeg4VideoDepacketizer>(); },
     packetizeMpeg4Video,
     {0, 0, 1, 0xB6},
     0,
     0},
    {"MPEG4-GENERIC",
     [] { return std::make_unique<Mpeg4GenericDepacketizer>(aacFormat(), 1024); },
     packetizeAac,
     {0x21},
     0,
     0},
    {"JPEG",
     [] { return std::make_unique<JpegDepacketizer>(0, 0); },
     [](const Buffer& scan, std::uint32_t timestamp, std::size_t size) {
         return packetizeJpeg(scan, JpegShape{}, timestamp, size);
     },
     {0x12},
     kJpegHeaders,
     2},
};

class EveryFormat : public testing::TestWithParam<Format> {
  protected:
    // What was sent, out of a delivered frame.
    Buffer sent(const Buffer& delivered) const {
        const Format& f = GetParam();
        if (delivered.size() < f.headers + f.trailer) return {};
        return Buffer(delivered.begin() + static_cast<std::ptrdiff_t>(f.headers),
                      delivered.end() - static_cast<std::ptrdiff_t>(f.trailer));
    }
};

TEST_P(EveryFormat, FramesSurviveAnyPacketSize) {
    const Format& f = GetParam();
    for (const std::size_t packetSize : {5u, 6u, 7u, 16u, 100u, 1000u, 1400u, 9000u}) {
        for (std::size_t frameSize = 4; frameSize < 8000; frameSize = frameSize * 5 / 4 + 1) {
            if (frameSize / packetSize > 1500) continue;
            const auto depacketizer = f.make();
            std::vector<Buffer> frames;
            std::vector<std::vector<Packet>> parts;
            for (std::uint32_t i = 0; i < 3; ++i) {
                // The random bytes must not begin like a closing marker that the JPEG side would recognise.
                frames.push_back(randomBytes(i + static_cast<std::uint32_t>(frameSize), frameSize, f.first));
                frames.back().back() = 0x55;
                parts.push_back(f.packetize(frames.back(), 90000 + i * 3600, packetSize));
            }
            const auto delivered = depacketize(*depacketizer, joined(parts));
            ASSERT_EQ(delivered.size(), frames.size()) << packetSize << " " << frameSize;
            for (std::size_t i = 0; i < frames.size(); ++i) {
                ASSERT_EQ(sent(delivered[i]), frames[i]) << packetSize << " " << frameSize;
            }
        }
    }
}

TEST_P(EveryFormat, AFrameThatLacksAPacketIsNotDelivered) {
    const Format& f = GetParam();
    std::vector<Buffer> frames;
    std::vector<std::vector<Packet>> parts;
    for (std::uint32_t i = 0; i < 4; ++i) {
        frames.push_back(randomBytes(i, 500, f.first));
        frames.back().back() = 0x55;
        parts.push_back(f.packetize(frames.back(), i * 3600, 100));
    }
    const auto packets = joined(parts);
    for (std::size_t from = 0; from < packets.size(); ++from) {
        for (const std::size_t count : {1u, 2u, 6u}) {
            auto left = packets;
            left.erase(left.begin() + static_cast<std::ptrdiff_t>(from),
                       left.begin() + static_cast<std::ptrdiff_t>(std::min(from + count, packets.size())));
            const auto depacketizer = f.make();
            std::size_t whole = 0;
            for (const Buffer& delivered : depacketize(*depacketizer, left)) {
                EXPECT_THAT(frames, testing::Contains(sent(delivered)))
                    << "lost " << count << " from " << from;
                ++whole;
            }
            // Every frame none of whose packets are missing is there.
            std::size_t expected = 0;
            for (std::uint32_t i = 0; i < 4; ++i) {
                const auto of = [i](const std::vector<Packet>& p) {
                    return std::count_if(p.begin(), p.end(),
                                         [i](const Packet& x) { return x.timestamp == i * 3600; });
                };
                if (of(left) == of(packets)) ++expected;
            }
            EXPECT_EQ(whole, expected) << "lost " << count << " from " << from;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, EveryFormat, testing::ValuesIn(kFormats), [](const auto& info) {
    std::string name = info.param.name;
    std::erase_if(name, [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); });
    return name;
});

TEST(H264, AggregatesComeApart) {
    H264Depacketizer depacketizer;
    const std::vector<Buffer> units = {{0x67, 1, 2}, {0x68, 3}, randomBytes(1, 700, {0x65})};
    EXPECT_EQ(depacketize(depacketizer, {aggregateH264(units, 1)}), units);
    Packet cutShort = aggregateH264(units, 2);
    cutShort.payload.resize(cutShort.payload.size() - 1);
    EXPECT_THAT(depacketize(depacketizer, {cutShort}), ElementsAre(units[0], units[1]));
}

TEST(H264, WhatIsOutOfOrderOrUndefinedIsDropped) {
    H264Depacketizer depacketizer;
    const auto one = [](Buffer payload, std::uint32_t timestamp = 7) {
        Packet packet;
        packet.timestamp = timestamp;
        packet.payload = std::move(payload);
        return packet;
    };
    EXPECT_THAT(depacketize(depacketizer,
                            joined({{one({}), one({0x00}), one({0x1C}), one({0x1D, 0x80, 1}),
                                     one({0x7C, 0x05, 9}),  // a middle without a beginning
                                     one({0x7C, 0x85, 1}), one({0x7C, 0x41, 2}),         // another type's end
                                     one({0x7C, 0x85, 1}), one({0x7C, 0x45, 2}, 8)}})),  // another time's
                IsEmpty());
}

// The last unit of a packet alone completes its picture.
TEST(H265, AggregatesComeApart) {
    const std::vector<Buffer> units = {{0x40, 1, 2}, {0x42, 1, 3}, randomBytes(1, 700, {0x26, 1})};
    H265Depacketizer depacketizer(false);
    FrameQueue queue;
    depacketizer.onPacket(aggregateH265(units, 1).view(), false, queue);
    for (const Buffer& unit : units) {
        ASSERT_FALSE(queue.empty());
        EXPECT_EQ(Buffer(queue.front().bytes.begin(), queue.front().bytes.end()), unit);
        EXPECT_EQ(queue.front().info.marker, unit == units.back());
        queue.pop();
    }
    Packet cutShort = aggregateH265(units, 2);
    cutShort.payload.resize(cutShort.payload.size() - 1);
    EXPECT_THAT(depacketize(depacketizer, {cutShort}), ElementsAre(units[0], units[1]));
}

TEST(H265, OrderNumbersAreSkipped) {
    H265Depacketizer depacketizer(true);
    const auto one = [](Buffer payload) {
        Packet packet;
        packet.payload = std::move(payload);
        return packet;
    };
    EXPECT_THAT(depacketize(depacketizer, joined({{one({0x26, 1, 0, 7, 9}),
                                                   one({0x60, 1, 0, 8, 0, 3, 2, 1, 5, 0, 0, 3, 2, 1, 6}),
                                                   one({0x62, 1, 0x93, 0, 9, 4}), one({0x62, 1, 0x53, 5})}})),
                ElementsAre(Buffer{0x26, 1, 9}, Buffer{2, 1, 5}, Buffer{2, 1, 6}, Buffer{0x26, 1, 4, 5}));
    EXPECT_THAT(
        depacketize(depacketizer, joined({{one({0x26, 1, 0}), one({0x60, 1, 0}), one({0x62, 1, 0x93, 0})}})),
        IsEmpty());
}

TEST(H265, WhatIsOutOfOrderOrUndefinedIsDropped) {
    H265Depacketizer depacketizer(false);
    const auto one = [](Buffer payload, std::uint32_t timestamp = 7) {
        Packet packet;
        packet.timestamp = timestamp;
        packet.payload = std::move(payload);
        return packet;
    };
    EXPECT_THAT(
        depacketize(depacketizer,
                    joined({{one({}), one({0x26}), one({0x64, 1, 0, 0, 9}), one({0x7E, 1, 2}), one({0x62, 1}),
                             one({0x62, 1, 0x13, 9}),  // a middle without a beginning
                             one({0x62, 1, 0x93, 1}), one({0x62, 1, 0x41, 2}),         // another type's end
                             one({0x62, 1, 0x93, 1}), one({0x62, 1, 0x53, 2}, 8)}})),  // another time's
        IsEmpty());
}

// Small pictures travel several to a packet, each with the headers before it.
TEST(Mpeg4Video, PicturesOfOnePacketComeApartAndAreTimed) {
    const Buffer plain{0, 0, 1, 0xB6, 0x10, 1, 2};
    const Buffer key{0, 0, 1, 0xB0, 3, 0, 0, 1, 0xB6, 0x50, 4};
    Buffer three = key;
    three.insert(three.end(), plain.begin(), plain.end());
    three.insert(three.end(), key.begin(), key.end());
    Mpeg4VideoDepacketizer depacketizer;
    live::rtp::FrameQueue queue;
    std::vector<std::uint32_t> times;
    for (const std::uint32_t timestamp : {1000u, 4000u}) {
        const Packet packet{static_cast<std::uint16_t>(timestamp), timestamp, true, three};
        depacketizer.onPacket(packet.view(), false, queue);
        for (const Buffer& expected : {key, plain, key}) {
            ASSERT_FALSE(queue.empty());
            const auto bytes = queue.front().bytes;
            EXPECT_EQ(Buffer(bytes.begin(), bytes.end()), expected);
            times.push_back(queue.front().info.timestamp);
            queue.pop();
        }
    }
    EXPECT_TRUE(queue.empty());
    EXPECT_EQ(times, (std::vector<std::uint32_t>{1000, 1000, 1000, 4000, 5000, 6000}));
}

TEST(Mpeg4Generic, AggregatesAndBoundsOfHeaders) {
    Mpeg4GenericDepacketizer depacketizer(aacFormat(), 1024);
    const std::vector<Buffer> units = {randomBytes(1, 20), randomBytes(2, 300), randomBytes(3, 1)};
    EXPECT_EQ(depacketize(depacketizer, {aggregateAac(units, 5)}), units);

    Packet lying;
    lying.payload = {0x00, 0x20, 0x00, 0x08, 0xFF, 0xF8, 1};  // the second unit is longer than the packet
    EXPECT_THAT(depacketize(depacketizer, {lying}), ElementsAre(Buffer{1}));
    for (const Buffer& bad : {Buffer{}, Buffer{0}, Buffer{0xFF, 0xFF, 1, 2}, Buffer{0, 0, 1, 2}}) {
        lying.payload = bad;
        EXPECT_THAT(depacketize(depacketizer, {lying}), IsEmpty());
    }
}

TEST(Mpeg4Generic, UnitsOfOnePacketAreTimedOneAfterTheOther) {
    Mpeg4GenericDepacketizer depacketizer(aacFormat(), 1024);
    FrameQueue queue;
    depacketizer.onPacket(aggregateAac({{1}, {2}, {3}}, 10'000).view(), false, queue);
    for (const std::uint32_t expected : {10'000u, 11'024u, 12'048u}) {
        ASSERT_FALSE(queue.empty());
        EXPECT_EQ(queue.front().info.timestamp, expected);
        queue.pop();
    }
}

TEST(Jpeg, HeadersFollowThePayloadHeader) {
    JpegShape shape;
    shape.q = 200;
    shape.type = 0;
    shape.width = 640;
    shape.height = 480;
    shape.restartInterval = 0x0150;
    shape.tables = randomBytes(4, 128);
    JpegDepacketizer depacketizer(0, 0);
    const Buffer scan = randomBytes(5, 900, {1});
    const auto first = depacketize(depacketizer, joined({packetizeJpeg(scan, shape, 1, 400)}));
    ASSERT_EQ(first.size(), 1u);
    const Buffer& file = first[0];
    const auto has = [&file](const Buffer& piece) {
        return std::search(file.begin(), file.end(), piece.begin(), piece.end()) != file.end();
    };
    EXPECT_TRUE(has({0xFF, 0xDD, 0, 4, 0x01, 0x50}));  // restart interval
    EXPECT_TRUE(has({0xFF, 0xC0, 0, 17, 8, 480 >> 8, 480 & 0xFF, 640 >> 8, 640 & 0xFF, 3, 0, 0x21}));
    EXPECT_TRUE(has(Buffer(shape.tables.begin(), shape.tables.begin() + 64)));
    EXPECT_EQ(file[file.size() - 1], 0xD9);

    // Tables that were sent once hold for later frames of the same Q, and for no other.
    const Buffer tables = std::exchange(shape.tables, {});
    const auto second = depacketize(depacketizer, joined({packetizeJpeg(scan, shape, 2, 400)}));
    ASSERT_EQ(second.size(), 1u);
    EXPECT_EQ(second[0], file);
    shape.q = 201;
    EXPECT_THAT(depacketize(depacketizer, joined({packetizeJpeg(scan, shape, 3, 400)})), IsEmpty());
    shape.q = 255;
    EXPECT_THAT(depacketize(depacketizer, joined({packetizeJpeg(scan, shape, 4, 400)})), IsEmpty());
    shape.q = 0;
    EXPECT_THAT(depacketize(depacketizer, joined({packetizeJpeg(scan, shape, 5, 400)})), IsEmpty());
    shape.q = 50;
    shape.type = 7;
    EXPECT_THAT(depacketize(depacketizer, joined({packetizeJpeg(scan, shape, 6, 400)})), IsEmpty());
}

TEST(Jpeg, PicturesThatAreTooLargeForTheFieldsHaveTheDescriptionsSize) {
    JpegShape shape;
    shape.width = shape.height = 0;
    const Buffer scan = randomBytes(5, 100, {1});
    JpegDepacketizer unknown(0, 0);
    EXPECT_THAT(depacketize(unknown, joined({packetizeJpeg(scan, shape, 1, 400)})), IsEmpty());
    JpegDepacketizer known(2592, 1944);
    const auto frames = depacketize(known, joined({packetizeJpeg(scan, shape, 1, 400)}));
    ASSERT_EQ(frames.size(), 1u);
    const Buffer size = {1944 >> 8, 1944 & 0xFF, 2592 >> 8, 2592 & 0xFF};
    EXPECT_NE(std::search(frames[0].begin(), frames[0].end(), size.begin(), size.end()), frames[0].end());
}

TEST(FrameQueue, AFrameBeyondTheBoundIsDroppedAsAWhole) {
    FrameQueue queue;
    const Buffer chunk(1 << 20);
    for (std::size_t i = 0; i <= FrameQueue::kMaxBytes / chunk.size(); ++i)
        queue.append(chunk);
    queue.commit({});
    EXPECT_TRUE(queue.empty());
    queue.append(chunk);
    queue.commit({});
    EXPECT_FALSE(queue.empty());
    queue.clear();
    std::size_t kept = 0;
    for (std::size_t i = 0; i < 2 * FrameQueue::kMaxFrames; ++i) {
        queue.append(1);
        queue.commit({});
    }
    for (; !queue.empty(); queue.pop())
        ++kept;
    EXPECT_EQ(kept, FrameQueue::kMaxFrames) << "and frames that nobody fetches";
}

}  // namespace
}  // namespace live_test
