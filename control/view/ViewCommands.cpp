#include "control/view/ViewCommands.h"

#include <windowsx.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

#include "control/view/DigitalPtz.h"
#include "media/CtrlParam.h"
#include "render/decode/Decoder.h"

namespace norix {

namespace {
constexpr long kSlowestDecodeSpeed = 0;
constexpr long kFastestDecodeSpeed = 7;
constexpr double kZoomPerNotch = 1.25;  // of the wheel
constexpr int kLeastWheel = WHEEL_DELTA / 4;
}  // namespace

long ViewCommands::SetVideoSize(long width, long height) {
    if (width < 0 || height < 0) return E_INVALIDARG;
    m_configuredSize = {width, height};
    m_host.OnViewMoved();  // windows keep their place on the video
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
    m_pending.reset();
    m_drag.reset();
    m_digitalPtz = enable;
    m_host.ViewChanged();
}

void ViewCommands::OnPointer(UINT message, WPARAM wParam, LPARAM lParam) {
    const auto decoder = m_digitalPtz ? m_host.Decoder() : nullptr;
    const ViewSize window = WindowSize();
    if (!decoder || window.width < 1 || window.height < 1) return m_drag.reset();
    const PictureView::Layout layout = decoder->View()->CurrentLayout();
    if (layout.picture.IsEmpty()) return;
    POINT at = {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
    const auto share = [&](long x, long y) {
        return WindowShare{static_cast<double>(x) / window.width, static_cast<double>(y) / window.height};
    };
    switch (message) {
        case WM_MOUSEWHEEL: {
            ScreenToClient(m_host.Window(), &at);  // the wheel's position is the screen's
            // Touchpads give less at a time than changes a small part by a pixel.
            m_wheel += GET_WHEEL_DELTA_WPARAM(wParam);
            if (std::abs(m_wheel) < kLeastWheel) break;
            const double notches = static_cast<double>(std::exchange(m_wheel, 0)) / WHEEL_DELTA;
            const PixelRect zoomed = ZoomAbout(layout.source, layout.picture, layout.rotation,
                                               share(at.x, at.y), std::pow(kZoomPerNotch, notches));
            if (m_drag) m_drag = Drag{at, {zoomed, layout.picture}};
            Request(zoomed, layout.picture);
            break;
        }
        case WM_LBUTTONDOWN:
            m_drag = Drag{at, {layout.source, layout.picture}};
            break;
        case WM_MOUSEMOVE:
            if (!m_drag) break;
            if ((wParam & MK_LBUTTON) == 0 || m_drag->part.picture != layout.picture) return m_drag.reset();
            Request(Pan(m_drag->part.source, layout.picture, layout.rotation,
                        share(at.x - m_drag->from.x, at.y - m_drag->from.y)),
                    layout.picture);
            break;
        case WM_LBUTTONDBLCLK:
            Request(Whole(layout.picture), layout.picture);
            m_drag.reset();
            break;
        case WM_LBUTTONUP:
        case WM_CAPTURECHANGED:
            m_drag.reset();
            break;
        default:
            break;
    }
}

// The hand sees what it does at once; the timer makes sure of the last request, whatever became of the
// decoder between.
void ViewCommands::Request(const PixelRect& source, PixelSize picture) {
    m_pending = Part{source, picture};
    m_host.StartDeferredViewTimer();
    HandOver();
}

void ViewCommands::HandOver() {
    const auto decoder = m_host.Decoder();
    if (!decoder || !m_pending) return;
    const PictureView::Layout layout = decoder->View()->CurrentLayout();
    const PixelRect& source = m_pending->source;
    // A part of a picture of another size says nothing about this one.
    if (layout.picture != m_pending->picture || layout.source == source) return;
    decoder->View()->SetSourceRect(source.left, source.top, source.right, source.bottom);
    m_host.OnViewMoved();
}

void ViewCommands::OnDeferredViewTimer() {
    HandOver();
    m_pending.reset();
    m_host.StopDeferredViewTimer();
}

}  // namespace norix
