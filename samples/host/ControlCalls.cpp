#include "ControlCalls.h"

#include "Automation.h"
#include "Values.h"

void ControlCalls::Set(const std::wstring& property, const std::wstring& value) {
    const Member* member = info_.automation.Find(property);
    const _variant_t parsed = ParseValue(value, member ? member->type : static_cast<VARTYPE>(VT_EMPTY));
    log_.Write(L"set", property + L" = " + Masked(property, Describe(parsed)));
    SetProperty(target_(), property, parsed);
}

void ControlCalls::Get(const std::wstring& property) {
    const _variant_t value = GetProperty(target_(), property);
    log_.Write(L"get", property + L" = " + Masked(property, Describe(value)));
}

void ControlCalls::Call(const std::wstring& method, const std::vector<std::wstring>& arguments) {
    const Member* member = info_.automation.Find(method);
    std::vector<_variant_t> values;
    for (const std::wstring& argument : arguments) {
        const bool declared = member && values.size() < member->parameters.size();
        values.push_back(ParseValue(
            argument, declared ? member->parameters[values.size()].type : static_cast<VARTYPE>(VT_EMPTY)));
    }
    CallWith(method, std::move(values));
}

_variant_t ControlCalls::CallWith(const std::wstring& method, std::vector<_variant_t> values) {
    std::wstring shown;
    for (const _variant_t& value : values)
        shown += (shown.empty() ? L"" : L", ") + Describe(value);
    log_.Write(L"call", method + L"(" + shown + L")");
    auto result = CallMethod(target_(), method, std::move(values));
    if (result.vt != VT_EMPTY) log_.Write(L"result", method + L" = " + Describe(result));
    return result;
}

std::wstring ControlCalls::Text(const std::wstring& property) {
    const _variant_t value = GetProperty(target_(), property);
    return value.vt == VT_BSTR && value.bstrVal ? std::wstring(value.bstrVal) : std::wstring();
}
