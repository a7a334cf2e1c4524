#include "control/ControlHosts.h"

#include <algorithm>
#include <utility>

#include "control/Events.h"
#include "control/NorixSDKCtl.h"
#include "control/connection/StreamAddress.h"
#include "render/decode/Decoder.h"
#include "util/Log.h"
#include "util/LogSetup.h"
#include "util/Settings.h"
#include "util/Text.h"

namespace norix {

// ---- For the connection

ConnectionSettings ControlAsConnectionHost::Settings() const {
    const ControlProperties& properties = m_control.Properties();
    ConnectionSettings settings;
    settings.serverIP = TypedHost(util::WideToUtf8(properties.serverIP));
    settings.httpPort = properties.httpPort;
    settings.username = util::WideToUtf8(properties.username);
    settings.password = util::WideToUtf8(properties.password);
    settings.channel = properties.chIndex;
    settings.stream = properties.streamIndex;
    settings.videoProtocol = properties.videoProtocol;
    settings.mediaType = properties.mediaType;
    settings.timeoutMs = static_cast<unsigned>(properties.connectionTimeout);
    settings.autoReconnect = properties.autoReconnect;
    settings.streamUri = util::WideToUtf8(properties.streamUri);
    settings.mediaServiceUri = util::WideToUtf8(properties.mediaServiceUri);
    settings.profileToken = util::WideToUtf8(properties.profileToken);
    settings.captionInfo = properties.captionInfo;
    settings.ignoreCaption = properties.ignoreCaption;
    settings.clientSettingMode = properties.clientSettingMode;
    if (const auto& page = m_control.Page()) {
        settings.onPage = true;
        settings.pageIsHttps = page->isHttps;
        settings.pagePort = page->port;
    }
    return settings;
}

void ControlAsConnectionHost::SetHttpPort(std::int32_t port) {
    if (std::exchange(m_control.Properties().httpPort, port) != port) m_control.NotifyChanged(L"HttpPort");
}
void ControlAsConnectionHost::SetServerIP(const std::string& host) {
    const std::wstring text = util::Utf8ToWide(host);
    if (std::exchange(m_control.Properties().serverIP, text) != text) m_control.NotifyChanged(L"ServerIP");
}

UserChoices ControlAsConnectionHost::ReadUserChoices() {
    util::ReadLogDetails();
    const ClientSettings settings = m_control.SavedSettings();
    return {settings.video, settings.protocol};
}

protocol::HostRoute ControlAsConnectionHost::Route() const {
    return
        [reach = m_control.Trust().Connections()](const std::string& host) { return reach->Resolve(host); };
}
bool ControlAsConnectionHost::MayReachGroups() {
    return m_control.Trust().AdmitGroups();
}
std::function<bool()> ControlAsConnectionHost::GroupRule() const {
    return [reach = m_control.Trust().Connections()] { return reach->MayJoinGroups(); };
}
PlainStream ControlAsConnectionHost::JudgePlainStream(const std::string& host) {
    if (util::AllowsPlainWithHttps()) return PlainStream::Silently;
    if (!m_control.Trust().IsWeb()) return PlainStream::Told;
    return m_control.Trust().AdmitInClear(host) ? PlainStream::Silently : PlainStream::Refused;
}
bool ControlAsConnectionHost::IsTrusted() {
    return !m_control.Trust().IsWeb();
}
bool ControlAsConnectionHost::MayReach(const std::string& host) {
    return m_control.Trust().Admit(host);
}

std::string ControlAsConnectionHost::WhyNotReached() const {
    return m_control.Trust().WhyNotAdmitted();
}
bool ControlAsConnectionHost::LooksUp(const std::vector<std::string>& hosts) {
    return m_control.Trust().LooksUp(hosts);
}
bool ControlAsConnectionHost::IsUserAsked() {
    return m_control.Trust().IsUserAsked();
}

bool ControlAsConnectionHost::WaitForWindow() {
    return m_control.WaitForWindowCreation();
}
bool ControlAsConnectionHost::HasWindow() const {
    return m_control.HasWindow();
}
void ControlAsConnectionHost::StartTimer(ConnectionTimer timer, unsigned milliseconds) {
    if (HasWindow()) SetTimer(m_control.Handle(), static_cast<UINT_PTR>(timer), milliseconds, nullptr);
}
void ControlAsConnectionHost::StopTimer(ConnectionTimer timer) {
    if (HasWindow()) KillTimer(m_control.Handle(), static_cast<UINT_PTR>(timer));
}

void ControlAsConnectionHost::ShowPicture(StatusPicture picture) {
    m_control.Status().SetPicture(picture);
}
void ControlAsConnectionHost::ShowCaption(const std::wstring& caption) {
    m_control.Status().SetCaption(caption.c_str());
    m_control.ViewChanged();
}
std::wstring ControlAsConnectionHost::Caption() const {
    return m_control.Status().Caption();
}
void ControlAsConnectionHost::Redraw() {
    if (HasWindow()) m_control.ViewChanged();
}

void ControlAsConnectionHost::ShowStatusText(const std::string& text) {
    m_control.ShowStatusText(util::Utf8ToWide(text));
}

void ControlAsConnectionHost::FireStatus(EConnectStatus status) {
    m_control.FireEvent(events::OnConnStatus, static_cast<short>(status));
}
void ControlAsConnectionHost::ReportFrameRate(int picturesPerSecond) {
    const Connection& connection = m_control.ConnectionState();
    const auto ended = [&, before = connection.IsActive()] { return before && !connection.IsActive(); };
    m_control.FireEvent(events::FramePerSec, static_cast<double>(picturesPerSecond));
    if (ended()) return;  // inside of the event
    m_control.FireEvent(events::OnVideoFrameRate, static_cast<long>(picturesPerSecond));
    if (ended()) return;
    m_control.ShowStatistics();
    m_control.WatchDisk();
}
void ControlAsConnectionHost::AskForSignIn() {
    if (HasWindow()) PostMessageW(m_control.Handle(), WM_OnShowAuthDialog, 0, 0);
}

void ControlAsConnectionHost::WithdrawSignIn() {
    m_control.WithdrawSignIn();
}

void ControlAsConnectionHost::ConnectionBegins() {
    m_control.ReadStatisticsWish();
    m_control.OpenDeliveries();
    m_control.BeginRecordingStreams();
    m_control.ViewChanged();
}
void ControlAsConnectionHost::CameraTold() {
    m_control.OnCameraTold();
}
void ControlAsConnectionHost::EndDigitalPtz() {
    m_control.EnableDigitalPTZ(false);
}
void ControlAsConnectionHost::ConnectionEnds() {
    m_control.FinishRecording();
    m_control.EndMotionEditing();
    m_control.StopTalking();
}

/// What the ended threads have posted before they ended is about a connection that is no more.
void ControlAsConnectionHost::DropReports() {
    m_control.CloseDeliveries();
    m_control.Session().param.window.ForgetEvents();
    MSG message;
    for (const UINT report : {WM_OnConnectStatus, WM_OnForceI, WM_OnMotionWindowUpdate, WM_OnDIOStatus,
                              WM_OnResolutionChanged, WM_OnMDAlert, WM_OnIVAEvent, WM_OnGeneralEvent}) {
        // Looking for one answers sent messages, and those may end the window.
        while (HasWindow() && PeekMessageW(&message, m_control.Handle(), report, report, PM_REMOVE)) {
            if (message.message != WM_QUIT) continue;  // it passes every filter
            PostQuitMessage(static_cast<int>(message.wParam));
            return;
        }
    }
}

void ControlAsConnectionHost::SendDisconnectNotice() {
    const HWND window = m_control.Handle();
    NORIX_LOG("CNorixSDKCtrl::FinishDisconnect", 1, "SendMessage(0x%08x, WM_OnConnectStatus, eDisconnect)",
              static_cast<unsigned>(reinterpret_cast<UINT_PTR>(window)));
    // A host that has destroyed the window first still hears of the end.
    if (window != nullptr) {
        SendMessageW(window, WM_OnConnectStatus, ecsDisconnect, 0);
    } else {
        m_control.ConnectionState().OnConnectStatus(ecsDisconnect);
    }
}

// ---- For the view

HWND ControlAsViewHost::Window() const {
    return m_control.HasWindow() ? m_control.Handle() : nullptr;
}
CCtrlParam& ControlAsViewHost::Param() {
    return m_control.Session().param;
}
std::shared_ptr<CDecoder> ControlAsViewHost::Decoder() {
    return m_control.ConnectionState().Decoder();
}
void ControlAsViewHost::DrawByGdi() {
    const bool before = std::exchange(m_control.Properties().forceGDI, true);
    m_control.OnForceGDIChanged();
    if (!before) m_control.NotifyChanged(L"ForceGDI");
}
void ControlAsViewHost::ViewChanged() {
    m_control.ViewChanged();
}
void ControlAsViewHost::OverlaysChanged() {
    if (const auto decoder = Decoder(); decoder && decoder->IsStill()) m_control.InvalidateControl();
}
void ControlAsViewHost::OnViewMoved() {
    m_control.OnViewMoved();
    OverlaysChanged();
}
void ControlAsViewHost::StartDeferredViewTimer() {
    if (m_control.HasWindow()) SetTimer(m_control.Handle(), kTimerDeferredView, kTimerPeriod, nullptr);
}
void ControlAsViewHost::StopDeferredViewTimer() {
    if (m_control.HasWindow()) KillTimer(m_control.Handle(), kTimerDeferredView);
}
void ControlAsViewHost::Fire(const framework::Event<long, long>& event, long x, long y) {
    m_control.FireEvent(event, x, y);
}
void ControlAsViewHost::FireWheel(long delta, long x, long y) {
    m_control.FireEvent(events::OnMouseWheel, delta, x, y);
}

}  // namespace norix
