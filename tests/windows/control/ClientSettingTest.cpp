// The client settings: the dialog, what becomes of what the user sets in it, and whose it is. And the
// property page, whose fields are of the same make.

#include <windows.h>

#include "control/NorixSDKPropPage.h"
#include "tests/windows/control/ControlFixture.h"
#include "ui/Texts.h"
#include "ui/resource.h"
#include "util/Settings.h"

namespace norix::test {
namespace {

BOOL CALLBACK FindSettings(HWND window, LPARAM found) {
    if (GetDlgItem(window, IDC_SETTINGS_VIDEO) == nullptr) return TRUE;
    *reinterpret_cast<HWND*>(found) = window;
    return FALSE;
}

std::wstring TextOf(HWND dialog, int control) {
    wchar_t text[1024] = {};
    GetDlgItemTextW(dialog, control, text, 1024);
    return text;
}

class ClientSetting : public ControlTest {
  protected:
    ~ClientSetting() override { SetSite(nullptr); }
    /// In a container; a page where an address is given.
    void CreateContained(const wchar_t* page = nullptr) {
        Create(false);
        page != nullptr ? m_site.emplace(page) : m_site.emplace();
        SetSite(&*m_site);
        ASSERT_TRUE(Control().CreateHiddenWindow());
    }
    static HWND Dialog() {
        HWND found = nullptr;
        EnumThreadWindows(GetCurrentThreadId(), &FindSettings, reinterpret_cast<LPARAM>(&found));
        return found;
    }
    HWND Open() {
        Put(L"ClientSettingMode", -1L);
        return Dialog();
    }
    static void Choose(int id, int position) {
        SendDlgItemMessageW(Dialog(), id, CB_SETCURSEL, static_cast<WPARAM>(position), 0);
    }
    static void Enter(int id, const wchar_t* text) { SetDlgItemTextW(Dialog(), id, text); }
    static void Press(WPARAM key) {
        PostMessageW(GetFocus(), WM_KEYDOWN, key, 1);
        PumpMessages();
    }
    static std::wstring Kept(const wchar_t* name) { return util::GetClientValue(L"", 1, name, L"none"); }

