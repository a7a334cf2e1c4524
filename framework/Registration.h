#pragma once

#include <windows.h>

#include <string>

#include "framework/RegistryTransaction.h"

namespace framework {

/// What the registry says of one coclass. The texts are literals and are not copied.
struct ClassRegistration {
    GUID clsid;
    const wchar_t* description;

    /// Null for a class that is only found by its CLSID (a property page); the rest is then unused.
    const wchar_t* versionIndependentProgId = nullptr;
    /// "Library.Class.1"
    const wchar_t* progId = nullptr;
    GUID typeLibrary = {};
    /// "major.minor"
    const wchar_t* version = nullptr;
    /// OLEMISC bits of the content aspect.
    DWORD miscStatus = 0;
    /// Resource number of the 16 x 16 pixels bitmap that form designers show.
    unsigned toolboxBitmap = 0;
};

/// Writes the class's keys, the control and safe-for-scripting and safe-for-initializing categories among
/// them, over what is there of them.
HRESULT RegisterClass(RegistryTransaction& registry, const ClassRegistration& registration);
/// Removes them. Keys that are not there are no error.
HRESULT UnregisterClass(RegistryTransaction& registry, const ClassRegistration& registration);

/// Registers the type library that is resource 1 of this module, and its dispatch interfaces.
HRESULT RegisterTypeLibrary(RegistryTransaction& registry);
/// Takes that back; other versions of the library stay.
HRESULT UnregisterTypeLibrary(RegistryTransaction& registry);

/// Full path of this module.
std::wstring ModulePath();

}  // namespace framework
