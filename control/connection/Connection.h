#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "control/Enumerations.h"
#include "control/connection/BackOff.h"
#include "control/connection/CameraLink.h"
#include "control/connection/ConnectionHost.h"
#include "control/connection/ConnectionMeans.h"
#include "control/connection/SessionContext.h"
#include "control/connection/StatusDisplay.h"
#include "control/connection/StreamReception.h"
#include "control/connection/StreamStatistics.h"
#include "media/FrameRateMeter.h"

#include "control/connection/SignIn.h"
#include "control/connection/StreamAddress.h"

namespace norix {

class CDecoder;

/// The connection of a control: starting, ending, and the status that the host hears. Window thread; workers
/// report through the control's messages.
///
/// Connecting is a sequence of steps, each of which a worker ends: the camera is asked what it is, then a
/// stream over HTTP has to be granted (one over RTSP reports by itself). A host's Connect waits for them; a
/// connection that the control begins by itself goes on from one to the next by OnStepDone, and the window's
/// thread never waits.
class Connection {
  public:
    Connection(ConnectionHost& host, ConnectionMeans& means, CameraLink& camera,
               std::shared_ptr<SessionContext> session);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// The host's: 0 when a connection has been started; -1 when nothing was, also while one is there or
    /// ends.
    long Connect();
    /// The control's own: returns at once; what comes of it is told by the status.
    void ConnectInBackground();
    /// A worker has ended a step.
    void OnStepDone(unsigned step);
    /// Always 0.
    long Disconnect();

    enum class Finish {
        AfterFailure,  ///< which was reported already; threads end beside the window's
        WithNotice,    ///< waits for all threads and reports ecsDisconnect before it returns
        Quietly,       ///< waits for all threads
    };
    void FinishDisconnect(Finish how);

    /// What every receiver's report ends in: timers, caption, status picture, event, and what follows from a
    /// failure. Reports that come while there is no connection are about one that has ended.
    void OnConnectStatus(EConnectStatus reported);
    /// Takes what could not be posted: reports, and ends of steps.
    void OnReportsTimer();

    /// The ticks of the timers that belong to the connection.
    void OnStatisticsTimer();
    void OnAutoConnectTimer();
    void OnReconnectTimer();
    /// The user has signed in anew: connects with that in a moment.
    void OnSignedIn();

    /// The window goes: so does a connection that shows its pictures there.
    void OnWindowDestroyed();

    /// From a Connect to the end of what it began.
    bool IsActive() const { return m_active; }
    /// The decoder of the connection that is there; shared, or none: the one way to it.
    std::shared_ptr<CDecoder> Decoder() const;

    EConnectStatus Status() const { return m_status; }
    /// Pictures per second shown to the host, averaged; 0 before the first statistics pass and without a
    /// connection.
    int AverageFrameRate() const { return m_averageFrameRate; }
    /// How it fares; of the last one where there is none.
    StreamStatistics Statistics() const;
    /// What is received; None without a connection.
    VideoCodec StreamCodec() const;

  private:
    /// What one attempt has found out.
    struct Attempt {
        EConnectProtocol protocol = ecpUDP;
        MediaType media = MediaType::AudioVideo;
        StreamSelection selection;
        bool codecChosen = false;                // by the user
        bool inClear = false;                    // the stream, of a camera that is asked by HTTPS
        unsigned step = 0;                       // the one that is under way; 0 for none
        std::shared_ptr<StepSignal> signal;      // of that step
        std::shared_ptr<CameraInquiry> inquiry;  // while the camera is asked
        bool asked = false;                      // the camera was asked before the stream
        bool reached = false;                    // and its web server answered
        std::optional<OnvifStream> onvif;        // what the ONVIF service said
        std::string silence;                     // why its web server did not answer, for the user
        std::string failure;                     // why it failed, where that is not the stream's affair
        std::optional<long> result;              // of Connect; the attempt is over
    };

    bool Begin();
    void Start();
    void LocateCamera();
    std::vector<std::string> NamedHosts() const;
    bool MayReachAll();
    bool MayReach(const MulticastInfo& groups);
    void BindAddressSignIn(const CameraLocation& location);
    SignIn StreamSignIn(const protocol::Origin& stream);
    void SaveSignIns();
    bool Ask();
    void TakeInquiry(const CameraInquiry& inquiry);
    void StartStream();
    bool AwaitParam(bool wait);
    void Prepare();
    void DescribeStream();
    bool MayComeInClear(const std::string& host);
    bool Refuse(const std::string& reason);
    bool StartHttp();
    bool StartRtsp();
    std::string GetStreamUri();
    void NextStep();
    void WorkOn(unsigned number);
    bool IsCurrent(unsigned number) const { return m_active && m_attempts == number; }
    void End(long result);
    void Fail(EConnectStatus status = ecsConnectFail, const std::string& reason = {});
    void StopReception(Finish how);
    EConnectStatus Interpret(EConnectStatus reported) const;
    void HandleStatus(EConnectStatus status);
    std::string ReasonOf(EConnectStatus status) const;
    void AskForGroups(EConnectStatus failure);
    void LogFrameRates(const FrameRates& rates) const;

    ConnectionHost& m_host;
    ConnectionMeans& m_means;
    CameraLink& m_camera;
    const std::shared_ptr<SessionContext> m_session;
    EConnectStatus m_status = ecsDisconnect;
    bool m_active = false;         // connecting or connected
    bool m_disconnecting = false;  // inside FinishDisconnect
    bool m_failed = false;         // a failure of this connection is being told; another one adds nothing
    bool m_hostWaits = false;      // inside the host's Connect
    bool m_refused = false;        // the camera's web server did not accept this attempt's sign-in
    bool m_onvifDenied = false;    // nor did its ONVIF service, asked where the stream is
    unsigned m_attempts = 0;       // connections begun: tells an outer Connect that it has been overtaken
    unsigned m_steps = 0;          // numbers given to steps
    Attempt m_attempt;             // the latest
    std::shared_ptr<CameraInquiry> m_beside;  // the camera is asked beside a stream whose address is known
    unsigned m_besideStep = 0;
    std::shared_ptr<StepSignal> m_besideSignal;    // of that step
    std::shared_ptr<StreamReception> m_reception;  // of the connection that is there

    /// Earlier connections some thread of which may still run, and how long that may be waited for.
    struct Leaving {
        std::weak_ptr<const void> users;
        std::uint32_t sinceMs = 0;
        bool abandoned = false;
    };
    std::vector<Leaving> m_leaving;

    StatusDisplay m_display;
    BackOff m_backOff;
    StreamStatistics m_statistics;
    FrameRateMeter m_frameRateMeter;
    int m_averageFrameRate = 0;
};

}  // namespace norix
