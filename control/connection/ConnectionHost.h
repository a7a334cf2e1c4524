#pragma once

// What a connection and its camera need of the control that they belong to, and nothing else of it. The
// control implements it; tests put a host of their own in its place. No system header: the workflow is
// compiled for every build.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "control/Enumerations.h"
#include "net/Failure.h"
#include "protocol/Origin.h"
#include "render/present/StatusPictureKind.h"

#include "protocol/HostRoute.h"

namespace norix {

/// The properties that a connection reads, as they are at the moment. UTF-8.
struct ConnectionSettings {
    std::string serverIP;
    std::int32_t httpPort = 80;
    std::string username;
    std::string password;
    std::int32_t channel = 1;
    std::int32_t stream = 1;
    short videoProtocol = ecpUDP;
    short mediaType = -1;
    unsigned timeoutMs = 5000;
    bool autoReconnect = false;
    std::string streamUri;
    std::string mediaServiceUri;
    std::string profileToken;
    std::int32_t captionInfo = eciAll;
    bool ignoreCaption = false;
    bool clientSettingMode = false;

    bool onPage = false;  // a web page that a camera may have served holds the control
    bool pageIsHttps = false;
    std::int32_t pagePort = 0;
};

/// What the camera's conversation needs. Window thread.
class CameraHost {
  public:
    virtual ConnectionSettings Settings() const = 0;
    /// The camera has said, or an address has told, where its web server is.
    virtual void SetHttpPort(std::int32_t port) = 0;

  protected:
    ~CameraHost() = default;
};

/// Timers of the control's window, by their numbers.
enum class ConnectionTimer : unsigned {
    Statistics = 3,
    AutoConnect = 5,
    Reconnect = 9,
    Reports = 13,  // looks for what could not be posted, while there is a connection
};

/// The choices of this user.
struct UserChoices {
    std::uint32_t video = 0;
    std::uint32_t protocol = 0;
};

/// How a stream in clear may come.
enum class PlainStream {
    Silently,
    Told,  ///< the user is told, and that is all
    Refused,
};

/// What the workflow needs. Window thread. Whatever tells the host something may be entered again from
/// inside: the host may connect, disconnect or destroy the window.
class ConnectionHost : public CameraHost {
  public:
    virtual void SetServerIP(const std::string& host) = 0;
    /// Reads the registry: what the log shows, and the user's choices.
    virtual UserChoices ReadUserChoices() = 0;

    /// Whether anybody may be reached at all under this address, asked before something is sent there.
    virtual bool MayReach(const std::string& host) = 0;
    /// Why it said no, for the user.
    virtual std::string WhyNotReached() const { return net::kMayNotReach; }
    /// Whether some of these names are still being looked up, beside this thread, for MayReach; begins that.
    /// For a second at most.
    virtual bool LooksUp(const std::vector<std::string>&) { return false; }
    /// Whether a question to the user is open that keeps a page's others from being put.
    virtual bool IsUserAsked() { return false; }
    /// The same for the multicast groups that a camera names.
    virtual bool MayReachGroups() { return true; }
    /// For the threads of a connection: whether a server may name multicast groups; null: it may.
    virtual std::function<bool()> GroupRule() const { return {}; }
    /// About a stream in clear from a host that is asked by HTTPS. The user may be asked.
    virtual PlainStream JudgePlainStream(const std::string&) { return PlainStream::Told; }
    /// Whether the host is a program, or as good as one.
    virtual bool IsTrusted() { return true; }
    /// For the threads of a connection: what to connect to where an address names a host.
    virtual protocol::HostRoute Route() const { return {}; }

    /// Returns once there is, or was, a window, dispatching messages meanwhile; false when the program ends
    /// instead.
    virtual bool WaitForWindow() = 0;
    virtual bool HasWindow() const = 0;
    virtual void StartTimer(ConnectionTimer timer, unsigned milliseconds) = 0;
    virtual void StopTimer(ConnectionTimer timer) = 0;

    virtual void ShowPicture(StatusPicture picture) = 0;
    virtual void ShowCaption(const std::wstring& caption) = 0;
    virtual std::wstring Caption() const = 0;
    /// What is shown has changed.
    virtual void Redraw() = 0;

    /// One line in the host's status bar, where it has one; empty takes it away.
    virtual void ShowStatusText(const std::string& text) = 0;

    virtual void FireStatus(EConnectStatus status) = 0;
    /// Once a second while connected.
    virtual void ReportFrameRate(int picturesPerSecond) = 0;
    /// Asks for another sign-in later, from the window's queue.
    virtual void AskForSignIn() = 0;
    /// What AskForSignIn asked for is not wanted any more.
    virtual void WithdrawSignIn() = 0;

    /// Deliveries to the host begin, and the decoder to come gets the host's view.
    virtual void ConnectionBegins() = 0;
    /// The camera, asked beside a stream that is there, has told of itself what it could.
    virtual void CameraTold() {}
    virtual void EndDigitalPtz() = 0;
    /// Everything that depends on a connection ends: talk-back.
    virtual void ConnectionEnds() = 0;
    /// Nothing that was reported so far is told to the host any more.
    virtual void DropReports() = 0;
    /// Has OnConnectStatus(ecsDisconnect) called by way of the window, where there is one.
    virtual void SendDisconnectNotice() = 0;

  protected:
    ~ConnectionHost() = default;
};

}  // namespace norix
