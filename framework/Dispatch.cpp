#include "framework/Dispatch.h"

#include <oleauto.h>
#include <olectl.h>

#include <algorithm>
#include <new>

#include "framework/EntryPoint.h"
#include "framework/Module.h"
#include "framework/ScopedVariant.h"

namespace framework {

namespace {

/// The coerced arguments of one call, in declaration order. Calls here have at most eight.
class ArgumentList {
  public:
    static constexpr std::size_t kCapacity = 16;

    ArgumentList() = default;
    ~ArgumentList() {
        for (std::size_t i = 0; i < m_count; ++i)
            VariantClear(&m_values[i]);
    }
    ArgumentList(const ArgumentList&) = delete;
    ArgumentList& operator=(const ArgumentList&) = delete;

    const VARIANT* Values() const { return m_values.data(); }

    /// Takes the arguments of a call: named ones by position, the others from the back, as IDispatch passes
    /// them.
    HRESULT Read(std::span<const VARTYPE> types, const DISPPARAMS& parameters, LCID locale,
                 UINT* argumentError) {
        if (parameters.cArgs != types.size() || types.size() > kCapacity) return DISP_E_BADPARAMCOUNT;
        std::array<const VARIANT*, kCapacity> sources{};
        for (UINT i = 0; i < parameters.cNamedArgs; ++i) {
            const DISPID position = parameters.rgdispidNamedArgs[i];
            if (position < 0 || static_cast<std::size_t>(position) >= types.size() ||
                sources[position] != nullptr) {
                if (argumentError != nullptr) *argumentError = i;
                return DISP_E_PARAMNOTFOUND;
            }
            sources[position] = &parameters.rgvarg[i];
        }
        std::size_t position = 0;
        for (UINT i = parameters.cArgs; i > parameters.cNamedArgs; --i, ++position) {
            if (sources[position] != nullptr) return DISP_E_PARAMNOTFOUND;
            sources[position] = &parameters.rgvarg[i - 1];
        }
        for (; m_count < types.size(); ++m_count) {
            VariantInit(&m_values[m_count]);
            const HRESULT coerced =
                CoerceArgument(m_values[m_count], *sources[m_count], types[m_count], locale);
            if (FAILED(coerced)) {
                if (argumentError != nullptr) {
                    *argumentError = static_cast<UINT>(sources[m_count] - parameters.rgvarg);
                }
                return coerced;
            }
        }
        return S_OK;
    }

