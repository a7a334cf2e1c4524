#pragma once

#include <windows.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "control/view/OverlappedWnd.h"
#include "control/view/ViewHost.h"

namespace norix {

class ViewCommands;

/// The host's captioned windows over the picture of one control, each found by an index of the host's
/// choosing. They keep their place on the video when the control's window or the view changes, and go with
/// the control's window. Window thread.
class OverlappedWindows final : private OverlappedOwner {
  public:
    static constexpr std::size_t kMost = 256;

    /// `raised`: is called after the user has raised one of them.
    OverlappedWindows(ViewHost& host, const ViewCommands& view, std::function<void()> raised = {})
        : m_host(host), m_view(view), m_raised(std::move(raised)) {}
    ~OverlappedWindows() { Clear(); }
    OverlappedWindows(const OverlappedWindows&) = delete;
    OverlappedWindows& operator=(const OverlappedWindows&) = delete;

    /// One that exists is moved, retitled, shown or hidden instead. E_FAIL when the place in the window can't
    /// be known, E_OUTOFMEMORY when there can be no more.
    long Create(long index, const ViewBox& place, bool show, bool resizable, const std::wstring& caption);
    /// E_FAIL when there is none.
    long Delete(long index);
    /// Place and size on the video, and the video's size; empty when there is none.
    std::wstring InJson(long index) const;

    struct Window {
        ViewBox place;  // on the video
        std::wstring caption;
    };
    std::optional<Window> Get(long index) const;
    /// Nothing when there is none.
    void SetCaption(long index, const std::wstring& caption);

    bool Has(HWND window) const;

    /// The window, or what it shows, has changed.
    void Follow();
    /// The control's window goes.
    void Clear();

  private:
    void OnUserPlaced(COverlappedWnd& window) override;
    void OnRaised() override {
        if (m_raised) m_raised();
    }
    PixelRect& LastSizing() override { return m_lastSizing; }
    std::shared_ptr<COverlappedWnd> Find(long index) const;

    ViewHost& m_host;
    const ViewCommands& m_view;
    const std::function<void()> m_raised;
    std::vector<std::shared_ptr<COverlappedWnd>> m_windows;  // as they were created
    PixelRect m_lastSizing;
};

}  // namespace norix
