// What reception costs without the system's share: from a packet's bytes to a delivered frame, and from an
// RTSP connection's bytes to packets. Against other clients: bench/live/receive.py.

#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

#include "live/BasicUsageEnvironment.hh"
#include "live/liveMedia.hh"
#include "live/rtp/H264Depacketizer.h"
#include "live/rtp/RtpFrameSource.h"
#include "live/rtsp/RtspFramer.h"

namespace {

using live::rtp::Bytes;
using Buffer = std::vector<unsigned char>;

constexpr std::size_t kPayload = 1400;
constexpr std::size_t kPacketsPerFrame = 15;  // 4 Mbit/s at 25 frames

// One picture in fragments (RFC 6184); the sequence numbers are filled in as they are sent.
std::vector<Buffer> picture() {
    std::vector<Buffer> packets;
    for (std::size_t i = 0; i < kPacketsPerFrame; ++i) {
        const bool first = i == 0;
        const bool last = i + 1 == kPacketsPerFrame;
        Buffer packet = {0x80, static_cast<unsigned char>(last ? 0xE0 : 0x60),
                         0,    0,
                         0,    0,
                         0,    0,
                         0,    0,
                         0,    7,
                         0x7C, static_cast<unsigned char>((first ? 0x80 : 0) | (last ? 0x40 : 0) | 1)};
        packet.resize(packet.size() + kPayload, 0x55);
        packets.push_back(std::move(packet));
    }
    return packets;
}

struct Connection : live::rtp::InterleavedConnection {
    live::rtp::InterleavedReceiver* receiver = nullptr;
    bool sendInterleaved(unsigned, Bytes) override { return true; }
    bool addReceiver(unsigned, live::rtp::InterleavedReceiver& r) override {
        receiver = &r;
        return true;
    }
    void removeReceiver(live::rtp::InterleavedReceiver&) override {}
};

struct Sink : MediaSink {
    explicit Sink(UsageEnvironment& env) : MediaSink(env) {}
    Buffer buffer = Buffer(2'048'000);
    Boolean continuePlaying() override {
        fSource->getNextFrame(
            buffer.data(), static_cast<unsigned>(buffer.size()),
            [](void* self, unsigned, unsigned, timeval, unsigned) {
                static_cast<Sink*>(self)->continuePlaying();
            },
            this, onSourceClosure, this);
        return True;
    }
};

void BM_PacketsToFrames(benchmark::State& state) {
    const std::unique_ptr<TaskScheduler> scheduler(BasicTaskScheduler::createNew());
    UsageEnvironment* const env = BasicUsageEnvironment::createNew(*scheduler);
    Connection connection;
    live::rtp::SessionTimeline timeline;
    auto* const source = new live::rtp::RtpFrameSource(
        *env, nullptr, 96, 90000, std::make_unique<live::rtp::H264Depacketizer>(), timeline);
    source->receiveInterleaved(connection, 0);
    auto* const sink = new Sink(*env);
    sink->startPlaying(*source, nullptr, nullptr);
    auto packets = picture();
    std::uint16_t sequence = 0;
    for (auto _ : state) {
        for (Buffer& packet : packets) {
            packet[2] = static_cast<unsigned char>(sequence >> 8);
            packet[3] = static_cast<unsigned char>(sequence++);
            connection.receiver->onInterleaved(packet);
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(packets.size()));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(packets.size() * kPayload));
    Medium::close(sink);
    Medium::close(source);
    env->reclaim();
}
BENCHMARK(BM_PacketsToFrames);

void BM_FramerSplitsPackets(benchmark::State& state) {
    Buffer stream;
    for (const Buffer& packet : picture()) {
        const Buffer head = {'$', 0, static_cast<unsigned char>(packet.size() >> 8),
                             static_cast<unsigned char>(packet.size())};
        stream.insert(stream.end(), head.begin(), head.end());
        stream.insert(stream.end(), packet.begin(), packet.end());
    }
    live::rtsp::Framer framer(65536);
    for (auto _ : state) {
        for (Bytes rest = stream; !rest.empty(); rest = rest.subspan(framer.size())) {
            benchmark::DoNotOptimize(framer.next(rest));
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kPacketsPerFrame));
}
BENCHMARK(BM_FramerSplitsPackets);

}  // namespace
