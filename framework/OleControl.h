#pragma once

#include <windows.h>

#include <ocidl.h>
#include <oleidl.h>
#include <wrl/client.h>

#include <array>
#include <utility>
#include <vector>

#include "framework/ClassInfo.h"
#include "framework/ConnectionPoint.h"
#include "framework/ControlPersistence.h"
#include "framework/ControlView.h"
#include "framework/Dispatch.h"
#include "framework/Event.h"
#include "framework/EventGate.h"
#include "framework/InPlace.h"
#include "framework/Module.h"
#include "framework/OleObject.h"
#include "framework/Wnd.h"

namespace framework {

/// What distinguishes one control class from another; constant for the life of the module.
struct ControlClass {
    CLSID clsid;
    const wchar_t* userType;  ///< the class's name for people
    GUID typeLibrary;
    IID dispatchInterface;
    IID eventInterface;
    CLSID propertyPage;
    DWORD miscStatus;  ///< OLEMISC bits
    SIZE initialSize;  ///< pixels
};

/// An in-process OLE control: base class of the concrete control.
///
/// It is created by a class factory with one reference and deletes itself with the last. Everything runs on
/// the thread that created it (its apartment). The interfaces a container expects are implemented by the
/// parts below, each a member with one job; a derived class overrides the On... hooks.
///
/// A host may call anything from anywhere, also release the control from inside an event handler: every
/// entry point keeps the control alive until it has left it, and catches what is thrown inside.
class COleControl : public IDispatch, public CWnd {
  public:
    /// IUnknown
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;

    /// IDispatch
    STDMETHODIMP GetTypeInfoCount(UINT* count) override;
    STDMETHODIMP GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override;
    STDMETHODIMP GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) override;
    STDMETHODIMP Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* parameters,
                        VARIANT* result, EXCEPINFO* exception, UINT* argumentError) override;

    // ---- for the parts and the derived class

    const ControlClass& Class() const { return m_class; }
    const DispatchTable& Members() const { return m_members; }
    InPlace& InPlaceState() { return m_inPlace; }
    ControlView& View() { return m_view; }
    OleObject& Embedding() { return m_oleObject; }
    ConnectionPointContainer& ConnectionPoints() { return m_connectionPoints; }
    ClassInfo& TypeInformation() { return m_classInfo; }
    EventGate& Gate() { return m_eventGate; }

    /// Calls the event on every sink. While the host freezes events, those without by-reference arguments
    /// are kept until it thaws them; the others are dropped, since somebody waits for their answer.
    template <class... Arguments>
    void FireEvent(const Event<Arguments...>& event, std::type_identity_t<Arguments>... values) {
        std::array<VARIANT, sizeof...(Arguments)> arguments;
        std::size_t position = sizeof...(Arguments);  // IDispatch takes the last argument first
        (EventArgument<Arguments>::Write(arguments[--position], values), ...);
        m_eventGate.Fire(event.id, arguments);
    }

    /// The host should save the control before it throws it away.
    void SetModifiedFlag(bool modified = true) { m_modified = modified; }
    bool IsModified() const { return m_modified; }

    /// Has the control drawn anew, in its window or by its container.
    void InvalidateControl();

    /// Creates a hidden window of its own for a control that no container has taken in: scripts use it as
    /// a plain automation object. False when the system refuses.
    bool CreateHiddenWindow();

    /// Stores a loaded value (coerced to the property's type) and runs or postpones its change handler.
    HRESULT LoadProperty(const DispatchMember& member, const VARIANT& value);
    /// Inside of a change handler: the value comes from what the container saved, not from the host's code.
    bool IsLoading() const { return m_loading; }

    /// Tells IPropertyNotifySink sinks that a property has changed.
    void NotifyPropertyChanged(DISPID id);

    /// The value of a property as the container is to keep it; the derived class may take out of it what
    /// must not lie about.
    virtual void OnSaveProperty(const DispatchMember& member, VARIANT& value);
    /// Draws the control into any device context; `bounds` are in its logical units.
    virtual void OnDraw(HDC dc, const RECT& bounds);
    /// An ambient property of the container has changed (DISPID_UNKNOWN: any).
    virtual void OnAmbientPropertyChange(DISPID id);
    /// While true, the window is somewhere else for a time: the container's place for it is only kept.
    virtual bool IsPlacedElsewhere() const { return false; }
    /// It must be where the container has it before the container does something with it.
    virtual void ReturnToPlace() {}
    /// A window that was hidden so far has got its place in a container. A failure ends the activation.
    virtual HRESULT OnMovedIntoContainer() { return S_OK; }
    /// Keyboard messages before the container translates them; true when it was used up.
    virtual bool OnTranslateAccelerator(const MSG& message);

  protected:
    COleControl(const ControlClass& controlClass, const DispatchTable& members);
    ~COleControl() override;

    /// An interface that the derived class adds; null when it does not know it. No reference is added.
    virtual void* OnQueryInterface(REFIID iid);

    /// Runs the change handlers of values that were loaded before there was a window. The derived class
    /// calls it when its window is ready.
    void RunPostponedHandlers();

    /// A derived class that overrides it passes on what it does not handle.
    LRESULT OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

  private:
    void EnterMessage() override { AddRef(); }
    void LeaveMessage() override { Release(); }
    void FinalRelease();
    void Paint();

    const ModuleLock m_moduleLock;
    const ControlClass& m_class;
    const DispatchTable& m_members;
    LONG m_references = 1;  // interlocked: proxies release on other threads
    bool m_modified = false;
    bool m_loading = false;
    std::vector<const DispatchMember*> m_postponedHandlers;  // waiting for the window

    OleObject m_oleObject;
    InPlace m_inPlace;
    ControlView m_view;
    ControlPersistence m_persistence;
    ConnectionPointContainer m_connectionPoints;
    ClassInfo m_classInfo;
    EventGate m_eventGate;
};

}  // namespace framework
