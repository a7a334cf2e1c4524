#pragma once

#include <memory>

#include "include/RTSP/SessionSettings.h"
#include "util/GenericThread.h"

namespace norix {

class CCtrlParam;
class MediaPlayers;
class RTSPSession;

/// Receives one connection over RTSP, or from multicast groups that a camera pushes to, on a thread of its
/// own: frames go into the parameter block, the connection's state goes to the callback. One per connection.
///
/// Belongs to the window thread, which sets `settings` before StartStreaming. The callback runs on the
/// session's thread. The parameter block and the players are shared with that thread, which holds them until
/// it has ended, also where it had to be abandoned.
class RTSPCoumm {
  public:
    /// `players` may be null.
    RTSPCoumm(std::shared_ptr<CCtrlParam> param, std::shared_ptr<MediaPlayers> players);
    /// Stops.
    ~RTSPCoumm();
    RTSPCoumm(const RTSPCoumm&) = delete;
    RTSPCoumm& operator=(const RTSPCoumm&) = delete;

    SessionSettings settings;

    /// 1, also when the thread runs already; 0 when the system refuses a thread. Failures of the session are
    /// told to the callback.
    int StartStreaming();

    /// Ends the session by the stop rule; false when its thread had to be abandoned. From its beginning on
    /// nothing is reported any more, and the parameter block is closing. The players are left to their owner.
    bool StopStreaming();
    /// The beginning of that: tells the thread to end without waiting for it.
    void RequestStop();

  private:
    const std::shared_ptr<CCtrlParam> m_param;
    const std::shared_ptr<MediaPlayers> m_players;
    std::shared_ptr<RTSPSession> m_session;  // shared with the thread
    util::GenericThread m_thread{"RTSP"};
};

}  // namespace norix
