#include "Automation.h"

#include <algorithm>
#include <cwchar>

#include "Values.h"

namespace {

std::wstring HexCode(HRESULT code) {
    wchar_t text[16];
    std::swprintf(text, std::size(text), L"0x%08lX", static_cast<unsigned long>(code));
    return text;
}

// An EXCEPINFO owns its three strings.
struct ExceptionInfo : EXCEPINFO {
    ExceptionInfo() : EXCEPINFO{} {}
    ExceptionInfo(const ExceptionInfo&) = delete;
    ExceptionInfo& operator=(const ExceptionInfo&) = delete;
    ~ExceptionInfo() {
        SysFreeString(bstrSource);
        SysFreeString(bstrDescription);
        SysFreeString(bstrHelpFile);
    }
};

_variant_t Invoke(IDispatch* object, const std::wstring& name, WORD kind, DISPPARAMS& parameters) {
    if (!object) throw AutomationError(E_POINTER, name + L": there is no control");

    DISPID id = DISPID_UNKNOWN;
    auto* names = const_cast<LPOLESTR>(name.c_str());
    HRESULT result = object->GetIDsOfNames(IID_NULL, &names, 1, LOCALE_USER_DEFAULT, &id);
    if (FAILED(result)) throw AutomationError(result, name + L": no such member");

    _variant_t value;
    ExceptionInfo exception;
    UINT badArgument = 0;
    result = object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, kind, &parameters, &value, &exception,
                            &badArgument);
    if (result == DISP_E_EXCEPTION) {
        if (exception.pfnDeferredFillIn) exception.pfnDeferredFillIn(&exception);
        const HRESULT code = exception.scode ? exception.scode : result;
        const std::wstring text = exception.bstrDescription ? exception.bstrDescription : L"";
        throw AutomationError(code, name + (text.empty() ? L"" : L": " + text));
    }
    if (FAILED(result)) throw AutomationError(result, name);
    return value;
}

}  // namespace

AutomationError::AutomationError(HRESULT code, const std::wstring& message)
    : std::runtime_error("automation call failed"),
      code_(code),
      message_(message + L" (" + HexCode(code) + L")") {}

_variant_t GetProperty(IDispatch* object, const std::wstring& name) {
    DISPPARAMS none{};
    return Invoke(object, name, DISPATCH_PROPERTYGET, none);
}

void SetProperty(IDispatch* object, const std::wstring& name, const _variant_t& value) {
    // A property's new value is the one argument that must be passed by name.
    DISPID named = DISPID_PROPERTYPUT;
    _variant_t argument = value;
    DISPPARAMS parameters{&argument, &named, 1, 1};
    Invoke(object, name, DISPATCH_PROPERTYPUT, parameters);
}

_variant_t CallMethod(IDispatch* object, const std::wstring& name, std::vector<_variant_t> arguments) {
    // Automation takes arguments last one first.
    std::ranges::reverse(arguments);
    DISPPARAMS parameters{arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
    return Invoke(object, name, DISPATCH_METHOD, parameters);
}
