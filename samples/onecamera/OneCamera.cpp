// One window, one camera: OneCamera.exe 192.0.2.10 [port], the sign-in in the environment (NORIX_USER,
// NORIX_PASSWORD).
//
// The window "AtlAxWin" of Windows' own atl.dll holds the control; its text says which one.

#include <windows.h>

#include <comdef.h>
#include <wrl/client.h>
#include <cstdlib>

// From atl.dll, which compilers without ATL have no header for.
using Start = BOOL(STDAPICALLTYPE*)();
using ControlOf = HRESULT(STDAPICALLTYPE*)(HWND, IUnknown**);

template <class Function>
Function FromAtl(const char* name) {
    return reinterpret_cast<Function>(
        reinterpret_cast<void*>(GetProcAddress(LoadLibraryW(L"atl.dll"), name)));
}

// Calls a method without arguments by its name, or writes a property.
void Use(IDispatch* camera, const wchar_t* name, WORD kind = DISPATCH_METHOD,
         const wchar_t* value = nullptr) {
    DISPID member = 0;
    DISPID put = DISPID_PROPERTYPUT;
    auto* text = const_cast<wchar_t*>(name);
    _variant_t argument(value == nullptr ? L"" : value);
    const UINT count = kind == DISPATCH_PROPERTYPUT ? 1 : 0;
    DISPPARAMS arguments{&argument, &put, count, count};
    _com_util::CheckError(camera->GetIDsOfNames(IID_NULL, &text, 1, LOCALE_USER_DEFAULT, &member));
    _com_util::CheckError(
        camera->Invoke(member, IID_NULL, LOCALE_USER_DEFAULT, kind, &arguments, nullptr, nullptr, nullptr));
}

LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM first, LPARAM second) {
    if (message == WM_SIZE)
        MoveWindow(GetWindow(window, GW_CHILD), 0, 0, LOWORD(second), HIWORD(second), TRUE);
    if (message == WM_DESTROY) PostQuitMessage(0);
    return DefWindowProcW(window, message, first, second);
}

void Run(HINSTANCE instance) {
    if (__argc < 2) throw _com_error(E_INVALIDARG);
    WNDCLASSW kind{};
    kind.lpfnWndProc = OnMessage;
    kind.hInstance = instance;
    kind.lpszClassName = L"OneCamera";
    RegisterClassW(&kind);
    FromAtl<Start>("AtlAxWinInit")();
    HWND window = CreateWindowW(L"OneCamera", L"One camera", WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN,
                                CW_USEDEFAULT, 0, 660, 520, nullptr, nullptr, instance, nullptr);
    HWND pane = CreateWindowW(L"AtlAxWin", L"NORIXSDK.NorixSDKCtrl.1", WS_CHILD | WS_VISIBLE, 0, 0, 640, 480,
                              window, nullptr, instance, nullptr);
    Microsoft::WRL::ComPtr<IUnknown> control;
    Microsoft::WRL::ComPtr<IDispatch> camera;
    _com_util::CheckError(FromAtl<ControlOf>("AtlAxGetControl")(pane, &control));
    _com_util::CheckError(control.As(&camera));
    ShowWindow(window, SW_SHOW);

    Use(camera.Get(), L"ServerIP", DISPATCH_PROPERTYPUT, __wargv[1]);
    if (__argc > 2) Use(camera.Get(), L"HttpPort", DISPATCH_PROPERTYPUT, __wargv[2]);
    Use(camera.Get(), L"username", DISPATCH_PROPERTYPUT, _wgetenv(L"NORIX_USER"));
    Use(camera.Get(), L"password", DISPATCH_PROPERTYPUT, _wgetenv(L"NORIX_PASSWORD"));
    Use(camera.Get(), L"Connect");
    for (MSG message; GetMessageW(&message, nullptr, 0, 0) > 0;) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, PWSTR, int) {
    try {
        OleInitialize(nullptr);
        Run(instance);
        return 0;
    } catch (const _com_error& error) {
        MessageBoxW(nullptr, error.ErrorMessage(), L"OneCamera ADDRESS [PORT]", MB_ICONERROR);
        return 1;
    }
}
