// Opens a stream and prints, every second and for each of its media, what arrives: frames, bytes, packets
// lost, jitter. With it one sees reception at work without anything else of the control.
//
//   liveprobe [options] rtsp://[user:password@]host[:port]/path
//     -t udp|tcp|http|multicast   how to receive (udp)
//     -p port                     of the HTTP tunnel (80)
//     -n seconds                  how long (10)
//     -i address                  of the interface that multicast is received on
//     -u user -w password         instead of those in the address
//     -o prefix                   writes prefix.N for medium N: each frame behind its length (4 bytes,
//     big-endian) -q                          prints totals only
//
// Ends with 0 when every medium that was set up has delivered frames.

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "live/BasicUsageEnvironment.hh"
#include "live/GroupsockHelper.hh"
#include "live/env/Clock.h"
#include "live/liveMedia.hh"
#include "live/rtp/ReceptionStats.h"
#include "live/tools/ProbeOptions.h"

namespace {

using Options = live::tools::ProbeOptions;

EventLoopWatchVariable g_stop{0};

class CountingSink : public MediaSink {
  public:
    static CountingSink* createNew(UsageEnvironment& env, MediaSubsession& subsession,
                                   const std::string& file) {
        return new CountingSink(env, subsession, file);
    }
    MediaSubsession& subsession() { return m_subsession; }
    std::uint64_t frames() const { return m_frames; }
    std::uint64_t bytes() const { return m_bytes; }
    double playTime() const { return m_playTime; }
    bool ended() const { return m_ended; }
    void end() { m_ended = true; }

  protected:
    Boolean continuePlaying() override {
        if (!fSource) return False;
        fSource->getNextFrame(m_buffer.data(), static_cast<unsigned>(m_buffer.size()), onFrame, this,
                              onSourceClosure, this);
        return True;
    }

  private:
    CountingSink(UsageEnvironment& env, MediaSubsession& subsession, const std::string& file)
        : MediaSink(env), m_subsession(subsession), m_buffer(2'048'000) {
        if (!file.empty()) m_file.open(file, std::ios::binary);
    }
    static void onFrame(void* self, unsigned size, unsigned truncated, timeval presentationTime, unsigned) {
        static_cast<CountingSink*>(self)->onFrame(size, truncated, presentationTime);
    }
    void onFrame(unsigned size, unsigned truncated, const timeval& presentationTime) {
        ++m_frames;
        m_bytes += size + truncated;
        m_playTime = m_subsession.getNormalPlayTime(presentationTime);
        if (m_file.is_open()) {
            const unsigned char length[4] = {
                static_cast<unsigned char>(size >> 24), static_cast<unsigned char>(size >> 16),
                static_cast<unsigned char>(size >> 8), static_cast<unsigned char>(size)};
            m_file.write(reinterpret_cast<const char*>(length), sizeof length);
            m_file.write(reinterpret_cast<const char*>(m_buffer.data()), size);
        }
        continuePlaying();
    }

    MediaSubsession& m_subsession;
    std::vector<unsigned char> m_buffer;
    std::ofstream m_file;
    std::uint64_t m_frames = 0;
    std::uint64_t m_bytes = 0;
    double m_playTime = 0;
    bool m_ended = false;
};

class Probe : public RTSPClient {
  public:
    Probe(UsageEnvironment& env, const Options& options)
        : RTSPClient(env, options.url.c_str(), 0, "liveprobe",
                     options.transport == "http" ? static_cast<portNumBits>(options.tunnelPort) : 0, -1),
          m_options(options),
          m_credentials(options.user.c_str(), options.password.c_str()) {}

    void start() { sendOptionsCommand(afterOptions, &m_credentials); }

