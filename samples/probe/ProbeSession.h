#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "include/RTSP/RTSPSession.h"

namespace probe {

/// A session that prints, every second and for each medium, what has arrived. Calls `finished` on the
/// session's thread when its time is over.
class ProbeSession : public norix::RTSPSession {
  public:
    ProbeSession(norix::SessionSettings settings, std::shared_ptr<norix::CCtrlParam> param,
                 std::shared_ptr<norix::MediaPlayers> players, double seconds, bool quiet,
                 std::function<void()> finished);

    /// After RTSPStart: whether each medium that was set up has delivered frames.
    bool Delivered() const { return m_delivered; }

  protected:
    void OnPlaying(norix::RTSPClientCustom& client) override;

  private:
    void ScheduleTick();
    void Tick();
    void Report(const char* what, double seconds);

    const double m_seconds;
    const bool m_quiet;
    const std::function<void()> m_finished;
    // session's thread
    norix::RTSPClientCustom* m_client = nullptr;
    std::int64_t m_started = 0;
    bool m_delivered = false;
};

}  // namespace probe
