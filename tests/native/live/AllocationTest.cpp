// Once a stream runs, no packet costs an allocation.

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "Packetizer.h"
#include "live/BasicUsageEnvironment.hh"
#include "live/GroupsockHelper.hh"
#include "live/liveMedia.hh"
#include "live/rtp/H264Depacketizer.h"
#include "live/rtp/RtpFrameSource.h"

namespace {
std::size_t g_allocations = 0;
}

void* operator new(std::size_t size) {
    ++g_allocations;
    if (void* const memory = std::malloc(size)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace live_test {
namespace {

using namespace live::rtp;

struct Sink : MediaSink {
    explicit Sink(UsageEnvironment& env) : MediaSink(env) {}
    Buffer buffer = Buffer(100'000);
    std::size_t frames = 0;
    Boolean continuePlaying() override {
        fSource->getNextFrame(
            buffer.data(), static_cast<unsigned>(buffer.size()),
            [](void* self, unsigned, unsigned, timeval, unsigned) {
                ++static_cast<Sink*>(self)->frames;
                static_cast<Sink*>(self)->continuePlaying();
            },
            this, onSourceClosure, this);
        return True;
    }
};

TEST(SteadyState, AllocatesNothingPerPacket) {
    const std::unique_ptr<BasicTaskScheduler> scheduler(BasicTaskScheduler::createNew());
    UsageEnvironment* const env = BasicUsageEnvironment::createNew(*scheduler);
    auto in = Groupsock::open(*env, 0, 0);
    auto out = Groupsock::open(*env, 0, 0);
    ASSERT_TRUE(in && out);
    out->setDestination(htonl(INADDR_LOOPBACK), in->port());
    auto* const source = new RtpFrameSource(*env, in.get(), 96, 90000, std::make_unique<H264Depacketizer>());
    auto* const sink = new Sink(*env);
    sink->startPlaying(*source, nullptr, nullptr);

    std::vector<Buffer> packets;  // frames of forty packets, the third and fourth of each in the wrong order
    std::uint16_t sequence = 65000;
    const Buffer frame = randomBytes(1, 40'000, {0x65});
    for (std::uint32_t i = 0; i < 60; ++i) {
        auto parts = packetizeH264(frame, i * 3600, 1000);
        for (Packet& part : parts)
            part.sequence = sequence++;
        std::swap(parts[2], parts[3]);
        for (const Packet& part : parts)
            packets.push_back(part.wire(96, 7));
    }
    const auto run = [&](std::size_t from, std::size_t to) {
        for (std::size_t i = from; i < to; ++i) {
            out->send(packets[i]);
            scheduler->SingleStep(1);
        }
    };
    // Every waiting place is used once while the numbers go round.
    run(0, packets.size() / 2);
    const std::size_t before = g_allocations;
    const std::size_t framesBefore = sink->frames;
    run(packets.size() / 2, packets.size());
    EXPECT_GE(sink->frames - framesBefore, 29u);
    // The places of the reordering buffer that this half uses for the first time, not one per packet.
    EXPECT_LE(g_allocations - before, 30u);
    Medium::close(sink);
    Medium::close(source);
    in.reset();
    out.reset();
    env->reclaim();
}

}  // namespace
}  // namespace live_test
