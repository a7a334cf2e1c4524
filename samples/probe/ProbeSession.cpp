#include "samples/probe/ProbeSession.h"

#include <cstdio>
#include <utility>

#include "include/RTSP/DummySink.h"
#include "include/RTSP/RTSPClientCustom.h"
#include "live/env/Clock.h"
#include "live/rtp/ReceptionStats.h"

namespace probe {

ProbeSession::ProbeSession(norix::SessionSettings settings, std::shared_ptr<norix::CCtrlParam> param,
                           std::shared_ptr<norix::MediaPlayers> players, double seconds, bool quiet,
                           std::function<void()> finished)
    : RTSPSession(std::move(settings), std::move(param), std::move(players)),
      m_seconds(seconds),
      m_quiet(quiet),
      m_finished(std::move(finished)) {}

void ProbeSession::OnPlaying(norix::RTSPClientCustom& client) {
    m_client = &client;
    m_started = live::steadyMicroseconds();
    ScheduleTick();
}

void ProbeSession::ScheduleTick() {
    // Never taken back: it can only run inside the event loop, and this outlives that.
    m_client->envir().taskScheduler().scheduleDelayedTask(
        live::kMicrosecondsPerSecond, [](void* self) { static_cast<ProbeSession*>(self)->Tick(); }, this);
}

void ProbeSession::Tick() {
    constexpr double kLate = 0.5;
    const double passed =
        static_cast<double>(live::steadyMicroseconds() - m_started) / live::kMicrosecondsPerSecond;
    const bool over = passed + kLate > m_seconds;
    if (over || !m_quiet) Report(over ? "total" : "t", passed);
    if (over) {
        m_finished();
    } else {
        ScheduleTick();
    }
}

void ProbeSession::Report(const char* what, double seconds) {
    constexpr double kMilliseconds = 1000;
    bool all = true;
    bool any = false;
    MediaSubsessionIterator subsessions(*m_client->state.session);
    while (MediaSubsession* const subsession = subsessions.next()) {
        const auto* const sink = static_cast<norix::DummySink*>(subsession->sink);
        if (!sink) continue;
        const auto& stats = subsession->rtpSource()->receptionStats();
        std::printf("%s %.1f %s/%s frames %llu bytes %llu packets %llu lost %lld jitter %.1f ms\n", what,
                    seconds, subsession->mediumName(), subsession->codecName(),
                    static_cast<unsigned long long>(sink->Frames()),
                    static_cast<unsigned long long>(sink->Bytes()),
                    static_cast<unsigned long long>(stats.received()), static_cast<long long>(stats.lost()),
                    stats.jitterSeconds() * kMilliseconds);
        any = true;
        all = all && sink->Frames() > 0;
    }
    m_delivered = any && all;
    std::fflush(stdout);
}

}  // namespace probe
