#pragma once

#include <string>

#include "ui/FormDialog.h"

namespace norix {

/// A user name and its password, as typed.
struct Credentials {
    std::wstring user;
    std::wstring password;
};

/// What the sign-in dialog does when the user has answered. Called on the window's thread; may end the
/// dialog's life.
class AuthenticationSink {
  public:
    /// The dialog is closed. `remember`: for later connections as well.
    virtual void OnSignInEntered(const Credentials& credentials, bool remember) = 0;

  protected:
    ~AuthenticationSink() = default;
};

/// Asks for the user name and password of a camera. Nothing waits for the answer: other views go on. Belongs
/// to the thread of the control's window. The sink outlives it.
class AuthenticationDialog final : public FormDialog {
  public:
    struct View {
        std::wstring server;  // who is signed in at
        std::wstring page;    // that the control stands in; empty for none
        Credentials initial;
        bool wrongBefore = false;  // the camera has refused a sign-in
    };

    explicit AuthenticationDialog(AuthenticationSink& sink) : m_sink(sink) {}

    bool Show(HWND over, View view);

  private:
    void OnOpened() override;
    void OnClosed() override { Forget(); }
    void OnCommand(int id, int code) override;
    bool OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    void ShowCapsLock(bool on);
    void Forget() { m_view = {}; }

    AuthenticationSink& m_sink;
    View m_view;
    bool m_capsShown = false;
};

}  // namespace norix