  private:
    std::optional<FakeSite> m_site;
};

TEST_F(ClientSetting, SavesWhatTheDialogShows) {
    CreateContained();
    EXPECT_EQ(Control().SaveClientSetting(), -1) << "no dialog is open";
    ASSERT_NE(Open(), nullptr);
    Choose(IDC_SETTINGS_VIDEO, 2);
    Choose(IDC_SETTINGS_PROTOCOL, 1);
    Choose(IDC_SETTINGS_STREAM, 1);
    Enter(IDC_SETTINGS_RECORD_FOLDER, L"C:\\Videos");
    Enter(IDC_SETTINGS_RECORD_SIZE, L"200");
    Enter(IDC_SETTINGS_RECORD_TIME, L"99999999");
    EXPECT_EQ(Control().SaveClientSetting(), -1);
    EXPECT_NE(TextOf(Dialog(), IDC_SETTINGS_NOTE), L"") << "says what is wrong";
    EXPECT_EQ(Kept(L"RecordVideoPath"), L"none");
    Enter(IDC_SETTINGS_RECORD_TIME, L"60");
    Enter(IDC_SETTINGS_SNAPSHOT_FOLDER, L"C:\\Pictures");
    EXPECT_EQ(Control().SaveClientSetting(), 0);
    EXPECT_NE(Dialog(), nullptr) << "the host ends the mode";

    EXPECT_EQ(Host().Take(), Texts{"OnUserStreamSelChanged(2)"});
    EXPECT_EQ(Get(L"StreamIndex"), "2");
    EXPECT_EQ(Get(L"RecordVideoPath"), "\"C:\\Videos\"");
    EXPECT_EQ(Get(L"RecordMaxFileTimeLength"), "60");
    EXPECT_EQ(Kept(L"RecordMaxFileSize"), L"200");
    EXPECT_EQ(Kept(L"SnapshotPath"), L"C:\\Pictures");
    EXPECT_EQ(util::ReadClientOptions().video, 2u);
    EXPECT_EQ(util::ReadClientOptions().protocol, 1u);
    EXPECT_EQ(Control().SaveClientSetting(), 0);
    EXPECT_EQ(Host().Take(), Texts()) << "the same stream again";
    Put(L"ClientSettingMode", 0L);
    EXPECT_EQ(Dialog(), nullptr);

    // Another control of that camera begins with it.
    Put(L"RecordVideoPath", L"");
    ASSERT_NE(Open(), nullptr);
    EXPECT_EQ(TextOf(Dialog(), IDC_SETTINGS_RECORD_FOLDER), L"C:\\Videos");
    EXPECT_EQ(SendDlgItemMessageW(Dialog(), IDC_SETTINGS_PROTOCOL, CB_GETCURSEL, 0, 0), 1);
}

TEST_F(ClientSetting, IsWorkedByKeyboardAlone) {
    CreateContained();
    ASSERT_NE(Open(), nullptr);
    SetFocus(GetDlgItem(Dialog(), IDC_SETTINGS_VIDEO));
    Press(VK_DOWN);
    for (int field = 0; field < 2; ++field)
        Press(VK_TAB);
    EXPECT_EQ(GetDlgCtrlID(GetFocus()), IDC_SETTINGS_STREAM);
    Press(VK_DOWN);
    Press(VK_RETURN);
    EXPECT_EQ(Dialog(), nullptr);
    EXPECT_EQ(util::ReadClientOptions().video, 1u);
    EXPECT_EQ(Get(L"StreamIndex"), "2");
    EXPECT_EQ(Get(L"ClientSettingMode"), "false");

    ASSERT_NE(Open(), nullptr);
    Host().Take();
    SetFocus(GetDlgItem(Dialog(), IDC_SETTINGS_STREAM));
    Press(VK_DOWN);
    Press(VK_ESCAPE);
    EXPECT_EQ(Dialog(), nullptr);
    EXPECT_EQ(Get(L"StreamIndex"), "2");
    EXPECT_EQ(Host().Take(), Texts());
}

TEST_F(ClientSetting, EndsWithWindowControlAndSession) {
    CreateContained();
    ASSERT_NE(Open(), nullptr);
    SendMessageW(Dialog(), WM_ENDSESSION, TRUE, 0);
    EXPECT_EQ(Dialog(), nullptr);
    EXPECT_EQ(Get(L"ClientSettingMode"), "false");

    ASSERT_NE(Open(), nullptr);
    auto* other = new CNorixSDKCtrl();
    ASSERT_TRUE(other->CreateHiddenWindow());
    other->Disconnect();
    EXPECT_EQ(other->Release(), 0u);
    EXPECT_NE(Dialog(), nullptr) << "the affair of this view";
    Control().DestroyWindow();
    EXPECT_EQ(Dialog(), nullptr);
}

// The host may do anything inside the event.
TEST_F(ClientSetting, SurvivesItsHostsDoings) {
    CreateContained();
    const HWND dialog = Open();
    ASSERT_NE(dialog, nullptr);
    Host().onEvent = [&](DISPID, DISPPARAMS&) { Control().DestroyWindow(); };
    Choose(IDC_SETTINGS_STREAM, 2);
    SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(IDOK, BN_CLICKED), 0);
    EXPECT_FALSE(IsWindow(dialog));
    EXPECT_EQ(Host().Take(), Texts{"OnUserStreamSelChanged(3)"});
    Host().onEvent = nullptr;
}

TEST_F(ClientSetting, OfAPageAreItsOwn) {
    CreateContained(L"http://page.example/view.html");
    ASSERT_NE(Open(), nullptr);
    EXPECT_NE(GetWindowLongW(GetDlgItem(Dialog(), IDC_SETTINGS_RECORD_FOLDER), GWL_STYLE) & ES_READONLY, 0)
        << "only picking grants a folder";
    EXPECT_EQ(GetDlgItem(Dialog(), IDC_SETTINGS_SNAPSHOT_FOLDER), nullptr);
    Choose(IDC_SETTINGS_VIDEO, 1);
    Choose(IDC_SETTINGS_PROTOCOL, 2);
    EXPECT_EQ(Control().SaveClientSetting(), 0);
    EXPECT_EQ(util::ReadClientOptions().protocol, 0u) << "not the user's for all";
    EXPECT_EQ(Kept(L"ProtocolOption"), L"none");
    EXPECT_EQ(Control().GetClientReg(L"", 1, L"ProtocolOption", L""), L"2");
    EXPECT_EQ(Control().SavedSettings().protocol, 2u) << "and what its connections go by";
    EXPECT_EQ(Get(L"RecordVideoPath"), "\"\"");
}

TEST_F(ClientSetting, IsLaidOutAnewForAnotherScreen) {
    CreateContained();
    hives.Store(HKEY_CURRENT_USER, util::kClientSettingKey, L"Language", std::wstring(L"de"));
    const HWND dialog = Open();
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(TextOf(dialog, IDCANCEL), L"Abbrechen");
    EXPECT_EQ(UiText(IDS_VIDEO_H264), L"H.264") << "what a language lacks";
    RECT before;
    RECT after;
    GetClientRect(dialog, &before);
    constexpr UINT kDpiChanged = 0x02E0;  // WM_DPICHANGED
    SendMessageW(dialog, kDpiChanged, MAKEWPARAM(192, 192), 0);
    GetClientRect(dialog, &after);
    EXPECT_GT(after.right, before.right * 3 / 2);
    EXPECT_GT(after.bottom, before.bottom * 3 / 2);
    RECT button;
    GetWindowRect(GetDlgItem(dialog, IDCANCEL), &button);
    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&button), 2);
    EXPECT_LT(button.right, after.right);
    EXPECT_LT(button.bottom, after.bottom);
}

