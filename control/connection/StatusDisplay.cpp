#include "control/connection/StatusDisplay.h"

#include <iterator>
#include <utility>

#include "util/Log.h"

namespace norix {

namespace {

/// How each status shows itself. A null caption leaves the caption and picture as they are.
struct Appearance {
    const char* name;
    const wchar_t* caption;
    bool failure;  // ends the session
};

const Appearance& AppearanceOf(EConnectStatus status) {
    static constexpr Appearance kAppearances[] = {
        {"eConnecting", L"Connecting...", false},
        {"eConnected", L"Connected!", false},
        {"eDisconnect", L"Disconnect!", false},
        {"eConnectFail", L"Connect Fail!", true},
        {"eMulticastError", L"Multicast Conflict!", false},
        {"eUserAuthenticationFail", L"Authentication Fail!", true},
    };
    static constexpr Appearance kUnknown = {"unknown", nullptr, false};
    const auto index = static_cast<std::size_t>(status);
    return index < std::size(kAppearances) ? kAppearances[index] : kUnknown;
}

/// Texts of our own and of protocols.
std::wstring Widen(const std::string& ascii) {
    std::wstring text;
    for (const char c : ascii)
        text += c > 0 && c < 0x7F ? static_cast<wchar_t>(c) : L'?';
    return text;
}

}  // namespace

const char* StatusDisplay::NameOf(EConnectStatus status) {
    return AppearanceOf(status).name;
}

bool StatusDisplay::IsFailure(EConnectStatus status) {
    return AppearanceOf(status).failure;
}

void StatusDisplay::Show(EConnectStatus status, const std::string& reason) {
    const wchar_t* caption = AppearanceOf(status).caption;
    if (caption == nullptr) return;
    const bool statusWanted = (m_host.Settings().captionInfo & eciStatus) != 0;
    if (status == ecsConnecting && !statusWanted) return;
    switch (status) {
        case ecsConnected:
            m_host.ShowPicture(StatusPicture::None);  // until video comes, and while only sound does
            break;
        case ecsDisconnect:
            m_host.ShowPicture(StatusPicture::Disconnect);
            break;
        case ecsConnectFail:
        case ecsUserAuthenticationFail:
            m_host.ShowPicture(StatusPicture::ConnectFail);
            break;
        default:
            break;
    }
    // The other captions say why by themselves.
    const bool saysNothing = status == ecsConnectFail || status == ecsConnected;
    if (reason.empty()) {
        m_host.ShowCaption(WithProblem(caption));
    } else {
        m_host.ShowCaption(caption + (saysNothing && statusWanted ? L" (" + Widen(reason) + L")" : L""));
    }
}

/// What was asked for and can't be shown is named where the user looks.
std::wstring StatusDisplay::WithProblem(std::wstring caption) const {
    const std::string problem = m_session.param.streamProblem.Get();
    if (!problem.empty()) caption += L" (" + Widen(problem) + L")";
    return caption;
}

// What keeps pictures from being shown comes first, whatever the host wants to read there.
void StatusDisplay::Refresh() {
    const CCtrlParam& param = m_session.param;
    std::wstring caption = param.obstacle.Get();
    if (!caption.empty()) {
        m_obstacleShown = true;
    } else if (std::exchange(m_obstacleShown, false)) {
        Show(ecsConnected, {});
    }
    if (caption.empty() && (m_host.Settings().captionInfo & eciTime) != 0) caption = param.captionText.Get();
    if (!caption.empty() && !m_obstacleShown) caption = WithProblem(std::move(caption));
    if (!caption.empty() && caption != m_host.Caption()) m_host.ShowCaption(caption);
}

void StatusDisplay::Tell(const std::string& reason) {
    if (reason.empty() && !m_told) return;
    m_told = !reason.empty();
    if (m_told) NORIX_LOG("CNorixSDKCtrl::OnConnectStatus", 1, "OnConnectStatus: %s", reason.c_str());
    const std::string server = m_host.Settings().serverIP;
    m_host.ShowStatusText(server.empty() || !m_told ? reason : server + ": " + reason);
}

}  // namespace norix
