#include "framework/Module.h"

#include "framework/Wnd.h"

#ifdef __GLIBCXX__
// libstdc++: releases the memory it keeps for throwing exceptions when there is none left. It never does so
// by itself, which would cost 18 KB each time a host loads and frees the module.
namespace __gnu_cxx {  // NOLINT(bugprone-reserved-identifier)
void __freeres();      // NOLINT(bugprone-reserved-identifier)
}
#endif

namespace framework {

namespace {
COleControlModule* g_module = nullptr;  // set during static construction, constant afterwards
}

COleControlModule::COleControlModule(const wchar_t* name, const wchar_t* windowClass)
    : m_name(name), m_windowClass(windowClass) {
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
                CWnd::UnregisterWindowClasses(instance);
#ifdef __GLIBCXX__
                __gnu_cxx::__freeres();
#endif
            }
            return TRUE;
        default:
            return TRUE;
    }
}

}  // namespace framework