  private:
    std::array<VARIANT, kCapacity> m_values;
    std::size_t m_count = 0;
};

HRESULT SetNotSupported(const DispatchMember& member, EXCEPINFO* exception) {
    if (exception != nullptr) {
        *exception = {};
        exception->scode = CTL_E_SETNOTSUPPORTED;
        exception->bstrSource = SysAllocString(COleControlModule::Get().Name());
        exception->bstrDescription = SysAllocString((std::wstring(member.name) + L" is read-only").c_str());
    }
    return DISP_E_EXCEPTION;
}

HRESULT GetProperty(const DispatchMember& member, COleControl& control, const DISPPARAMS& parameters,
                    VARIANT* result) {
    if (parameters.cArgs != 0) return DISP_E_BADPARAMCOUNT;
    if (result == nullptr) return S_OK;
    member.get(control, *result);
    return S_OK;
}

HRESULT PutProperty(const DispatchMember& member, COleControl& control, const DISPPARAMS& parameters,
                    LCID locale, EXCEPINFO* exception, UINT* argumentError) {
    if (member.kind == MemberKind::ReadOnlyProperty) return SetNotSupported(member, exception);
    if (parameters.cArgs != 1) return DISP_E_BADPARAMCOUNT;
    if (parameters.cNamedArgs > 1 ||
        (parameters.cNamedArgs == 1 && parameters.rgdispidNamedArgs[0] != DISPID_PROPERTYPUT)) {
        return DISP_E_PARAMNOTFOUND;
    }
    ScopedVariant value;
    const HRESULT coerced = CoerceArgument(value, parameters.rgvarg[0], member.type, locale);
    if (FAILED(coerced)) {
        if (argumentError != nullptr) *argumentError = 0;
        return coerced;
    }
    member.store(control, value);
    if (member.changed != nullptr) member.changed(control);
    return S_OK;
}

/// Members have ASCII names. Folding only those letters does not depend on the locale that a host has set,
/// which may have changed since the names were sorted.
constexpr wchar_t Fold(wchar_t c) {
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
}

bool LessName(const wchar_t* a, const wchar_t* b) {
    for (; *a != 0 && Fold(*a) == Fold(*b); ++a, ++b) {
    }
    return Fold(*a) < Fold(*b);
}

}  // namespace

Text AutomationType<Text>::Read(const VARIANT& value) {
    return value.bstrVal == nullptr ? Text() : Text(value.bstrVal, SysStringLen(value.bstrVal));
}

void AutomationType<Text>::Write(VARIANT& out, const Text& value) {
    const BSTR text = SysAllocStringLen(value.data(), static_cast<UINT>(value.size()));
    if (text == nullptr) throw std::bad_alloc();
    out.bstrVal = text;
}

HRESULT CoerceArgument(VARIANT& target, const VARIANT& source, VARTYPE type, LCID locale) {
    // A script's variable is a reference to a variant, which may be a reference again. VariantCopyInd follows
    // one step and reads through null.
    constexpr int kMaxDepth = 8;  // a variant that refers to itself has no value
    const VARIANT* value = &source;
    for (int depth = 0; value->vt == (VT_BYREF | VT_VARIANT); ++depth) {
        if (value->pvarVal == nullptr || depth == kMaxDepth) return DISP_E_TYPEMISMATCH;
        value = value->pvarVal;
    }
    if (value->vt == type && type != VT_BSTR) {  // a number of the right type: nothing to convert or to own
        target = *value;
        return S_OK;
    }
    if ((value->vt & VT_BYREF) != 0 && value->byref == nullptr) return DISP_E_TYPEMISMATCH;
    ScopedVariant plain;
    HRESULT result = VariantCopyInd(&plain, const_cast<VARIANT*>(value));
    if (SUCCEEDED(result)) {
        if (plain.vt == VT_ERROR && plain.scode == DISP_E_PARAMNOTFOUND) return DISP_E_PARAMNOTOPTIONAL;
        result = VariantChangeTypeEx(&target, &plain, locale, 0, type);
    }
    if (SUCCEEDED(result)) return S_OK;
    if (result == DISP_E_OVERFLOW || result == E_OUTOFMEMORY) return result;
    return DISP_E_TYPEMISMATCH;
}

DispatchTable::DispatchTable(std::span<const DispatchMember> members) : m_members(members) {
    for (const DispatchMember& member : members) {
        const auto index = static_cast<std::size_t>(member.id);
        if (index >= m_byId.size()) m_byId.resize(index + 1);
        m_byId[index] = &member;
        m_byName.push_back(&member);
    }
    std::sort(m_byName.begin(), m_byName.end(),
              [](const DispatchMember* a, const DispatchMember* b) { return LessName(a->name, b->name); });
}

const DispatchMember* DispatchTable::Find(DISPID id) const {
    const auto index = static_cast<std::size_t>(id);
    return id >= 0 && index < m_byId.size() ? m_byId[index] : nullptr;
}

const DispatchMember* DispatchTable::Find(const wchar_t* name) const {
    const auto found = std::lower_bound(
        m_byName.begin(), m_byName.end(), name,
        [](const DispatchMember* member, const wchar_t* wanted) { return LessName(member->name, wanted); });
    return found != m_byName.end() && !LessName(name, (*found)->name) ? *found : nullptr;
}

HRESULT InvokeMember(const DispatchTable& table, COleControl& control, DISPID id, LCID locale, WORD flags,
                     DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception, UINT* argumentError) {
    if (result != nullptr) VariantInit(result);
    const DispatchMember* member = table.Find(id);
    if (member == nullptr) return DISP_E_MEMBERNOTFOUND;
    if (parameters == nullptr || (parameters->cArgs != 0 && parameters->rgvarg == nullptr) ||
        (parameters->cNamedArgs != 0 && parameters->rgdispidNamedArgs == nullptr) ||
        parameters->cNamedArgs > parameters->cArgs) {
        return E_INVALIDARG;
    }
    if (member->kind != MemberKind::Method) {
        if ((flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0) {
            return PutProperty(*member, control, *parameters, locale, exception, argumentError);
        }
        // Scripts that ignore the difference ask for "method or property".
        if ((flags & DISPATCH_PROPERTYGET) == 0) return DISP_E_MEMBERNOTFOUND;
        return GetProperty(*member, control, *parameters, result);
    }
    if ((flags & DISPATCH_METHOD) == 0) return DISP_E_MEMBERNOTFOUND;
    ArgumentList arguments;
    const HRESULT read = arguments.Read(member->arguments, *parameters, locale, argumentError);
    if (FAILED(read)) return read;
    ScopedVariant value;
    member->call(control, arguments.Values(), value);
    if (result != nullptr) std::swap(*result, value.Plain());
    return S_OK;
}

}  // namespace framework
