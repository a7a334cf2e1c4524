#pragma once

#include <windows.h>

#include <comutil.h>
#include <oaidl.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "Log.h"
#include "TypeInfo.h"

/// Properties and methods of the control, each access with its line in the log. All throw AutomationError,
/// also when there is no control.
class ControlCalls {
  public:
    using Target = std::function<IDispatch*()>;

    /// `target` gives the control, or null; `info` and `log` outlive this object.
    ControlCalls(Target target, const ControlInfo& info, Log& log)
        : target_(std::move(target)), info_(info), log_(log) {}

    /// Values as they are written on the command line; the type library says what they are.
    void Set(const std::wstring& property, const std::wstring& value);
    void Get(const std::wstring& property);
    void Call(const std::wstring& method, const std::vector<std::wstring>& arguments);

    _variant_t CallWith(const std::wstring& method, std::vector<_variant_t> values);
    /// A property's text, unlogged; empty for one of another type.
    std::wstring Text(const std::wstring& property);

  private:
    Target target_;
    const ControlInfo& info_;
    Log& log_;
};
