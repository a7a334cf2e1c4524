// The sign-in dialog, and where the password does not go.

#include <windows.h>

#include "media/ControlMessages.h"
#include "tests/windows/control/ControlFixture.h"
#include "ui/resource.h"

namespace norix::test {
namespace {

BOOL CALLBACK CollectDialog(HWND window, LPARAM dialogs) {
    if (GetDlgItem(window, IDC_AUTHENTICATION_USER) != nullptr)
        reinterpret_cast<std::vector<HWND>*>(dialogs)->push_back(window);
    return TRUE;
}

/// The sign-in dialogs of this thread that are open.
std::vector<HWND> FindDialogs() {
    std::vector<HWND> dialogs;
    EnumThreadWindows(GetCurrentThreadId(), &CollectDialog, reinterpret_cast<LPARAM>(&dialogs));
    return dialogs;
}

std::wstring TextOf(HWND dialog, int control) {
    wchar_t text[256] = {};
    GetDlgItemTextW(dialog, control, text, 256);
    return text;
}

void Cancel(HWND dialog) {
    SendMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
}

class SignIn : public ControlTest {
  protected:
    /// Asks for the dialog; `use` runs while it is open. Returns whether it was.
    bool Ask(const std::function<void(HWND dialog)>& use) {
        bool opened = false;
        HostWindow user([&](UINT) {
            const std::vector<HWND> dialogs = FindDialogs();
            opened = !dialogs.empty();
            if (opened) use(dialogs.front());
        });
        PostMessageW(Window(), WM_OnShowAuthDialog, 0, 0);
        PostMessageW(user.Handle(), WM_APP, 0, 0);
        PumpMessages();
        return opened;
    }
};

TEST_F(SignIn, TakesOverWhatIsTypedAndConnectsAgain) {
    Create();
    Put(L"ServerIP", L"127.0.0.1");
    Put(L"HttpPort", kClosedPort);
    Put(L"username", L"operator");
    Put(L"password", L"old");
    EXPECT_TRUE(Ask([](HWND dialog) {
        EXPECT_EQ(TextOf(dialog, IDC_AUTHENTICATION_SERVER), L"127.0.0.1");
        EXPECT_EQ(TextOf(dialog, IDC_AUTHENTICATION_USER), L"operator");
        EXPECT_NE(GetWindowLongW(GetDlgItem(dialog, IDC_AUTHENTICATION_PASSWORD), GWL_STYLE) & ES_PASSWORD,
                  0);
        SetDlgItemTextW(dialog, IDC_AUTHENTICATION_USER, L"admin \x00E4");
        SetDlgItemTextW(dialog, IDC_AUTHENTICATION_PASSWORD, L"");
        SetDlgItemTextW(dialog, IDC_AUTHENTICATION_PASSWORD, L"s3cret:\\\"&");
        SendMessageW(dialog, WM_COMMAND, IDOK, 0);
    }));
    EXPECT_EQ(Control().Properties().username, L"admin \x00E4");
    EXPECT_EQ(Control().Properties().password, L"s3cret:\\\"&");
    EXPECT_TRUE(StopTimer(kTimerReconnect));
    Tick(kTimerReconnect);
    EXPECT_EQ(Host().Take(), Texts{"OnConnStatus(0s)"});
}

TEST_F(SignIn, CancelChangesNothing) {
    Create();
    Put(L"username", L"operator");
    Put(L"password", L"old");
    for (const UINT message : {static_cast<UINT>(WM_COMMAND), static_cast<UINT>(WM_CLOSE)}) {
        EXPECT_TRUE(Ask([&](HWND dialog) {
            SetDlgItemTextW(dialog, IDC_AUTHENTICATION_USER, L"admin");
            SetDlgItemTextW(dialog, IDC_AUTHENTICATION_PASSWORD, L"s3cret");
            SendMessageW(dialog, message, message == WM_COMMAND ? IDCANCEL : 0, 0);
            PumpMessages();
        }));
        EXPECT_EQ(Control().Properties().username, L"operator");
        EXPECT_EQ(Control().Properties().password, L"old");
        EXPECT_FALSE(StopTimer(kTimerReconnect));
    }
}

TEST_F(SignIn, IsLeftToTheHostWhenSwitchedOff) {
    Create();
    Put(L"ShowUserAuthenticationDialog", 0L);
    EXPECT_FALSE(Ask(&Cancel));
    EXPECT_FALSE(StopTimer(kTimerReconnect));
}

TEST_F(SignIn, FollowsARejection) {
    Create();
    Put(L"StreamUri", L"rtsp://127.0.0.1:9/stream");
    EXPECT_EQ(Control().Connect(), 0);
    Send(WM_OnConnectStatus, ecsUserAuthenticationFail);
    MSG posted = {};
    EXPECT_TRUE(PeekMessageW(&posted, Window(), WM_OnShowAuthDialog, WM_OnShowAuthDialog, PM_REMOVE));

    // A host that ends the connection in its handler wants no sign-in for it.
    EXPECT_EQ(Control().Connect(), 0);
    Host().onEvent = [&](DISPID, DISPPARAMS& arguments) {
        if (arguments.rgvarg[0].iVal == ecsUserAuthenticationFail) Control().Disconnect();
    };
    Send(WM_OnConnectStatus, ecsUserAuthenticationFail);
    EXPECT_FALSE(PeekMessageW(&posted, Window(), WM_OnShowAuthDialog, WM_OnShowAuthDialog, PM_REMOVE));
    Host().onEvent = nullptr;
}

TEST_F(SignIn, EndsWithTheConnectionThatWantedIt) {
    Create();
    EXPECT_TRUE(Ask([&](HWND dialog) {
        Control().Disconnect();
        EXPECT_FALSE(IsWindow(dialog));
    }));
    EXPECT_FALSE(StopTimer(kTimerReconnect));
}

// A second rejection may be on its way while the first dialog is still open.
TEST_F(SignIn, AsksOnlyOnce) {
    Create();
    EXPECT_TRUE(Ask([&](HWND dialog) {
        PostMessageW(Window(), WM_OnShowAuthDialog, 0, 0);
        PumpMessages();
        EXPECT_EQ(FindDialogs(), std::vector<HWND>{dialog});
        Cancel(dialog);
    }));
}

TEST_F(SignIn, HoldsUpNobodyAndGoesWithItsControl) {
    Create();
    auto* other = new CNorixSDKCtrl();
    ASSERT_TRUE(other->CreateHiddenWindow());
    for (const bool byTheSession : {false, true}) {
        EXPECT_TRUE(Ask([&](HWND dialog) {
            PostMessageW(other->Handle(), WM_OnShowAuthDialog, 0, 0);
            PumpMessages();
            EXPECT_EQ(FindDialogs().size(), 2u);
            other->Disconnect();
            EXPECT_EQ(FindDialogs(), std::vector<HWND>{dialog}) << "the other view's";
            if (byTheSession) {
                SendMessageW(dialog, WM_ENDSESSION, TRUE, 0);
            } else {
                PostMessageW(other->Handle(), WM_OnShowAuthDialog, 0, 0);
                PumpMessages();
                other->DestroyWindow();
                EXPECT_EQ(FindDialogs(), std::vector<HWND>{dialog});
                Cancel(dialog);
                EXPECT_TRUE(other->CreateHiddenWindow());
            }
            EXPECT_TRUE(FindDialogs().empty());
        }));
    }
    EXPECT_EQ(other->Release(), 0u);
}

TEST_F(SignIn, EndsWithTheControl) {
    auto* control = new CNorixSDKCtrl();
    ASSERT_TRUE(control->CreateHiddenWindow());
    const HWND window = control->Handle();
    PostMessageW(window, WM_OnShowAuthDialog, 0, 0);
    PumpMessages();
    ASSERT_EQ(FindDialogs().size(), 1u);
    EXPECT_EQ(control->Release(), 0u);
    EXPECT_TRUE(FindDialogs().empty());
    EXPECT_FALSE(IsWindow(window));
}

// The host's loop knows nothing of the dialog.
TEST_F(SignIn, IsWorkedByKeyboardAlone) {
    Create();
    Put(L"ServerIP", L"127.0.0.1");
    EXPECT_TRUE(Ask([&](HWND dialog) {
        const auto press = [&](WPARAM key) {
            PostMessageW(GetFocus(), WM_KEYDOWN, key, 1);
            PumpMessages();
        };
        SetFocus(GetDlgItem(dialog, IDC_AUTHENTICATION_USER));
        for (const wchar_t* key = L"ADA"; *key != 0; ++key)
            press(static_cast<WPARAM>(*key));
        EXPECT_EQ(GetDlgCtrlID(GetFocus()), IDC_AUTHENTICATION_USER);
        press(VK_TAB);
        EXPECT_EQ(GetDlgCtrlID(GetFocus()), IDC_AUTHENTICATION_PASSWORD);
        press('1');
        press(VK_TAB);
        EXPECT_EQ(GetDlgCtrlID(GetFocus()), IDC_AUTHENTICATION_REMEMBER);
        press(VK_RETURN);
        EXPECT_FALSE(IsWindow(dialog));
    }));
    EXPECT_EQ(Control().Properties().username, L"ada");
    EXPECT_EQ(Control().Properties().password, L"1");
    EXPECT_TRUE(StopTimer(kTimerReconnect));
    EXPECT_TRUE(Ask([&](HWND dialog) {
        SetFocus(GetDlgItem(dialog, IDC_AUTHENTICATION_PASSWORD));
        PostMessageW(GetFocus(), WM_KEYDOWN, VK_ESCAPE, 1);
        PumpMessages();
        EXPECT_FALSE(IsWindow(dialog));
    }));
    EXPECT_FALSE(StopTimer(kTimerReconnect));
}

TEST_F(SignIn, PasswordIsInNoLogLine) {
    for (const wchar_t* details : {L"ShowFPS", L"ShowPTSDiff", L"ShowFrameTimeInfo", L"ShowTimeSync"})
        hives.Store(HKEY_LOCAL_MACHINE, kKey, details, 1);
    EnableLog();
    Create();
    Put(L"ServerIP", L"127.0.0.1");
    Put(L"HttpPort", kClosedPort);
    Put(L"username", L"operator");
    Put(L"password", L"Zebra-4711");
    Put(L"AutoReconnect", 1);
    Control().Connect();
    Tick(kTimerStatistics);
    Tick(kTimerReconnect);
    EXPECT_TRUE(Ask([](HWND dialog) {
        SetDlgItemTextW(dialog, IDC_AUTHENTICATION_PASSWORD, L"Okapi-4712");
        SendMessageW(dialog, WM_COMMAND, IDOK, 0);
    }));
    Control().Connect();
    Control().HttpCommand(L"GET", L"127.0.0.1", L"/login.cgi?user=operator&password=Okapi-4712", true);
    Send(WM_OnForceI, 1, 1);
    Send(WM_OnConnectStatus, ecsConnected);
    Control().Disconnect();
    EXPECT_EQ(Get(L"password"), "\"Okapi-4712\"");
    EXPECT_GT(log.Lines().size(), 20u);
    for (const std::string& line : log.Lines()) {
        EXPECT_EQ(line.find("Zebra"), std::string::npos) << line;
        EXPECT_EQ(line.find("Okapi"), std::string::npos) << line;
    }
}

}  // namespace
}  // namespace norix::test
