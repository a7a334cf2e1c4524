#include "framework/Module.h"

#include "framework/Wnd.h"

namespace framework {

namespace {
COleControlModule* g_module = nullptr;  // set during static construction, constant afterwards
}

COleControlModule::COleControlModule() {
    g_module = this;
}

COleControlModule& COleControlModule::Get() {
    return *g_module;
}

BOOL COleControlModule::InitInstance() {
    return TRUE;
}

int COleControlModule::ExitInstance() {
    return 0;
}

BOOL COleControlModule::OnDllMain(HINSTANCE instance, DWORD reason, void* reserved) {
    switch (reason) {
        case DLL_PROCESS_ATTACH:
            m_instance = instance;
            DisableThreadLibraryCalls(instance);
            return InitInstance();
        case DLL_PROCESS_DETACH:
            // At process end (reserved set) the other threads are gone and their locks may be held for
            // ever: the system reclaims everything, so nothing is touched.
            if (reserved == nullptr) {
                ExitInstance();
                CWnd::UnregisterWindowClass(instance);
            }
            return TRUE;
        default:
            return TRUE;
    }
}

}  // namespace framework
