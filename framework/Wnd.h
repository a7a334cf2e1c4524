#pragma once

#include <windows.h>

namespace framework {

/// Which of the module's window classes: windows that cover themselves, or boxes with a caption that the
/// system fills with black.
enum class WindowKind { kPlain, kBox };

/// A window whose messages go to a C++ object.
///
/// All calls run on the thread that created the window. The object must outlive its window or destroy it
/// first; the destructor destroys a window that is still there.
class CWnd {
  public:
    CWnd() = default;
    virtual ~CWnd();
    CWnd(const CWnd&) = delete;
    CWnd& operator=(const CWnd&) = delete;

    /// Creates the window. `bounds` are in the parent's client pixels (screen pixels without a parent).
    /// False when the system refuses or OnMessage answered WM_CREATE with -1.
    bool Create(const wchar_t* title, DWORD style, DWORD exStyle, const RECT& bounds, HWND parent,
                WindowKind kind = WindowKind::kPlain);
    void DestroyWindow();

    HWND Handle() const { return m_window; }
    bool HasWindow() const { return m_window != nullptr; }

    /// Removes the window classes of this module; they would otherwise outlive the code they point to.
    static void UnregisterWindowClasses(HINSTANCE instance);

  protected:
    /// Handles one message; the default is DefWindowProc. Exceptions are caught by the caller, since none may
    /// cross the window procedure.
    virtual LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam);

    /// Called around every message: a COM object keeps itself alive in between.
    virtual void EnterMessage() {}
    /// May destroy the object: nothing of it is touched afterwards.
    virtual void LeaveMessage() {}

  private:
    static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT Dispatch(UINT message, WPARAM wParam, LPARAM lParam) noexcept;

    HWND m_window = nullptr;  // window thread
};

}  // namespace framework
