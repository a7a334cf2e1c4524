#pragma once

#include <windows.h>

#include <objsafe.h>

#include "framework/InterfacePart.h"

/// mingw-w64's header lacks what __uuidof needs.
__CRT_UUID_DECL(IObjectSafety, 0xCB5BDC81, 0x93C1, 0x11CF, 0x8F, 0x20, 0x00, 0x80, 0x5F, 0x2C, 0xD0, 0x64)

namespace framework {

/// IObjectSafety of a control that is safe for untrusted callers (scripts) and for untrusted data
/// (`<param>` values): both options are supported for every interface the control exposes.
template <class Owner>
class ObjectSafety final : public InterfacePart<Owner, IObjectSafety> {
  public:
    using InterfacePart<Owner, IObjectSafety>::InterfacePart;

    STDMETHODIMP GetInterfaceSafetyOptions(REFIID iid, DWORD* supported, DWORD* enabled) override {
        if (supported == nullptr || enabled == nullptr) return E_POINTER;
        *supported = 0;
        *enabled = 0;
        if (!Exposes(iid)) return E_NOINTERFACE;
        *supported = kSupported;
        *enabled = m_enabled;
        return S_OK;
    }

    STDMETHODIMP SetInterfaceSafetyOptions(REFIID iid, DWORD mask, DWORD enabled) override {
        if (!Exposes(iid)) return E_NOINTERFACE;
        if ((mask & ~kSupported) != 0 || (enabled & ~kSupported) != 0) return E_FAIL;
        m_enabled = (m_enabled & ~mask) | (enabled & mask);
        return S_OK;
    }

    /// The options that the container has set.
    DWORD Enabled() const { return m_enabled; }

  private:
    static constexpr DWORD kSupported = INTERFACESAFE_FOR_UNTRUSTED_CALLER | INTERFACESAFE_FOR_UNTRUSTED_DATA;

    bool Exposes(REFIID iid) {
        IUnknown* exposed = nullptr;
        if (FAILED(this->QueryInterface(iid, reinterpret_cast<void**>(&exposed)))) return false;
        exposed->Release();
        return true;
    }

    DWORD m_enabled = 0;
};

}  // namespace framework
