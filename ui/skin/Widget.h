#pragma once

#include <windows.h>

#include <oleacc.h>
#include <wrl/client.h>

#include <string>

#include "framework/Wnd.h"
#include "ui/skin/Skin.h"

namespace norix {

class WidgetAccessible;

/// What our own widgets have in common: a child window that is drawn aside with a skin, its state under mouse
/// and keyboard, and what it tells screen readers. Belongs to the thread of its parent window.
class Widget : protected framework::CWnd {
  public:
    Widget();
    ~Widget() override;

    /// `bounds` in the parent's pixels; `name` is what a screen reader calls it.
    bool Create(HWND parent, const Skin& skin, const RECT& bounds, const wchar_t* name);
    HWND Window() const { return Handle(); }
    bool HasFocus() const { return HasWindow() && GetFocus() == Handle(); }
    void Enable(bool enable);
    void SetName(const wchar_t* name);

    // ---- What it tells screen readers

    virtual LONG Role() const = 0;  ///< ROLE_SYSTEM_...
    virtual LONG AccessibleState() const;
    virtual std::wstring Value() const { return {}; }
    virtual std::wstring DefaultAction() const { return {}; }
    virtual void DoDefaultAction() {}
    virtual bool SetValue(const std::wstring&) { return false; }
    const std::wstring& Name() const { return m_name; }

  protected:
    virtual void Draw(Canvas& canvas) const = 0;
    /// The left button went down, moved while it is held, went up; `inside` tells where.
    virtual void OnPress(POINT) {}
    virtual void OnDrag(POINT) {}
    /// The button is up, or somebody else has taken the mouse.
    virtual void OnRelease(bool /*inside*/) {}
    /// True when the key was used. `down` false: it went up.
    virtual bool OnKey(WPARAM /*key*/, bool /*down*/) { return false; }
    virtual void OnWheel(int /*steps*/) {}
    virtual void OnFocusLost() {}
    virtual bool TakesFocus() const { return true; }

    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    const Skin& Look() const { return *m_skin; }
    WidgetState State() const;
    bool IsPressed() const { return m_pressed; }
    bool IsInside(POINT at) const;
    /// It looks otherwise now.
    void Redraw();
    /// And a screen reader may want to know: EVENT_OBJECT_...
    void Tell(DWORD event) const;
    /// Held by the keyboard rather than the mouse.
    void SetKeyHeld(bool held);

  private:
    void Paint() const;
    void EndPress(bool inside);
    bool MoveFocus(bool backwards) const;
    LRESULT GetAccessible(WPARAM wParam);

    const Skin* m_skin = nullptr;
    std::wstring m_name;
    bool m_hot = false;
    bool m_pressed = false;
    bool m_keyHeld = false;
    int m_wheel = 0;                                        // what is no whole step yet
    Microsoft::WRL::ComPtr<WidgetAccessible> m_accessible;  // made when asked for
};

}  // namespace norix
