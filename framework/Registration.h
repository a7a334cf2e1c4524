#pragma once

#include <windows.h>

#include <string>

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

/// Writes (replaces) the class's keys under HKEY_CLASSES_ROOT, the control and safe-for-scripting and
/// safe-for-initializing categories among them. Needs administrator rights.
HRESULT RegisterClass(const ClassRegistration& registration);
/// Removes them. Keys that are not there are no error.
HRESULT UnregisterClass(const ClassRegistration& registration);

/// Registers the type library that is resource 1 of this module, for all users.
HRESULT RegisterTypeLibrary();
HRESULT UnregisterTypeLibrary(REFGUID library, WORD major, WORD minor);

/// Full path of this module.
std::wstring ModulePath();

}  // namespace framework
