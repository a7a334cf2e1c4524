#include "control/view/ViewCommands.h"

#include <algorithm>

#include "media/CtrlParam.h"
#include "render/decode/Decoder.h"
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
    const CCtrlParam& param = m_host.Param();
    return {param.PictureWidth(), param.PictureHeight()};
}

ViewSize ViewCommands::WindowSize() const {
    RECT client = {};
    if (m_host.Window() != nullptr) GetClientRect(m_host.Window(), &client);
    return {client.right, client.bottom};
}

ViewMapping ViewCommands::Mapping() const {
    ViewMapping mapping{VideoSize(), WindowSize()};
    if (const auto decoder = m_host.Decoder()) {
        const PictureView::Layout layout = decoder->View()->CurrentLayout();
        mapping.picture = layout.picture;
        mapping.source = layout.source;
        mapping.rotation = layout.rotation;
    }
    return mapping;
}

std::optional<ViewPoint> ViewCommands::ToWindow(ViewPoint point) const {
    return VideoToWindow(point, Mapping());
}

std::optional<ViewBox> ViewCommands::ToWindow(const ViewBox& box) const {
    return VideoToWindow(box, Mapping());
}

std::optional<ViewBox> ViewCommands::ToVideo(const ViewBox& box) const {
    return WindowToVideo(box, Mapping());
}

std::wstring ViewCommands::ConvertCoordinateInJSON(long x, long y, bool videoToWindow) const {
    const std::optional<ViewPoint> point =
        videoToWindow ? VideoToWindow(ViewPoint{x, y}, Mapping()) : WindowToVideo(ViewPoint{x, y}, Mapping());
    return point ? PointToJson(*point) : std::wstring();
}

long ViewCommands::RotateVideo(long angle) {
    Rotation rotation = Rotation::k0;
    if (!RotationFromDegrees(angle, rotation)) return E_INVALIDARG;
    if (!m_host.Decoder()) return E_POINTER;
    m_rotation = rotation;
    m_host.DrawByGdi();
    m_host.ViewChanged();
    return S_OK;
}

long ViewCommands::ChangeDecodeSpeed(long speed) {
    if (!m_host.Decoder()) return E_POINTER;
    m_host.Param().decodeSpeed.Set(std::clamp(speed, kSlowestDecodeSpeed, kFastestDecodeSpeed));
    return S_OK;
}

void ViewCommands::EnableDigitalPTZ(bool enable) {
    m_host.StopDeferredViewTimer();
    m_digitalPtz = enable;
    m_host.ViewChanged();
}

void ViewCommands::PreviewFullScreen(bool full) {
    NORIX_LOG("CNorixSDKCtrl::PreviewFullScreen", 1, "CNorixSDKCtrl::PreviewFullScreen(%d), no video", full);
}

void ViewCommands::OnDeferredViewTimer() {
    m_host.StopDeferredViewTimer();
}

}  // namespace norix
