#pragma once

#include <windows.h>

#include <ddraw.h>

namespace norix {

/// DirectDraw's entry points, looked up at run time so that the module loads on systems without it.
/// Tests put functions of their own here.
struct DirectDrawFunctions {
    HRESULT(WINAPI* createEx)(GUID* device, void** object, REFIID iid, IUnknown* outer) = nullptr;
    HRESULT(WINAPI* enumerateEx)(LPDDENUMCALLBACKEXA callback, void* context, DWORD flags) = nullptr;

    /// Both null where the system has no DirectDraw 7. Any thread; loaded once and kept for the process.
    static const DirectDrawFunctions& System();

    HRESULT CreateEx(GUID* device, void** object) const;
    HRESULT EnumerateEx(LPDDENUMCALLBACKEXA callback, void* context, DWORD flags) const;
};

}  // namespace norix