// ---- The property page

class ThePropertyPage : public ControlTest {
  protected:
    void Open() {
        Create();
        *m_page.GetAddressOf() = new CNorixSDKPropPage();
        IUnknown* shown = static_cast<IDispatch*>(&Control());
        ASSERT_EQ(m_page->SetObjects(1, &shown), S_OK);
        const RECT area = {0, 0, 400, 500};
        ASSERT_EQ(m_page->Activate(Window(), &area, FALSE), S_OK);
        m_dialog = GetWindow(Window(), GW_CHILD);
    }
    void Close() {
        EXPECT_EQ(m_page->Deactivate(), S_OK);
        EXPECT_EQ(m_page->SetObjects(0, nullptr), S_OK);
    }
    void Enter(int id, const wchar_t* text) { SetDlgItemTextW(m_dialog, id, text); }
    void Choose(int id, int position) {
        SendDlgItemMessageW(m_dialog, id, CB_SETCURSEL, static_cast<WPARAM>(position), 0);
        SendMessageW(m_dialog, WM_COMMAND, MAKEWPARAM(id, CBN_SELCHANGE), 0);
    }

    Microsoft::WRL::ComPtr<IPropertyPage> m_page;
    HWND m_dialog = nullptr;
};

TEST_F(ThePropertyPage, AppliesWhatWasChanged) {
    Open();
    EXPECT_EQ(m_page->IsPageDirty(), S_FALSE);
    Enter(IDC_PAGE_ADDRESS, L"cam.example");
    Enter(IDC_PAGE_HTTP_PORT, L"0");
    Enter(IDC_PAGE_PASSWORD, L"s3cret");
    Choose(IDC_PAGE_PROTOCOL, 1);
    Choose(IDC_PAGE_PRESENTER, 1);
    EXPECT_EQ(m_page->IsPageDirty(), S_OK);
    EXPECT_HRESULT_FAILED(m_page->Apply());
    EXPECT_EQ(Get(L"ServerIP"), "\"\"") << "nothing is applied while something is wrong";
    EXPECT_NE(TextOf(m_dialog, IDC_PAGE_NOTE), L"");
    Enter(IDC_PAGE_HTTP_PORT, L"8080");
    Put(L"StreamIndex", 3L);  // by somebody else meanwhile: the page leaves it alone
    EXPECT_EQ(m_page->Apply(), S_OK);
    EXPECT_EQ(m_page->IsPageDirty(), S_FALSE);
    EXPECT_EQ(Get(L"ServerIP"), "\"cam.example\"");
    EXPECT_EQ(Get(L"HttpPort"), "8080");
    EXPECT_EQ(Get(L"password"), "\"s3cret\"");
    EXPECT_EQ(Get(L"VideoProtocol"), "2s");
    EXPECT_EQ(Get(L"ForceGDI"), "true");
    EXPECT_EQ(Get(L"StreamIndex"), "3");
    Close();
}

TEST_F(ThePropertyPage, ShowsEverythingButPasswords) {
    Create();
    Put(L"ServerIP", L"cam.example");
    Put(L"password", L"s3cret");
    Put(L"AutoReconnect", -1L);
    *m_page.GetAddressOf() = new CNorixSDKPropPage();
    PROPPAGEINFO info = {};
    ASSERT_EQ(m_page->GetPageInfo(&info), S_OK);
    EXPECT_STREQ(info.pszTitle, L"General");
    EXPECT_GT(info.size.cy, 200);
    CoTaskMemFree(info.pszTitle);
    CoTaskMemFree(info.pszHelpFile);
    IUnknown* shown = static_cast<IDispatch*>(&Control());
    ASSERT_EQ(m_page->SetObjects(1, &shown), S_OK);
    const RECT area = {0, 0, 400, 500};
    ASSERT_EQ(m_page->Activate(Window(), &area, FALSE), S_OK);
    m_dialog = GetWindow(Window(), GW_CHILD);
    EXPECT_EQ(TextOf(m_dialog, IDC_PAGE_ADDRESS), L"cam.example");
    EXPECT_EQ(TextOf(m_dialog, IDC_PAGE_PASSWORD), L"");
    EXPECT_EQ(IsDlgButtonChecked(m_dialog, IDC_PAGE_RECONNECT), static_cast<UINT>(BST_CHECKED));
    EXPECT_FALSE(IsWindowEnabled(GetDlgItem(m_dialog, IDC_PAGE_CONNECT_AGAIN)));
    // The container takes its window away first.
    m_page->SetObjects(0, nullptr);
    Control().DestroyWindow();
    EXPECT_EQ(m_page->Deactivate(), E_UNEXPECTED);
}

}  // namespace
}  // namespace norix::test
