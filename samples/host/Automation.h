#pragma once

#include <windows.h>

#include <comutil.h>
#include <oaidl.h>

#include <stdexcept>
#include <string>
#include <vector>

// Late-bound access to an object: every member is looked up by its name, as a script would do.

/// What went wrong, with the object's own description where it gave one.
class AutomationError : public std::runtime_error {
  public:
    AutomationError(HRESULT code, const std::wstring& message);

    HRESULT Code() const { return code_; }
    const std::wstring& Message() const { return message_; }

  private:
    HRESULT code_;
    std::wstring message_;
};

/// All three throw AutomationError.
_variant_t GetProperty(IDispatch* object, const std::wstring& name);
void SetProperty(IDispatch* object, const std::wstring& name, const _variant_t& value);
_variant_t CallMethod(IDispatch* object, const std::wstring& name, std::vector<_variant_t> arguments = {});
