// The RTP source between packets and a consumer that does what consumers do: ask from inside, stop, end the
// source.

#include <gmock/gmock.h>

#include <utility>

#include "Packetizer.h"
#include "live/BasicUsageEnvironment.hh"
#include "live/GroupsockHelper.hh"
#include "live/liveMedia.hh"
#include "live/rtp/H264Depacketizer.h"
#include "live/rtp/RtpFrameSource.h"

namespace live_test {
namespace {

using namespace live::rtp;

// A connection that a test puts packets into.
struct FakeConnection : InterleavedConnection {
    InterleavedReceiver* receiver = nullptr;
    bool sendInterleaved(unsigned, Bytes) override { return true; }
    bool addReceiver(unsigned, InterleavedReceiver& r) override {
        receiver = &r;
        return true;
    }
    void removeReceiver(InterleavedReceiver&) override { receiver = nullptr; }
};

class Consumer : public MediaSink {
  public:
    Consumer(UsageEnvironment& env, std::size_t size = 100) : MediaSink(env), m_buffer(size) {}
    std::vector<Buffer> frames;
    std::vector<unsigned> truncated;
    int stopAfter = -1;
    int endAfter = -1;
    RtpFrameSource** ended = nullptr;

  protected:
    Boolean continuePlaying() override {
        if (!fSource) return False;
        fSource->getNextFrame(m_buffer.data(), static_cast<unsigned>(m_buffer.size()), onFrame, this,
                              onSourceClosure, this);
        return True;
    }

  private:
    static void onFrame(void* data, unsigned size, unsigned cut, timeval, unsigned) {
        auto& self = *static_cast<Consumer*>(data);
        self.frames.emplace_back(self.m_buffer.begin(), self.m_buffer.begin() + size);
        self.truncated.push_back(cut);
        if (--self.endAfter == 0) {
            self.stopPlaying();
            Medium::close(std::exchange(*self.ended, nullptr));
        } else if (--self.stopAfter == 0) {
            self.stopPlaying();
        } else {
            self.continuePlaying();
        }
    }
    Buffer m_buffer;
};

struct Source : testing::Test {
    std::unique_ptr<BasicTaskScheduler> scheduler{BasicTaskScheduler::createNew()};
    UsageEnvironment* env = BasicUsageEnvironment::createNew(*scheduler);
    FakeConnection connection;
    SessionTimeline timeline;
    RtpFrameSource* source =
        new RtpFrameSource(*env, nullptr, 96, 90000, std::make_unique<H264Depacketizer>(), timeline);
    Consumer* consumer = new Consumer(*env);
    bool closed = false;
    std::uint16_t next = 0;

    Source() { source->receiveInterleaved(connection, 0); }
    ~Source() override {
        Medium::close(consumer);
        Medium::close(source);
        env->reclaim();
    }
    void play() {
        consumer->startPlaying(
            *source, [](void* self) { static_cast<Source*>(self)->closed = true; }, this);
    }
    void receive(const Packet& packet, std::uint32_t ssrc = 1, std::uint8_t payloadType = 96) {
        Packet numbered = packet;
        numbered.sequence = next++;
        if (connection.receiver) connection.receiver->onInterleaved(numbered.wire(payloadType, ssrc));
    }
    static Packet unit(unsigned char content) {
        Packet packet;
        packet.payload = {0x65, content};
        return packet;
    }
    static std::vector<Buffer> units(std::initializer_list<unsigned char> contents) {
        std::vector<Buffer> all;
        for (const unsigned char content : contents)
            all.push_back({0x65, content});
        return all;
    }
};

TEST_F(Source, DeliversEveryUnitOfAPacketAndTellsWhatWasCutOff) {
    play();
    receive(aggregateH264({{0x67, 1}, {0x68, 2}, Buffer(150, 0x65)}, 9));
    ASSERT_EQ(consumer->frames.size(), 3u);
    EXPECT_THAT(consumer->truncated, testing::ElementsAre(0, 0, 50));
    EXPECT_EQ(source->curPacketRTPTimestamp(), 9u);
    EXPECT_TRUE(source->curPacketMarkerBit());
    receive(unit(1), 1, 97);
    receive({}, 1, 96);
    EXPECT_EQ(consumer->frames.size(), 3u) << "another payload type, nothing at all";
}

TEST_F(Source, KeepsWhatIsThereUntilItIsAskedFor) {
    consumer->stopAfter = 1;
    play();
    receive(aggregateH264(units({1, 2, 3}), 9));
    EXPECT_EQ(consumer->frames, units({1}));
    receive(unit(4));
    EXPECT_EQ(consumer->frames, units({1})) << "stopped";
    play();
    EXPECT_EQ(consumer->frames, units({1})) << "not from inside the request";
    scheduler->SingleStep();
    EXPECT_EQ(consumer->frames, units({1, 2, 3}));
}

TEST_F(Source, MayBeEndedByItsConsumer) {
    consumer->ended = &source;
    consumer->endAfter = 2;
    play();
    receive(aggregateH264(units({1, 2, 3}), 9));
    EXPECT_EQ(consumer->frames, units({1, 2}));
    EXPECT_EQ(source, nullptr);
}

TEST_F(Source, ANewSenderIsBelievedWithItsSecondPacket) {
    play();
    receive(unit(1), 1);
    receive(unit(9), 2);  // a stray
    next = 1;
    receive(unit(2), 1);
    EXPECT_EQ(consumer->frames, units({1, 2}));
    next = 5000;
    receive(unit(3), 3);
    receive(unit(4), 3);
    receive(unit(5), 3);
    EXPECT_EQ(consumer->frames, units({1, 2, 3, 4, 5})) << "and nothing of it is lost";
    EXPECT_EQ(source->receptionStats().lost(), 0);
}

TEST_F(Source, SaysWhatIsMissingWithTheFrameBehindIt) {
    std::vector<bool> damaged;
    play();
    const auto take = [&] { damaged.push_back(source->damagedBefore()); };
    receive(unit(1)), take();
    ++next;  // lost
    receive(unit(2)), take();
    receive(unit(3)), take();
    Packet cut;
    cut.payload = {0x7C, 0x85, 1};  // begins a fragmented unit whose end never comes
    receive(cut);
    receive(unit(4)), take();
    next = 7000;
    receive(unit(5), 2), receive(unit(6), 2), take();
    receive(unit(7), 2), take();
    EXPECT_EQ(consumer->frames, units({1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(damaged, (std::vector<bool>{false, true, false, true, false, false}));
}

}  // namespace
}  // namespace live_test
