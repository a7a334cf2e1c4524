#pragma once

#include <windows.h>

#include <memory>
#include <string>

#include "camera/CodecList.h"
#include "control/Enumerations.h"
#include "control/connection/Playback.h"
#include "control/connection/Reception.h"
#include "media/FrameRateMeter.h"

namespace norix {

class CDecoder;
class CNorixSDKCtrl;

/// The connection of a control: starting, ending, and the status that the host hears. Window thread; workers
/// report through the control's messages.
class Connection {
  public:
    explicit Connection(CNorixSDKCtrl& owner);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// 0 when a connection has been started; -1 when nothing was, also while one is there or ends.
    long Connect();
    /// Always 0.
    long Disconnect();

    enum class Finish {
        Quietly,     ///< after a failure that was reported already
        WithNotice,  ///< reports ecsDisconnect before it returns
    };
    void FinishDisconnect(Finish how);

    /// What every receiver's report ends in: timers, caption, status picture, event, and what follows from a
    /// failure.
    void OnConnectStatus(EConnectStatus reported);

    /// The ticks of the timers that belong to the connection.
    void OnStatisticsTimer();
    void OnAutoConnectTimer();
    void OnReconnectTimer();

    /// The window goes: so does a connection that shows its pictures there.
    void OnWindowDestroyed();

    // ---- The picture of the connection; nothing happens while there is none
    /// Null while no connection has one.
    std::shared_ptr<CDecoder> Decoder() const;
    void SetView(const ViewState& view);
    void ChangePresenter();
    bool DrawLastPicture(HDC dc, const RECT& bounds) const;

    EConnectStatus Status() const { return m_status; }
    /// Pictures per second shown to the host, averaged; 0 before the first statistics pass.
    int AverageFrameRate() const { return m_averageFrameRate; }

  private:
    /// What one attempt has found out.
    struct Attempt {
        unsigned number = 0;
        EConnectProtocol protocol = ecpUDP;
        MediaType media = MediaType::AudioVideo;
        StreamSelection selection;
        bool askOnvif = false;  // the camera may have an ONVIF service that knows the stream
    };

    bool Begin();
    bool IsCurrent(unsigned attempt) const { return m_active && m_attempts == attempt; }
    void LocateCamera();
    void SaveSignIn();
    void ReadCamera(Attempt& attempt);
    void Prepare(const Attempt& attempt);
    bool StartHttp(const Attempt& attempt);
    bool StartRtsp(const Attempt& attempt);
    std::string GetStreamUri(const Attempt& attempt);
    long Fail();
    void StopReception();
    void DropReports();
    EConnectStatus Interpret(EConnectStatus reported) const;
    void ShowStatus(EConnectStatus status);
    void SetCaption(const std::wstring& caption);
    void RefreshCaption(const CCtrlParam& param);
    std::wstring WithProblem(std::wstring caption) const;
    void LogFrameRates(const FrameRates& rates) const;
    void WatchDisk();

    CNorixSDKCtrl& m_owner;
    EConnectStatus m_status = ecsDisconnect;
    bool m_active = false;         // connecting or connected
    bool m_disconnecting = false;  // inside FinishDisconnect
    bool m_obstacleShown = false;  // the caption says why there are no pictures
    bool m_refused = false;        // the camera did not accept the sign-in of this attempt's commands
    unsigned m_attempts = 0;       // connections begun: tells an outer Connect that it has been overtaken
    std::shared_ptr<Reception> m_reception;  // of the connection that is there
    std::weak_ptr<CCtrlParam> m_abandoned;   // alive: a thread of an earlier connection still runs
    FrameRateMeter m_frameRateMeter;
    int m_averageFrameRate = 0;
};

}  // namespace norix
