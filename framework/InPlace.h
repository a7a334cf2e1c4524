#pragma once

#include <windows.h>

#include <oleidl.h>
#include <wrl/client.h>

#include <optional>
#include <string>

#include "framework/InterfacePart.h"

namespace framework {

class COleControl;

/// In-place activation: brings the control's window into the container's and back out.
///
/// Windowless activation is refused: a container that probes for IOleInPlaceObjectWindowless gets
/// E_NOINTERFACE and goes on with a window.
class InPlace final : public InterfacePart<COleControl, IOleInPlaceObject, IOleInPlaceActiveObject> {
  public:
    using InterfacePart::InterfacePart;

    /// Also answers for IOleWindow, the base of both interfaces.
    void* Find(REFIID iid);

    /// IOleWindow
    STDMETHODIMP GetWindow(HWND* window) override;
    STDMETHODIMP ContextSensitiveHelp(BOOL enter) override;
    /// IOleInPlaceObject
    STDMETHODIMP InPlaceDeactivate() override;
    STDMETHODIMP UIDeactivate() override;
    STDMETHODIMP SetObjectRects(LPCRECT position, LPCRECT clip) override;
    STDMETHODIMP ReactivateAndUndo() override;
    /// IOleInPlaceActiveObject
    STDMETHODIMP TranslateAccelerator(LPMSG message) override;
    STDMETHODIMP OnFrameWindowActivate(BOOL activate) override;
    STDMETHODIMP OnDocWindowActivate(BOOL activate) override;
    STDMETHODIMP ResizeBorder(LPCRECT border, IOleInPlaceUIWindow* window, BOOL isFrame) override;
    STDMETHODIMP EnableModeless(BOOL enable) override;

    /// Activates in the container's window; with `userInterface` also takes the focus. Every failure leaves
    /// the control as inactive as it was.
    HRESULT Activate(bool userInterface);
    /// Leaves the container's window and destroys the control's.
    void Deactivate();
    HRESULT Hide();

    /// Forgets the container without a call to it: the control is being destroyed.
    void Abandon();
    /// The window has gone, by the control's or by the container's doing.
    void OnWindowDestroyed();
    void OnFocus(bool gained);
    void OnMouseActivate();
    /// Puts the window where the container wanted it last.
    void PlaceAgain();
    /// That, if the container has said anything of it since the window is elsewhere.
    void PlaceAfterAbsence();

    /// Shows a line in the container's status bar while active; an empty one takes it away. Calls the
    /// container.
    void ShowStatusText(const std::wstring& text);

    /// For the time of a modal dialog of ours: the container's modeless windows are disabled.
    class Modal {
      public:
        explicit Modal(InPlace& inPlace);
        ~Modal();
        Modal(const Modal&) = delete;
        Modal& operator=(const Modal&) = delete;

      private:
        const Microsoft::WRL::ComPtr<IOleInPlaceFrame> m_frame;  // null while not active
    };

  private:
    HRESULT EnterContainer();
    HRESULT PlaceWindow();
    HRESULT ActivateUserInterface();
    void DeactivateUserInterface();
    void TellDeactivated(IOleInPlaceSite* site);

    bool m_active = false;
    bool m_userInterfaceActive = false;
    RECT m_position = {};  // as the container gave them last
    std::optional<RECT> m_clip;
    bool m_placedInAbsence = false;                    // by SetObjectRects, while the window was elsewhere
    Microsoft::WRL::ComPtr<IOleInPlaceSite> m_site;    // while active
    Microsoft::WRL::ComPtr<IOleInPlaceFrame> m_frame;  // while active
    Microsoft::WRL::ComPtr<IOleInPlaceUIWindow> m_document;  // while active; may be null
};

}  // namespace framework
