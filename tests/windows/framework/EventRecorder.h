#pragma once

#include <windows.h>

#include <oaidl.h>
#include <ocidl.h>

#include <functional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "framework/Event.h"
#include "tests/windows/framework/TestObject.h"

namespace framework::test {

/// Arguments of an event in the order of their declaration, with their types: 7s is a short, 7 a long, 7.5d a
/// double, true a BOOL; "x" a text, [01 02] bytes, {...} a VARIANT; & stands before what is passed by
/// reference.
std::string ToText(const DISPPARAMS& parameters);
std::string ToText(const VARIANT& value);

/// Writes a property as hosts do.
HRESULT Put(IDispatch& object, DISPID id, VARIANT value);

/// A host's event sink that remembers what it heard, as texts like "OnMDAlert(7s, 35s)". It lives where a
/// test declares it and listens until it goes, or until StopListening.
class EventRecorder final : public TestObject<IDispatch> {
  public:
    /// `names` gives the events their names. Advised for `events`; a late-bound sink knows IDispatch only.
    EventRecorder(IUnknown& control, REFIID events, std::span<const EventDescription> names,
                  bool lateBound = false);
    ~EventRecorder() override;

    /// What the host does in its handler. It may do anything, and replace by-reference arguments.
    std::function<void(DISPID id, DISPPARAMS& arguments)> onEvent;
    HRESULT answer = S_OK;

    const std::vector<std::string>& Events() const { return m_events; }
    /// What came since the last call.
    std::vector<std::string> Take() { return std::exchange(m_events, {}); }
    /// Leaves out what does not matter to a test.
    void Ignore(DISPID id) { m_ignored.push_back(id); }

    void StopListening();

    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* parameters,
                        VARIANT* result, EXCEPINFO* exception, UINT* argumentError) override;

  protected:
    void* Find(REFIID iid) override {
        return iid == m_interface && !m_lateBound ? this : TestObject::Find(iid);
    }

  private:
    IConnectionPoint* m_point = nullptr;
    const IID m_interface;
    const std::span<const EventDescription> m_names;
    const bool m_lateBound;
    DWORD m_cookie = 0;
    std::vector<DISPID> m_ignored;
    std::vector<std::string> m_events;
};

}  // namespace framework::test
