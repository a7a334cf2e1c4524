#include "control/Connection.h"

#include <algorithm>
#include <iterator>

#include "control/DiskSpace.h"
#include "control/Events.h"
#include "control/NorixSDKCtl.h"
#include "media/ControlMessages.h"
#include "util/Log.h"
#include "util/LogSetup.h"
#include "util/Settings.h"
#include "util/Text.h"
#include "util/TimeDiff.h"

namespace norix {

namespace {

/// How each status shows itself. A null caption leaves the caption and picture as they are.
struct StatusAppearance {
    const char* name;
    const wchar_t* caption;
    bool failure;  // ends the session
};

const StatusAppearance& AppearanceOf(EConnectStatus status) {
    static constexpr StatusAppearance kAppearances[] = {
        {"eConnecting", L"Connecting...", false},
        {"eConnected", L"Connected!", false},
        {"eDisconnect", L"Disconnect!", false},
        {"eConnectFail", L"Connect Fail!", true},
        {"eMulticastError", L"Multicast Conflict!", false},
        {"eUserAuthenticationFail", L"Authentication Fail!", true},
    };
    static constexpr StatusAppearance kUnknown = {"unknown", nullptr, false};
    const auto index = static_cast<std::size_t>(status);
    return index < std::size(kAppearances) ? kAppearances[index] : kUnknown;
}

}  // namespace

long Connection::Connect() {
    const std::string server = util::WideToUtf8(m_owner.Properties().serverIP);
    NORIX_LOG("CNorixSDKCtrl::Connect", 1, "CNorixSDKCtrl::Connect(%s) begins", server.c_str());
    const util::CTimeDiff timing("CNorixSDKCtrl::Connect()");
    // A window that was destroyed again leaves nowhere to report to.
    if (!m_owner.WaitForWindowCreation() || !m_owner.HasWindow()) return -1;
    // Also while a connection is there: the timer would tick for as long as that lasts.
    KillTimer(m_owner.Handle(), kTimerAutoConnect);
    if (m_active || m_disconnecting) return -1;
    m_active = true;
    const unsigned attempt = ++m_attempts;
    KillTimer(m_owner.Handle(), kTimerReconnect);
    NORIX_LOG("CNorixSDKCtrl::Connect", 1, "OnConnectStatus(eConnecting)");
    OnConnectStatus(ecsConnecting);
    // Inside the event the host may have disconnected, even connected again, or destroyed the window.
    if (!m_active || m_attempts != attempt) return -1;
    if (!m_owner.HasWindow()) {
        FinishDisconnect(Finish::WithNotice);
        return -1;
    }

    util::ReadLogDetails();
    m_owner.Session().param.ResetForNewStream();
    m_owner.Session().param.Trace().Start();
    m_owner.OpenDeliveries();

    // There is no receiver to start yet, so the attempt ends as one that could not be started.
    NORIX_LOG("CNorixSDKCtrl::Connect", 1, "OnConnectStatus(eConnectFail)");
    OnConnectStatus(ecsConnectFail);
    return -1;
}

long Connection::Disconnect() {
    const std::string server = util::WideToUtf8(m_owner.Properties().serverIP);
    NORIX_LOG("CNorixSDKCtrl::Disconnect", 1, "CNorixSDKCtrl::Disconnect(%s) begins", server.c_str());
    if (!m_owner.WaitForWindowCreation() || m_disconnecting) return 0;
    if (m_owner.HasWindow()) KillTimer(m_owner.Handle(), kTimerReconnect);
    m_owner.EnableDigitalPTZ(false);
    FinishDisconnect(Finish::WithNotice);
    NORIX_LOG("CNorixSDKCtrl::Disconnect", 1, "CNorixSDKCtrl::Disconnect(%s) ends", server.c_str());
    return 0;
}

void Connection::FinishDisconnect(Finish how) {
    const util::CTimeDiff timing("CNorixSDKCtrl::FinishDisconnect()");
    m_disconnecting = true;
    m_owner.Session().param.SetClosing(true);
    m_owner.Session().param.Trace().Stop();
    m_owner.CloseDeliveries();
    m_owner.AudioPost(false);
    m_owner.AudioPostEx(false, L"", 0, 0);
    if (how == Finish::WithNotice) {
        const HWND window = m_owner.Handle();
        NORIX_LOG("CNorixSDKCtrl::FinishDisconnect", 1,
                  "SendMessage(0x%08x, WM_OnConnectStatus, eDisconnect)",
                  static_cast<unsigned>(reinterpret_cast<UINT_PTR>(window)));
        // A host that has destroyed the window first still hears of the end.
        if (window != nullptr) {
            SendMessageW(window, WM_OnConnectStatus, ecsDisconnect, 0);
        } else {
            OnConnectStatus(ecsDisconnect);
        }
    }
    m_active = false;
    m_disconnecting = false;
}

// ---- Status
// -------------------------------------------------------------------------------------------------

void Connection::ShowStatus(EConnectStatus status) {
    const wchar_t* caption = AppearanceOf(status).caption;
    if (caption == nullptr) return;
    if (status == ecsConnecting && (m_owner.Properties().captionInfo & eciStatus) == 0) return;
    m_owner.Status().SetCaption(caption);
    switch (status) {
        case ecsDisconnect:
            m_owner.Status().SetPicture(StatusPicture::Disconnect);
            break;
        case ecsConnectFail:
        case ecsUserAuthenticationFail:
            m_owner.Status().SetPicture(StatusPicture::ConnectFail);
            break;
        default:
            break;
    }
    m_owner.InvalidateControl();
}

void Connection::OnConnectStatus(EConnectStatus status) {
    const HWND window = m_owner.Handle();
    if (window != nullptr) {
        if (status == ecsConnected) {
            m_frameRateMeter.Reset(GetTickCount());
            SetTimer(window, kTimerStatistics, kTimerPeriod, nullptr);
        } else if (status == ecsDisconnect || AppearanceOf(status).failure) {
            KillTimer(window, kTimerStatistics);
        }
    }
    ShowStatus(status);
    if (status == ecsUserAuthenticationFail && window != nullptr)
        PostMessageW(window, WM_OnShowAuthDialog, 0, 0);

    m_status = status;
    m_owner.FireEvent(events::OnConnStatus, static_cast<short>(status));
    NORIX_LOG("CNorixSDKCtrl::OnConnectStatus", 1, "OnConnectStatus(%d), %s", static_cast<int>(status),
              AppearanceOf(status).name);

    // A host that disconnects inside the event has the last word: no reconnection then.
    if (!AppearanceOf(status).failure || m_status != status) return;
    FinishDisconnect(Finish::Quietly);
    if (status == ecsConnectFail && m_owner.Properties().autoReconnect && m_owner.HasWindow()) {
        SetTimer(m_owner.Handle(), kTimerReconnect, kTimerPeriod, nullptr);
    }
}

// ---- Timers
// -------------------------------------------------------------------------------------------------

void Connection::OnAutoConnectTimer() {
    if (m_owner.Page() && !m_owner.Properties().clientSettingMode) m_owner.Connect();
}

void Connection::OnReconnectTimer() {
    KillTimer(m_owner.Handle(), kTimerReconnect);
    m_owner.Connect();
}

void Connection::OnStatisticsTimer() {
    CCtrlParam& param = m_owner.Session().param;
    if ((m_owner.Properties().captionInfo & eciTime) != 0) {
        const std::wstring caption = param.captionText.Get();
        if (!caption.empty() && caption != m_owner.Status().Caption()) {
            m_owner.Status().SetCaption(caption.c_str());
            m_owner.InvalidateControl();
        }
    }
    const int serverFrameRate = param.serverFrameRate.Get();
    const FrameRates rates = m_frameRateMeter.Pass(GetTickCount(), param.TakeFrameCounts());
    if (util::Switches().fps) LogFrameRates(rates);

    m_averageFrameRate = static_cast<int>(rates.average);
    if (serverFrameRate > 0) m_averageFrameRate = std::min(m_averageFrameRate, serverFrameRate);
    m_owner.FireEvent(events::FramePerSec, static_cast<double>(m_averageFrameRate));
    m_owner.FireEvent(events::OnVideoFrameRate, static_cast<long>(m_averageFrameRate));
    WatchDisk();
}

void Connection::LogFrameRates(const FrameRates& rates) const {
    const int serverFrameRate = m_owner.Session().param.serverFrameRate.Get();
    const int received = static_cast<int>(rates.received);
    NORIX_LOG("CNorixSDKCtrl::OnTimer", 1,
              "fps(received) = %d, fps(decoded) = %d, fps(displayed) = %d, fps(average) = %d", received,
              static_cast<int>(rates.decoded), static_cast<int>(rates.displayed),
              static_cast<int>(rates.average));
    const int target = static_cast<int>(util::Settings::TargetPTSDiff(serverFrameRate));
    if (1000 / target >= received) {
        NORIX_LOG("CNorixSDKCtrl::OnTimer", 1, "fps(received) <= target_fps (%.2f / %d ms)", 1000.0 / target,
                  target);
    }
    if (received < serverFrameRate) {
        NORIX_LOG("CNorixSDKCtrl::OnTimer", 1, "fps(received) <= server_fps (%d)", serverFrameRate);
    }
}

void Connection::WatchDisk() {
    const short status = m_owner.Properties().recordStatus;
    if (status != ersRecordStart && status != ersRecording) return;
    if (!IsDiskAlmostFull(m_owner.Properties().recordVideoPath)) return;
    m_owner.StopRecording(0);
    m_owner.Properties().recordStatus = ersDiskFull;
    m_owner.FireEvent(events::OnRecordStatus, static_cast<long>(ersDiskFull));
}

}  // namespace norix
