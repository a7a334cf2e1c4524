#include "control/view/OverlappedWindows.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "control/view/ViewCommands.h"

namespace norix {
namespace {

// The system takes 16 bits of each.
RECT ToRect(const ViewBox& box) {
    constexpr long kFarthest = 0x7FFF;
    const long left = std::clamp(box.corner.x, -kFarthest, kFarthest);
    const long top = std::clamp(box.corner.y, -kFarthest, kFarthest);
    return {left, top, left + std::clamp(box.size.width, 0L, kFarthest),
            top + std::clamp(box.size.height, 0L, kFarthest)};
}

ViewBox ToBox(const RECT& rect) {
    return {{rect.left, rect.top}, {rect.right - rect.left, rect.bottom - rect.top}};
}

}  // namespace

std::shared_ptr<COverlappedWnd> OverlappedWindows::Find(long index) const {
    const auto found = std::find_if(m_windows.begin(), m_windows.end(),
                                    [&](const auto& window) { return window->Index() == index; });
    return found == m_windows.end() ? nullptr : *found;
}

bool OverlappedWindows::Has(HWND window) const {
    return std::any_of(m_windows.begin(), m_windows.end(),
                       [&](const auto& known) { return known->Handle() == window; });
}

long OverlappedWindows::Create(long index, const ViewBox& place, bool show, bool resizable,
                               const std::wstring& caption) {
    const std::optional<ViewBox> bounds = m_view.ToWindow(place);
    if (!bounds) return E_FAIL;
    std::shared_ptr<COverlappedWnd> window = Find(index);
    if (window) {
        window->Place(ToRect(*bounds));
        SetWindowTextW(window->Handle(), caption.c_str());
    } else {
        if (m_windows.size() >= kMost) return E_OUTOFMEMORY;
        OverlappedOwner& owner = *this;
        window = std::make_shared<COverlappedWnd>(owner, index);
        if (!window->CreateOver(m_host.Window(), ToRect(*bounds), resizable, caption)) return E_OUTOFMEMORY;
        m_windows.push_back(window);
    }
    window->place = place;
    ShowWindow(window->Handle(), show ? SW_SHOWNA : SW_HIDE);
    return S_OK;
}

long OverlappedWindows::Delete(long index) {
    const std::shared_ptr<COverlappedWnd> window = Find(index);
    if (!window) return E_FAIL;
    std::erase(m_windows, window);
    window->LetGo();
    return S_OK;
}

std::wstring OverlappedWindows::InJson(long index) const {
    const std::shared_ptr<COverlappedWnd> window = Find(index);
    if (!window) return {};
    const std::optional<ViewBox> place = m_view.ToVideo(ToBox(window->Bounds()));
    if (!place) return {};
    const ViewSize video = m_view.VideoSize();
    return L"{ \"left\": " + std::to_wstring(place->corner.x) + L", \"top\": " +
           std::to_wstring(place->corner.y) + L", \"width\": " + std::to_wstring(place->size.width) +
           L", \"height\": " + std::to_wstring(place->size.height) + L", \"video_width\": " +
           std::to_wstring(video.width) + L", \"video_height\": " + std::to_wstring(video.height) + L" }";
}

std::optional<OverlappedWindows::Window> OverlappedWindows::Get(long index) const {
    const std::shared_ptr<COverlappedWnd> window = Find(index);
    if (!window) return std::nullopt;
    std::wstring caption(static_cast<std::size_t>(GetWindowTextLengthW(window->Handle())) + 1, L'\0');
    const int length = GetWindowTextW(window->Handle(), caption.data(), static_cast<int>(caption.size()));
    caption.resize(static_cast<std::size_t>(length));
    return Window{window->place, std::move(caption)};
}

void OverlappedWindows::SetCaption(long index, const std::wstring& caption) {
    if (const std::shared_ptr<COverlappedWnd> window = Find(index))
        SetWindowTextW(window->Handle(), caption.c_str());
}

void OverlappedWindows::Follow() {
    for (const auto& window : std::vector(m_windows)) {
        if (const std::optional<ViewBox> bounds = m_view.ToWindow(window->place))
            window->Place(ToRect(*bounds));
    }
}

void OverlappedWindows::Clear() {
    for (const auto& window : std::exchange(m_windows, {}))
        window->LetGo();
}

void OverlappedWindows::OnUserPlaced(COverlappedWnd& window) {
    const ViewBox bounds = ToBox(window.Bounds());
    const std::optional<ViewBox> before = m_view.ToWindow(window.place);
    std::optional<ViewBox> place = m_view.ToVideo(bounds);
    if (!place) return;
    // What has not changed keeps its place: the window's pixels may be coarser than the video's.
    if (const std::optional<ViewBox> same = before ? m_view.ToVideo(ToBox(ToRect(*before))) : std::nullopt) {
        const ViewBox& known = window.place;
        if (place->corner.x == same->corner.x) place->corner.x = known.corner.x;
        if (place->corner.y == same->corner.y) place->corner.y = known.corner.y;
        if (place->size.width == same->size.width) place->size.width = known.size.width;
        if (place->size.height == same->size.height) place->size.height = known.size.height;
    }
    window.place = *place;
}

}  // namespace norix
