#pragma once

#include <windows.h>

#include <oaidl.h>
#include <wrl/client.h>

#include <string>
#include <utility>
#include <vector>

// What a control says about itself in its type library: the only source from which this host learns the
// names of members, events and parameters.

struct Parameter {
    std::wstring name;
    VARTYPE type = VT_EMPTY;
    std::wstring typeName;
};

struct Member {
    DISPID id = DISPID_UNKNOWN;
    std::wstring name;
    VARTYPE type = VT_VOID;  // of the property, or the result of the method
    std::wstring typeName;
    bool isMethod = false;
    bool readable = false;
    bool writable = false;
    std::vector<Parameter> parameters;
};

struct Interface {
    std::wstring name;
    IID iid{};
    std::vector<Member> members;

    const Member* Find(DISPID id) const;
    const Member* Find(const std::wstring& name) const;
};

struct Enumeration {
    std::wstring name;
    std::vector<std::pair<std::wstring, long>> constants;
};

struct ControlInfo {
    std::wstring name;
    Interface automation;
    Interface events;
    std::vector<Enumeration> enumerations;

    /// The constant's name, or an empty string where the enumeration has no such value.
    std::wstring NameOf(const std::wstring& enumeration, long value) const;
};

/// Reads the coclass the object names through IProvideClassInfo. Throws _com_error.
ControlInfo ReadControlInfo(IUnknown* control);

/// The listing for --list.
std::wstring Format(const ControlInfo& info);
