#pragma once

#include <windows.h>

#include <oaidl.h>

#include <array>
#include <span>

#include "framework/Dispatch.h"

namespace framework {

/// How an event argument of type T travels: by value, or by reference when the host may replace it.
template <class T>
struct EventArgument {
    static constexpr VARTYPE vt = AutomationType<T>::vt;
    static void Write(VARIANT& out, T value) { WriteVariant<T>(out, value); }
};
template <>
struct EventArgument<VARIANT*> {
    static constexpr VARTYPE vt = VT_BYREF | VT_VARIANT;
    static void Write(VARIANT& out, VARIANT* value) {
        out.vt = vt;
        out.pvarVal = value;
    }
};
template <>
struct EventArgument<BSTR*> {
    static constexpr VARTYPE vt = VT_BYREF | VT_BSTR;
    static void Write(VARIANT& out, BSTR* value) {
        out.vt = vt;
        out.pbstrVal = value;
    }
};

/// One outgoing event with the types of its arguments.
template <class... Arguments>
struct Event {
    DISPID id;
    const wchar_t* name;
};

/// An event as data, without its argument types: what a test compares with the type library.
struct EventDescription {
    DISPID id;
    const wchar_t* name;
    std::span<const VARTYPE> arguments;
};

template <class... Arguments>
inline constexpr std::array<VARTYPE, sizeof...(Arguments)> kEventArguments{EventArgument<Arguments>::vt...};

template <class... Arguments>
constexpr EventDescription Describe(const Event<Arguments...>& event) {
    return {event.id, event.name, kEventArguments<Arguments...>};
}

}  // namespace framework