    void finish() {
        envir().taskScheduler().unscheduleDelayedTask(m_tick);
        for (CountingSink* sink : m_sinks) {
            sink->stopPlaying();
            if (sink->subsession().rtcpInstance())
                sink->subsession().rtcpInstance()->setByeHandler(nullptr, nullptr);
        }
        if (m_session && !m_sinks.empty()) sendTeardownCommand(*m_session, nullptr);
        report("total");
        m_delivered = !m_sinks.empty() && std::all_of(m_sinks.begin(), m_sinks.end(),
                                                      [](CountingSink* sink) { return sink->frames() > 0; });
        for (CountingSink* sink : m_sinks)
            Medium::close(sink);
        Medium::close(m_session);
        m_session = nullptr;
    }
    bool delivered() const { return m_delivered; }

  private:
    static Probe& self(RTSPClient* client) { return *static_cast<Probe*>(client); }

    // Prints the reply's text when it is a failure.
    bool succeeded(const char* what, int code, char* result) {
        m_text.reset(result);
        if (code == 0) return true;
        std::printf("%s failed: %d %s\n", what, code, result ? result : "");
        return false;
    }

    static void afterOptions(RTSPClient* client, int code, char* result) {
        if (!self(client).succeeded("OPTIONS", code, result)) {
            g_stop = 1;
            return;
        }
        client->sendDescribeCommand(afterDescribe);
    }

    static void afterDescribe(RTSPClient* client, int code, char* result) {
        Probe& probe = self(client);
        if (!probe.succeeded("DESCRIBE", code, result)) {
            g_stop = 1;
            return;
        }
        probe.m_session = MediaSession::createNew(client->envir(), result);
        if (!probe.m_session) {
            std::printf("bad description: %s\n", client->envir().getResultMsg());
            g_stop = 1;
            return;
        }
        if (probe.m_options.transport == "multicast") probe.receiveWhereConnected();
        probe.m_next = std::make_unique<MediaSubsessionIterator>(*probe.m_session);
        probe.setupNext();
    }

    // Groups are joined on the interface that leads to the server, unless one is given.
    void receiveWhereConnected() {
        sockaddr_in local{};
        socklen_t length = sizeof local;
        if (m_options.interfaceAddress.empty() &&
            ::getsockname(socketNum(), reinterpret_cast<sockaddr*>(&local), &length) == 0) {
            ReceivingInterfaceAddr = local.sin_addr.s_addr;
        }
    }

    void setupNext() {
        while ((m_current = m_next->next()) != nullptr) {
            if (!m_current->initiate()) {
                std::printf("%s/%s: %s\n", m_current->mediumName(), m_current->codecName(),
                            envir().getResultMsg());
                continue;
            }
            constexpr unsigned kReorderMicroseconds = 50'000;
            constexpr unsigned kReceiveBuffer = 2'048'000;
            m_current->rtpSource()->setPacketReorderingThresholdTime(kReorderMicroseconds);
            setReceiveBufferTo(envir(), m_current->rtpSource()->RTPgs()->socketNum(), kReceiveBuffer);
            const bool tcp = m_options.transport == "tcp" || m_options.transport == "http";
            sendSetupCommand(*m_current, afterSetup, False, tcp, m_options.transport == "multicast");
            return;
        }
        sendPlayCommand(*m_session, afterPlay);
    }

    static void afterSetup(RTSPClient* client, int code, char* result) {
        Probe& probe = self(client);
        if (probe.succeeded("SETUP", code, result)) {
            const std::string& dump = probe.m_options.dump;
            CountingSink* const sink = CountingSink::createNew(
                client->envir(), *probe.m_current,
                dump.empty() ? "" : dump + "." + std::to_string(probe.m_sinks.size()));
            probe.m_sinks.push_back(sink);
            sink->startPlaying(
                *probe.m_current->readSource(), [](void* s) { static_cast<CountingSink*>(s)->end(); }, sink);
            probe.m_current->rtcpInstance()->setByeHandler(
                [](void* s) {
                    std::printf("BYE on %s\n", static_cast<CountingSink*>(s)->subsession().mediumName());
                },
                sink);
        }
        probe.setupNext();
    }

