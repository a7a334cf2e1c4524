#pragma once

#include <windows.h>

#include "control/connection/ConnectionHost.h"
#include "control/view/ViewHost.h"

namespace norix {

class CNorixSDKCtrl;

/// The control as its connection sees it. Window thread.
class ControlAsConnectionHost final : public ConnectionHost {
  public:
    explicit ControlAsConnectionHost(CNorixSDKCtrl& control) : m_control(control) {}

    ConnectionSettings Settings() const override;
    void SetHttpPort(std::int32_t port) override;
    void SetServerIP(const std::string& host) override;
    UserChoices ReadUserChoices() override;
    bool MayReach(const std::string& host) override;
    bool MayReachGroups() override;
    std::function<bool()> GroupRule() const override;
    PlainStream JudgePlainStream(const std::string& host) override;
    bool IsTrusted() override;
    protocol::HostRoute Route() const override;
    std::string WhyNotReached() const override;
    bool LooksUp(const std::vector<std::string>& hosts) override;
    bool IsUserAsked() override;
    bool WaitForWindow() override;
    bool HasWindow() const override;
    void StartTimer(ConnectionTimer timer, unsigned milliseconds) override;
    void StopTimer(ConnectionTimer timer) override;
    void ShowPicture(StatusPicture picture) override;
    void ShowCaption(const std::wstring& caption) override;
    std::wstring Caption() const override;
    void Redraw() override;
    void ShowStatusText(const std::string& text) override;
    void FireStatus(EConnectStatus status) override;
    void ReportFrameRate(int picturesPerSecond) override;
    void AskForSignIn() override;
    void WithdrawSignIn() override;
    void ConnectionBegins() override;
    void CameraTold() override;
    void EndDigitalPtz() override;
    void ConnectionEnds() override;
    void DropReports() override;
    void SendDisconnectNotice() override;

  private:
    CNorixSDKCtrl& m_control;
};

/// The control as its view's commands and the mouse see it. Window thread.
class ControlAsViewHost final : public ViewHost, public MouseHost {
  public:
    explicit ControlAsViewHost(CNorixSDKCtrl& control) : m_control(control) {}

    HWND Window() const override;
    CCtrlParam& Param() override;
    std::shared_ptr<CDecoder> Decoder() override;
    void DrawByGdi() override;
    void ViewChanged() override;
    void OverlaysChanged() override;
    void OnViewMoved() override;
    void StartDeferredViewTimer() override;
    void StopDeferredViewTimer() override;
    void Fire(const framework::Event<long, long>& event, long x, long y) override;
    void FireWheel(long delta, long x, long y) override;

  private:
    CNorixSDKCtrl& m_control;
};

}  // namespace norix
