#pragma once

#include <string>

#include "control/Enumerations.h"
#include "control/connection/ConnectionHost.h"
#include "control/connection/SessionContext.h"

namespace norix {

/// How a connection's status shows itself to the user: caption, picture, and one line why there is no stream,
/// in the caption, the log and the host's status bar. Window thread.
class StatusDisplay {
  public:
    /// Both outlive this.
    StatusDisplay(ConnectionHost& host, SessionContext& session) : m_host(host), m_session(session) {}

    static const char* NameOf(EConnectStatus status);
    /// Ends the connection.
    static bool IsFailure(EConnectStatus status);

    /// Caption and picture. `reason` may be empty.
    void Show(EConnectStatus status, const std::string& reason);
    /// Once a second while connected: what else the caption tells.
    void Refresh();
    /// The line in the host's status bar; empty takes it away. The host may do anything meanwhile.
    void Tell(const std::string& reason);

  private:
    std::wstring WithProblem(std::wstring caption) const;

    ConnectionHost& m_host;
    SessionContext& m_session;
    bool m_obstacleShown = false;  // the caption says why there are no pictures
    bool m_told = false;           // the host's status bar shows a line of ours
};

}  // namespace norix