    static void afterPlay(RTSPClient* client, int code, char* result) {
        if (!self(client).succeeded("PLAY", code, result)) {
            g_stop = 1;
            return;
        }
        self(client).m_started = live::steadyMicroseconds();
        self(client).scheduleTick();
    }

    void scheduleTick() {
        m_tick = envir().taskScheduler().scheduleDelayedTask(
            live::kMicrosecondsPerSecond, [](void* probe) { static_cast<Probe*>(probe)->onTick(); }, this);
    }

    void onTick() {
        m_tick = nullptr;
        const double now =
            static_cast<double>(live::steadyMicroseconds() - m_started) / live::kMicrosecondsPerSecond;
        if (!m_options.quiet) report("t");
        const bool allEnded =
            std::all_of(m_sinks.begin(), m_sinks.end(), [](CountingSink* s) { return s->ended(); });
        if (allEnded) std::printf("all media have ended\n");
        if (allEnded || now + 0.5 > m_options.seconds) {
            g_stop = 1;
            return;
        }
        const unsigned timeout = sessionTimeoutParameter();
        // Half of the session's time is for keep-alives that get lost.
        if (m_options.transport != "tcp" && m_options.transport != "http" && timeout != 0 &&
            now - m_keptAlive > timeout / 2.0) {
            m_keptAlive = now;
            sendOptionsCommand(nullptr);
        }
        scheduleTick();
    }

    void report(const char* what) {
        const double now =
            static_cast<double>(live::steadyMicroseconds() - m_started) / live::kMicrosecondsPerSecond;
        for (CountingSink* sink : m_sinks) {
            const auto& stats = sink->subsession().rtpSource()->receptionStats();
            std::printf(
                "%s %.1f %s/%s frames %llu bytes %llu packets %llu lost %lld jitter %.1f ms npt %.3f%s\n",
                what, now, sink->subsession().mediumName(), sink->subsession().codecName(),
                static_cast<unsigned long long>(sink->frames()),
                static_cast<unsigned long long>(sink->bytes()),
                static_cast<unsigned long long>(stats.received()), static_cast<long long>(stats.lost()),
                stats.jitterSeconds() * 1000, sink->playTime(),
                sink->subsession().rtpSource()->hasBeenSynchronizedUsingRTCP() ? " synchronized" : "");
        }
        std::fflush(stdout);
    }

    const Options& m_options;
    Authenticator m_credentials;
    MediaSession* m_session = nullptr;
    std::unique_ptr<MediaSubsessionIterator> m_next;
    MediaSubsession* m_current = nullptr;
    std::vector<CountingSink*> m_sinks;
    std::unique_ptr<char[]> m_text;
    TaskToken m_tick = nullptr;
    std::int64_t m_started = 0;
    double m_keptAlive = 0;
    bool m_delivered = false;
};

}  // namespace

int main(int count, char** arguments) {
    Options options;
    if (!live::tools::parseProbeOptions(count, arguments, options) || options.url.empty()) {
        std::fprintf(
            stderr,
            "usage: liveprobe [-t udp|tcp|http|multicast] [-p tunnel port] [-n seconds] [-i interface] "
            "[-u user -w password] [-o prefix] [-q] rtsp://...\n");
        return 2;
    }
    const std::unique_ptr<TaskScheduler> scheduler(BasicTaskScheduler::createNew());
    UsageEnvironment* const env = BasicUsageEnvironment::createNew(*scheduler);
    if (!options.interfaceAddress.empty()) {
        ::inet_pton(AF_INET, options.interfaceAddress.c_str(), &ReceivingInterfaceAddr);
    }
    auto* const probe = new Probe(*env, options);
    probe->start();
    // A server that never answers must not keep the tool.
    scheduler->scheduleDelayedTask(
        static_cast<int64_t>((options.seconds + 10) * live::kMicrosecondsPerSecond),
        [](void*) { g_stop = 1; }, nullptr);
    scheduler->doEventLoop(&g_stop);
    probe->finish();
    const bool delivered = probe->delivered();
    Medium::close(probe);
    env->reclaim();
    return delivered ? 0 : 1;
}
