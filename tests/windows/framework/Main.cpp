#include <windows.h>

#include <gtest/gtest.h>
#include <ole2.h>

#include "framework/Module.h"

namespace {

// A control looks for its resources, and counts its objects, in the module that it is part of.
class TestModule final : public framework::COleControlModule {
  public:
    TestModule() : COleControlModule(L"Test", L"TestWindow") {}
};
TestModule g_module;

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    g_module.OnDllMain(GetModuleHandleW(nullptr), DLL_PROCESS_ATTACH, nullptr);
    if (FAILED(OleInitialize(nullptr))) return 1;
    int result = RUN_ALL_TESTS();
    if (result == 0 && !g_module.CanUnload()) {
        printf("[  FAILED  ] the tests left objects behind that keep the module loaded\n");
        result = 1;
    }
    OleUninitialize();
    return result;
}
