#pragma once

#include <windows.h>

#include "control/Enumerations.h"
#include "media/FrameRateMeter.h"

namespace norix {

class CNorixSDKCtrl;

/// The connection of a control: starting, ending, and the status that the host hears. Window thread; workers
/// report through the control's messages.
class Connection {
  public:
    explicit Connection(CNorixSDKCtrl& owner) : m_owner(owner) {}

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
    void OnConnectStatus(EConnectStatus status);

    /// The ticks of the timers that belong to the connection.
    void OnStatisticsTimer();
    void OnAutoConnectTimer();
    void OnReconnectTimer();

    EConnectStatus Status() const { return m_status; }
    /// Pictures per second shown to the host, averaged; 0 before the first statistics pass.
    int AverageFrameRate() const { return m_averageFrameRate; }

  private:
    void ShowStatus(EConnectStatus status);
    void LogFrameRates(const FrameRates& rates) const;
    void WatchDisk();

    CNorixSDKCtrl& m_owner;
    EConnectStatus m_status = ecsDisconnect;
    bool m_active = false;         // connecting or connected
    bool m_disconnecting = false;  // inside FinishDisconnect
    unsigned m_attempts = 0;       // connections begun: tells an outer Connect that it has been overtaken
    FrameRateMeter m_frameRateMeter;
    int m_averageFrameRate = 0;
};

}  // namespace norix
