// The control in a container that is not ours: Active Template Library's, as many programs of the time use
// it.

#include <ole2.h>
#include <olectl.h>

#include "tests/windows/container/ContainerTest.h"
#include "util/Handles.h"

namespace {

// The library's entry points. Found at run time: nothing here needs it to be installed to start.
class Atl {
  public:
    // Its window classes can be registered once in a process.
    static const Atl& Instance() {
        static const Atl instance;
        return instance;
    }
    bool Usable() const { return usable_; }
    HRESULT GetControl(HWND window, IUnknown** control) const { return getControl_(window, control); }

  private:
    Atl() : module_(LoadLibraryW(L"atl.dll")) {
        usable_ = Find(init_, "AtlAxWinInit") && Find(getControl_, "AtlAxGetControl") && init_();
    }

    template <class Function>
    bool Find(Function& function, const char* name) {
        if (module_)
            function =
                reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module_.Get(), name)));
        return function != nullptr;
    }

    util::UniqueModule module_;
    BOOL(WINAPI* init_)() = nullptr;
    HRESULT(WINAPI* getControl_)(HWND, IUnknown**) = nullptr;
    bool usable_ = false;
};

class AtlContainerTest : public ContainerTest {
  protected:
    void SetUp() override {
        ContainerTest::SetUp();
        if (HasFatalFailure()) return;
        if (!atl.Usable()) GTEST_SKIP() << "atl.dll is not on this machine";
        // It creates controls by CLSID: the class is made known without registration.
        ComPtr<IUnknown> factory;
        ASSERT_EQ(module.GetClassObject(ControlModule::ControlClass(), IID_PPV_ARGS(&factory)), S_OK);
        ASSERT_EQ(CoRegisterClassObject(ControlModule::ControlClass(), factory.Get(), CLSCTX_INPROC_SERVER,
                                        REGCLS_MULTIPLEUSE, &registration),
                  S_OK);
        wchar_t clsid[64];
        StringFromGUID2(ControlModule::ControlClass(), clsid, 64);
        holder = CreateWindowW(L"AtlAxWin", clsid, WS_CHILD | WS_VISIBLE, 0, 0, 320, 240, window.Get(),
                               nullptr, GetModuleHandleW(nullptr), nullptr);
        ASSERT_NE(holder, nullptr);
        ASSERT_EQ(atl.GetControl(holder, &control), S_OK);
        ASSERT_EQ(control.As(&automation), S_OK);
    }
    void TearDown() override {
        automation.Reset();
        control.Reset();
        if (holder) DestroyWindow(holder);  // unless a test has done so
        if (registration) CoRevokeClassObject(registration);
        ContainerTest::TearDown();
    }

    const Atl& atl = Atl::Instance();
    DWORD registration = 0;
    HWND holder = nullptr;
    ComPtr<IUnknown> control;
};

TEST_F(AtlContainerTest, ShowsTheControlInItsWindow) {
    HWND shown = nullptr;
    ComPtr<IOleWindow> inPlace;
    ASSERT_EQ(control.As(&inPlace), S_OK);
    ASSERT_EQ(inPlace->GetWindow(&shown), S_OK);
    EXPECT_TRUE(IsWindowVisible(shown));
    EXPECT_TRUE(IsChild(holder, shown));
    RECT expected{};
    RECT actual{};
    GetWindowRect(holder, &expected);
    GetWindowRect(shown, &actual);
    EXPECT_TRUE(EqualRect(&actual, &expected));
    MoveWindow(holder, 10, 10, 200, 100, TRUE);
    GetWindowRect(shown, &actual);
    EXPECT_EQ(actual.right - actual.left, 200);
    EXPECT_EQ(actual.bottom - actual.top, 100);
}

}  // namespace
