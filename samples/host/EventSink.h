#pragma once

#include <windows.h>

#include <oaidl.h>
#include <ocidl.h>
#include <wrl/client.h>

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "TypeInfo.h"

/// One event as it is being fired. The values belong to the control; by-reference ones may be replaced until
/// the handler returns.
struct Event {
    const Member* member;
    std::vector<VARIANT*> arguments;  // in declared order

    /// "value, value", or "name=value, name=value".
    std::wstring Arguments(bool withNames) const;

    /// Gives the first string or variant passed by reference a new text. False where there is none.
    bool Reply(const std::wstring& text) const;
};

/// Receives all events of a control whose interface is known from its type information only.
///
/// A handler may do anything, including disconnecting this sink and letting go of the control: the sink keeps
/// itself alive until the call has returned.
class EventSink final : public IDispatch {
  public:
    using Handler = std::function<void(const Event&)>;

    static Microsoft::WRL::ComPtr<EventSink> Create(Interface events, Handler handler);

    HRESULT Advise(IUnknown* source);
    void Unadvise();

    /// IUnknown
    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override;
    STDMETHODIMP_(ULONG) AddRef() noexcept override;
    STDMETHODIMP_(ULONG) Release() noexcept override;

    /// IDispatch: an event source calls Invoke and nothing else.
    STDMETHODIMP GetTypeInfoCount(UINT* count) noexcept override;
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo** info) noexcept override;
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) noexcept override;
    STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* parameters, VARIANT*, EXCEPINFO*,
                        UINT*) noexcept override;

  private:
    EventSink(Interface events, Handler handler);
    ~EventSink() = default;

    std::atomic<ULONG> references_{0};
    const Interface events_;
    const Handler handler_;
    Microsoft::WRL::ComPtr<IConnectionPoint> point_;
    DWORD cookie_ = 0;
};
