#include "EventSink.h"

#include <comutil.h>

#include <utility>

#include "Values.h"

using Microsoft::WRL::ComPtr;

std::wstring Event::Arguments(bool withNames) const {
    std::wstring text;
    for (size_t i = 0; i < arguments.size(); ++i) {
        if (i > 0) text += withNames ? L", " : L",";
        if (withNames && i < member->parameters.size()) text += member->parameters[i].name + L"=";
        text += Describe(*arguments[i]);
    }
    return text;
}

bool Event::Reply(const std::wstring& text) const {
    for (VARIANT* argument : arguments) {
        if (argument->vt == (VT_BYREF | VT_VARIANT)) {
            _variant_t reply(text.c_str());
            return SUCCEEDED(VariantCopy(argument->pvarVal, &reply));
        }
        if (argument->vt == (VT_BYREF | VT_BSTR)) {
            return SysReAllocString(argument->pbstrVal, text.c_str()) != FALSE;
        }
    }
    return false;
}

ComPtr<EventSink> EventSink::Create(Interface events, Handler handler) {
    return new EventSink(std::move(events), std::move(handler));
}

EventSink::EventSink(Interface events, Handler handler)
    : events_(std::move(events)), handler_(std::move(handler)) {}

HRESULT EventSink::Advise(IUnknown* source) {
    ComPtr<IConnectionPointContainer> container;
    HRESULT result = source->QueryInterface(IID_PPV_ARGS(&container));
    if (FAILED(result)) return result;
    result = container->FindConnectionPoint(events_.iid, &point_);
    if (FAILED(result)) return result;
    result = point_->Advise(this, &cookie_);
    if (FAILED(result)) point_.Reset();
    return result;
}

void EventSink::Unadvise() {
    if (const auto point = std::exchange(point_, nullptr)) point->Unadvise(cookie_);
}

STDMETHODIMP EventSink::QueryInterface(REFIID iid, void** object) noexcept {
    if (!object) return E_POINTER;
    // The source asks for its own event interface, whose identity only the type library knows.
    if (iid != __uuidof(IUnknown) && iid != __uuidof(IDispatch) && iid != events_.iid) {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    *object = static_cast<IDispatch*>(this);
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) EventSink::AddRef() noexcept {
    return ++references_;
}

STDMETHODIMP_(ULONG) EventSink::Release() noexcept {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
}

STDMETHODIMP EventSink::GetTypeInfoCount(UINT* count) noexcept {
    if (!count) return E_POINTER;
    *count = 0;
    return S_OK;
}

STDMETHODIMP EventSink::GetTypeInfo(UINT, LCID, ITypeInfo** info) noexcept {
    if (info) *info = nullptr;
    return E_NOTIMPL;
}

STDMETHODIMP EventSink::GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) noexcept {
    return E_NOTIMPL;
}

STDMETHODIMP EventSink::Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* parameters, VARIANT*, EXCEPINFO*,
                               UINT*) noexcept try {
    const ComPtr<EventSink> keepAlive(this);
    const Member* member = events_.Find(id);
    if (!member) return DISP_E_MEMBERNOTFOUND;
    if (!parameters) return E_POINTER;

    Event event{member, {}};
    for (UINT i = parameters->cArgs; i-- > 0;)
        event.arguments.push_back(&parameters->rgvarg[i]);
    handler_(event);
    return S_OK;
} catch (...) {
    // The control must not see an exception of ours.
    return E_FAIL;
}
