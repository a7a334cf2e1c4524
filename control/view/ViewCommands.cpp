#include "control/view/ViewCommands.h"

#include <algorithm>

#include "control/NorixSDKCtl.h"
#include "util/Log.h"

namespace norix {

namespace {
constexpr long kSlowestDecodeSpeed = 0;
constexpr long kFastestDecodeSpeed = 7;
}  // namespace

long ViewCommands::SetVideoSize(long width, long height) {
    if (width < 0 || height < 0) return E_INVALIDARG;
    m_configuredSize = {width, height};
    return S_OK;
}

ViewSize ViewCommands::VideoSize() const {
    if (m_configuredSize.width >= 1 && m_configuredSize.height >= 1) return m_configuredSize;
    const CCtrlParam& param = m_owner.Session().param;
    return {param.PictureWidth(), param.PictureHeight()};
}

ViewSize ViewCommands::WindowSize() const {
    RECT client = {};
    if (m_owner.HasWindow()) GetClientRect(m_owner.Handle(), &client);
    return {client.right, client.bottom};
}

std::wstring ViewCommands::ConvertCoordinateInJSON(long x, long y, bool videoToWindow) const {
    const ViewSize video = VideoSize();
    const ViewSize window = WindowSize();
    const std::optional<ViewPoint> point =
        videoToWindow ? ConvertPoint({x, y}, video, window) : ConvertPoint({x, y}, window, video);
    return point ? PointToJson(*point) : std::wstring();
}

long ViewCommands::RotateVideo(long angle) {
    Rotation rotation = Rotation::k0;
    if (!RotationFromDegrees(angle, rotation)) return E_INVALIDARG;
    if (!m_owner.ConnectionState().HasDecoder()) return E_POINTER;
    m_rotation = rotation;
    m_owner.Properties().forceGDI = true;
    m_owner.OnForceGDIChanged();
    m_owner.ViewChanged();
    return S_OK;
}

long ViewCommands::ChangeDecodeSpeed(long speed) {
    if (!m_owner.ConnectionState().HasDecoder()) return E_POINTER;
    m_owner.Session().param.decodeSpeed.Set(std::clamp(speed, kSlowestDecodeSpeed, kFastestDecodeSpeed));
    return S_OK;
}

void ViewCommands::EnableDigitalPTZ(bool enable) {
    if (m_owner.HasWindow()) KillTimer(m_owner.Handle(), kTimerDeferredView);
    m_digitalPtz = enable;
    m_owner.ViewChanged();
}

void ViewCommands::PreviewFullScreen(bool full) {
    NORIX_LOG("CNorixSDKCtrl::PreviewFullScreen", 1, "CNorixSDKCtrl::PreviewFullScreen(%d), no video", full);
}

void ViewCommands::OnDeferredViewTimer() {
    KillTimer(m_owner.Handle(), kTimerDeferredView);
}

}  // namespace norix
