#include "render/present/DirectDrawFunctions.h"

#include <string>

namespace norix {
namespace {

// The system directory only: a ddraw.dll beside the host is not ours to run.
HMODULE LoadSystemDirectDraw() {
    wchar_t directory[MAX_PATH];
    const UINT length = GetSystemDirectoryW(directory, MAX_PATH);
    if (length == 0 || length >= MAX_PATH) return nullptr;
    return LoadLibraryW((std::wstring(directory, length) + L"\\ddraw.dll").c_str());
}

DirectDrawFunctions LookUpSystem() {
    DirectDrawFunctions found;
    const HMODULE module = LoadSystemDirectDraw();
    if (!module) return found;
    const auto lookUp = [module](const char* name, auto& function) {
        function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(
            reinterpret_cast<void*>(GetProcAddress(module, name)));
    };
    lookUp("DirectDrawCreateEx", found.createEx);
    lookUp("DirectDrawEnumerateExA", found.enumerateEx);
    return found;
}

}  // namespace

const DirectDrawFunctions& DirectDrawFunctions::System() {
    // Never unloaded: drivers have been seen to keep threads in it.
    static const DirectDrawFunctions functions = LookUpSystem();
    return functions;
}

HRESULT DirectDrawFunctions::CreateEx(GUID* device, void** object) const {
    return createEx ? createEx(device, object, IID_IDirectDraw7, nullptr) : DDERR_GENERIC;
}

HRESULT DirectDrawFunctions::EnumerateEx(LPDDENUMCALLBACKEXA callback, void* context, DWORD flags) const {
    return enumerateEx ? enumerateEx(callback, context, flags) : DDERR_GENERIC;
}

}  // namespace norix
