// Once a stream runs, no packet costs an allocation: from the socket through the sink into the pools.

#include <gtest/gtest.h>

#include "live/BasicUsageEnvironment.hh"
#include "live/GroupsockHelper.hh"
#include "live/liveMedia.hh"

#include "include/RTSP/DummySink.h"
#include "media/CtrlParam.h"
#include "tests/native/live/Packetizer.h"
#include "tests/support/CountAllocations.h"

namespace norix {
namespace {

using namespace live_test;

TEST(SteadyState, AllocatesNothingPerPacket) {
    const std::unique_ptr<BasicTaskScheduler> scheduler(BasicTaskScheduler::createNew());
    UsageEnvironment* const env = BasicUsageEnvironment::createNew(*scheduler);
    MediaSession* const session =
        MediaSession::createNew(*env, "v=0\r\nm=video 0 RTP/AVP 96\r\na=rtpmap:96 H264/90000\r\n");
    ASSERT_TRUE(session);
    MediaSubsessionIterator subsessions(*session);
    MediaSubsession& subsession = *subsessions.next();
    ASSERT_TRUE(subsession.initiate());
    auto out = Groupsock::open(*env, 0, 0);
    ASSERT_TRUE(out);
    out->setDestination(htonl(INADDR_LOOPBACK), subsession.clientPortNum());
    CCtrlParam param{MediaSettings{}};
    param.videoCodec.Set(VideoCodec::H264);
    const EventLoopWatchVariable stop{0};
    auto* const sink = DummySink::createNew(*env, subsession, 2'048'000, param, stop);
    sink->startPlaying(*subsession.readSource(), nullptr, nullptr);

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
    std::size_t pictures = 0;
    const auto run = [&](std::size_t from, std::size_t to) {
        for (std::size_t i = from; i < to; ++i) {
            out->send(packets[i]);
            scheduler->SingleStep(1);
            if (i % 40 != 0) continue;
            VideoFrameRecord* record = nullptr;
            while (param.GetFilledVideoFrame(&record) == kResultOk) {
                EXPECT_EQ(record->payloadLength, frame.size() + 4);
                param.PutEmptyVideoFrame(record);
                ++pictures;
            }
        }
    };
    // Every waiting place is used once while the numbers go round.
    run(0, packets.size() / 2);
    const std::size_t before = g_allocations;
    const std::size_t picturesBefore = pictures;
    run(packets.size() / 2, packets.size());
    EXPECT_GE(pictures - picturesBefore, 28u);
    // The places of the reordering buffer that this half uses for the first time and the reports, not one per
    // packet.
    EXPECT_LE(g_allocations - before, packets.size() / 2 / 20);
    Medium::close(sink);
    Medium::close(session);
    out.reset();
    env->reclaim();
}

}  // namespace
}  // namespace norix
