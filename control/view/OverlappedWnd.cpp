#include "control/view/OverlappedWnd.h"

#include "control/view/OverlappedRules.h"
#include "util/Log.h"

namespace norix {
namespace {

constexpr DWORD kStyle = WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS | WS_CAPTION;
constexpr DWORD kResizable = WS_THICKFRAME;
constexpr DWORD kExStyle = WS_EX_TOOLWINDOW | WS_EX_WINDOWEDGE;
constexpr int kKeyStep = 4;  // pixels for each press of an arrow key

PixelRect ToPixels(const RECT& rect) {
    return {static_cast<int>(rect.left), static_cast<int>(rect.top), static_cast<int>(rect.right),
            static_cast<int>(rect.bottom)};
}

RECT ToRect(const PixelRect& rect) {
    return {rect.left, rect.top, rect.right, rect.bottom};
}

PixelSize ClientSize(HWND window) {
    RECT client = {};
    GetClientRect(window, &client);
    return {static_cast<int>(client.right), static_cast<int>(client.bottom)};
}

}  // namespace

bool COverlappedWnd::CreateOver(HWND parent, const RECT& bounds, bool resizable,
                                const std::wstring& caption) {
    m_resizable = resizable;
    if (!Create(caption.c_str(), resizable ? kStyle | kResizable : kStyle, kExStyle, bounds, parent,
                framework::WindowKind::kBox))
        return false;
    Place(bounds);  // the system asks for the least size before it knows whom to ask
    return true;
}

void COverlappedWnd::LetGo() {
    m_owner = nullptr;
    DestroyWindow();
}

RECT COverlappedWnd::Bounds() const {
    RECT bounds = {};
    GetWindowRect(Handle(), &bounds);
    MapWindowPoints(nullptr, GetParent(Handle()), reinterpret_cast<POINT*>(&bounds), 2);
    return bounds;
}

void COverlappedWnd::Place(const RECT& bounds) {
    m_placing = true;
    SetWindowPos(Handle(), nullptr, bounds.left, bounds.top, bounds.right - bounds.left,
                 bounds.bottom - bounds.top, SWP_NOZORDER | SWP_NOACTIVATE);
    m_placing = false;
}

void COverlappedWnd::EnterMessage() {
    if (m_depth++ == 0) m_self = weak_from_this().lock();
}

void COverlappedWnd::LeaveMessage() {
    if (--m_depth == 0) const std::shared_ptr<COverlappedWnd> last = std::move(m_self);
}

LRESULT COverlappedWnd::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_GETMINMAXINFO: {
            // Left alone, the system would not let a captioned window be as small as the host wants it, nor,
            // in a zoomed view, reach far beyond the screen.
            constexpr LONG kLargest = 0x7FFF;
            auto* const limits = reinterpret_cast<MINMAXINFO*>(lParam);
            limits->ptMinTrackSize = {1, 1};
            limits->ptMaxTrackSize = {kLargest, kLargest};
            return 0;
        }
        case WM_MOVING:
            OnMoving(*reinterpret_cast<RECT*>(lParam));
            return TRUE;
        case WM_SIZING:
            OnSizing(*reinterpret_cast<RECT*>(lParam));
            return TRUE;
        case WM_WINDOWPOSCHANGED: {
            // Whatever we did not do ourselves was the user, and it counts only now: windows that are dragged
            // as a frame have their place after the drag has ended.
            const bool placed = (reinterpret_cast<const WINDOWPOS*>(lParam)->flags &
                                 (SWP_NOMOVE | SWP_NOSIZE)) != (SWP_NOMOVE | SWP_NOSIZE);
            if (placed && !m_placing && m_owner) m_owner->OnUserPlaced(*this);
            break;
        }
        case WM_LBUTTONDOWN:
        case WM_NCLBUTTONDOWN:
            SetFocus(Handle());
            SetWindowPos(Handle(), HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
            if (m_owner) m_owner->OnRaised();
            break;
        case WM_GETDLGCODE:
            return DLGC_WANTARROWS;
        case WM_KEYDOWN:
            if (OnKey(wParam)) return 0;
            if (wParam == VK_ESCAPE) return SendMessageW(GetParent(Handle()), message, wParam, lParam);
            break;
        case WM_CLOSE:
            return 0;  // the host's affair
        default:
            break;
    }
    return CWnd::OnMessage(message, wParam, lParam);
}

void COverlappedWnd::OnMoving(RECT& screen) const {
    const HWND parent = GetParent(Handle());
    RECT inside = screen;
    MapWindowPoints(nullptr, parent, reinterpret_cast<POINT*>(&inside), 2);
    inside = ToRect(KeepInside(ToPixels(inside), ClientSize(parent)));
    MapWindowPoints(parent, nullptr, reinterpret_cast<POINT*>(&inside), 2);
    screen = inside;
}

void COverlappedWnd::OnSizing(RECT& screen) const {
    NORIX_LOG("COverlappedWnd::OnSizing", 0, "OnSizing() rect=%d,%d,%d,%d", static_cast<int>(screen.left),
              static_cast<int>(screen.top), static_cast<int>(screen.right), static_cast<int>(screen.bottom));
    if (m_owner) screen = ToRect(LimitSize(ToPixels(screen), m_owner->LastSizing()));
}

// Arrows move the window; with Shift they size it, if the mouse may.
bool COverlappedWnd::OnKey(WPARAM key) {
    const int x = key == VK_LEFT ? -kKeyStep : key == VK_RIGHT ? kKeyStep : 0;
    const int y = key == VK_UP ? -kKeyStep : key == VK_DOWN ? kKeyStep : 0;
    if (x == 0 && y == 0) return false;
    const bool size = GetKeyState(VK_SHIFT) < 0;
    if (size && !m_resizable) return true;
    PixelRect bounds = ToPixels(Bounds());
    if (size) {
        PixelRect before = bounds;
        bounds.right += x;
        bounds.bottom += y;
        bounds = LimitSize(bounds, before);
    } else {
        bounds = KeepInside(Offset(bounds, x, y), ClientSize(GetParent(Handle())));
    }
    Place(ToRect(bounds));
    if (m_owner) m_owner->OnUserPlaced(*this);
    return true;
}

}  // namespace norix
