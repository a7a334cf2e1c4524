// From a description to sinks that receive, within bounded memory. The input: a description up to a zero
// byte, then packets, each behind its medium (1 byte) and its length (2 bytes), which come over a connection.

#include <sanitizer/allocator_interface.h>

#include <array>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "live/BasicUsageEnvironment.hh"
#include "live/liveMedia.hh"

#include "include/RTSP/DummySink.h"
#include "live/rtp/ByteReader.h"
#include "live/rtp/RtpFrameSource.h"
#include "media/CtrlParam.h"
#include "tests/native/rtsp/FrameTaker.h"
#include "tests/native/rtsp/FuzzNetwork.h"

namespace {

using namespace norix;

constexpr std::size_t kReceiveBuffer = 200'000;  // larger ones only cost time

struct Connection final : live::rtp::InterleavedConnection {
    std::array<live::rtp::InterleavedReceiver*, 256> receivers{};
    bool sendInterleaved(unsigned, live::rtp::Bytes) override { return true; }
    bool addReceiver(unsigned channel, live::rtp::InterleavedReceiver& receiver) override {
        receivers[channel] = &receiver;
        return true;
    }
    void removeReceiver(live::rtp::InterleavedReceiver& receiver) override {
        for (auto& known : receivers) {
            if (known == &receiver) known = nullptr;
        }
    }
};

struct Idle final : fuzz::Server {
    void OnBytes(int, std::string_view) override {}
    int OnIdle() override { return 10; }
};

// Bytes beyond those that were there before.
class Budget {
  public:
    void Check(std::size_t most) const {
        if (__sanitizer_get_current_allocated_bytes() > m_before + most) std::abort();
    }

  private:
    const std::size_t m_before = __sanitizer_get_current_allocated_bytes();
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Idle idle;
    fuzz::SetServer(&idle);
    const Budget budget;
    const std::string text(data, std::find(data, data + size, 0));
    live::rtp::ByteReader packets(live::rtp::Bytes(data, size).subspan(std::min(text.size() + 1, size)));

    const std::unique_ptr<BasicTaskScheduler> scheduler(BasicTaskScheduler::createNew());
    UsageEnvironment* const env = BasicUsageEnvironment::createNew(*scheduler);
    MediaSettings settings;
    settings.videoBufferNum = settings.audioBufferNum = 2;
    CCtrlParam param(settings);
    param.SetRecorder(std::make_shared<fuzz::FrameTaker>(param));
    Connection connection;
    const EventLoopWatchVariable stop{0};
    std::vector<MediaSubsession*> media;
    MediaSession* const session = MediaSession::createNew(*env, text.c_str());
    budget.Check(200'000 + 40 * size);
    if (session) {
        MediaSubsessionIterator subsessions(*session);
        bool video = false, sound = false;
        while (MediaSubsession* const subsession = subsessions.next()) {
            // As a session does: one of each kind.
            bool& there = DummySink::IsVideo(subsession->codecName()) ? video : sound;
            if (there || !subsession->initiate()) continue;
            there = true;
            const auto channel = static_cast<unsigned>(2 * media.size());
            if (!subsession->receiveInterleaved(connection, channel, channel + 1)) std::abort();
            subsession->sink = DummySink::createNew(*env, *subsession, kReceiveBuffer, param, stop);
            subsession->sink->startPlaying(*subsession->readSource(), nullptr, nullptr);
            media.push_back(subsession);
        }
        budget.Check(1'000'000 + media.size() * (2 * kReceiveBuffer + 500'000) + 40 * size);
        while (packets.left() > 3) {
            const unsigned channel = packets.u8() % 4;
            const auto packet = packets.take(std::min<std::size_t>(packets.u16(), packets.left()));
            if (connection.receivers[channel]) connection.receivers[channel]->onInterleaved(packet);
        }
        budget.Check(1'000'000 + media.size() * (2 * kReceiveBuffer + 500'000) + 80 * size);
        for (MediaSubsession* const subsession : media)
            Medium::close(std::exchange(subsession->sink, nullptr));
        Medium::close(session);
    }
    env->reclaim();
    fuzz::SetServer(nullptr);
    return 0;
}
