#pragma once

#include <windows.h>

#include <unknwn.h>
#include <wrl/client.h>

#include <string>

#include "util/Handles.h"

// The control's module, used the way COM uses it but without the registry: loaded from the build folder, its
// objects made through DllGetClassObject.
class ControlModule {
  public:
    ControlModule();
    ControlModule(const ControlModule&) = delete;
    ControlModule& operator=(const ControlModule&) = delete;

    // False when the module could not be found or loaded; a test cannot do anything then.
    explicit operator bool() const { return static_cast<bool>(module_); }

    HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** object) const;
    HRESULT Create(REFIID iid, void** object) const;
    HRESULT CanUnloadNow() const;
    HMODULE Get() const { return module_.Get(); }

    // Unloads the module; true when it has really left the process.
    bool Unload();

    static const CLSID& ControlClass();
    static const IID& AutomationInterface();
    static const IID& EventInterface();

  private:
    using GetClassObjectFunction = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
    using CanUnloadFunction = HRESULT(STDAPICALLTYPE*)();

    std::wstring path_;
    util::UniqueModule module_;
    GetClassObjectFunction getClassObject_ = nullptr;
    CanUnloadFunction canUnload_ = nullptr;
};
