#pragma once

#include <windows.h>

#include <memory>
#include <string>

#include "control/view/ViewCoordinates.h"
#include "framework/Wnd.h"

namespace norix {

class COverlappedWnd;

/// Who keeps the overlapped windows of one control.
class OverlappedOwner {
  public:
    /// The user has moved or sized it.
    virtual void OnUserPlaced(COverlappedWnd& window) = 0;
    /// The user has raised one above all others.
    virtual void OnRaised() = 0;
    /// What the last sizing of any of the windows came to, in screen coordinates: there is one for all.
    virtual PixelRect& LastSizing() = 0;

  protected:
    ~OverlappedOwner() = default;
};

/// A captioned window over the picture, which the user drags by its caption and, if allowed, sizes; with the
/// focus also by the arrow keys. Belongs to its owner's list, and stays alive while it handles a message.
/// Window thread.
class COverlappedWnd final : public framework::CWnd, public std::enable_shared_from_this<COverlappedWnd> {
  public:
    /// The owner outlives it, or lets it go before.
    COverlappedWnd(OverlappedOwner& owner, long index) : m_owner(&owner), m_index(index) {}

    /// False when the system refuses. `bounds` in the parent's client pixels, here and below.
    bool CreateOver(HWND parent, const RECT& bounds, bool resizable, const std::wstring& caption);
    void LetGo();

    long Index() const { return m_index; }
    RECT Bounds() const;
    void Place(const RECT& bounds);

    /// Where it is on the video: kept when the window below changes.
    ViewBox place;

  private:
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    void EnterMessage() override;
    void LeaveMessage() override;
    void OnMoving(RECT& screen) const;
    void OnSizing(RECT& screen) const;
    bool OnKey(WPARAM key);

    OverlappedOwner* m_owner;  // null once it was let go
    const long m_index;
    bool m_resizable = false;
    bool m_placing = false;                  // inside Place
    int m_depth = 0;                         // messages that are being handled
    std::shared_ptr<COverlappedWnd> m_self;  // while there are any
};

}  // namespace norix
