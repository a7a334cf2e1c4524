// A property page inside a frame of the test's own.

#include <windows.h>

#include <gtest/gtest.h>
#include <ocidl.h>

#include "tests/windows/framework/TestControl.h"
#include "tests/windows/framework/resource.h"

namespace framework::test {
namespace {

class PropertyPage : public testing::Test {
  protected:
    ~PropertyPage() override {
        EXPECT_EQ(m_page->Release(), 0u);
        EXPECT_EQ(m_control->Release(), 0u);
        DestroyWindow(m_frame);
    }
    HWND Dialog() const { return FindWindowExW(m_frame, nullptr, L"#32770", nullptr); }
    std::wstring Scale() const {
        wchar_t text[64] = {};
        GetDlgItemTextW(Dialog(), IDC_SCALE, text, 64);
        return text;
    }

    const HWND m_frame = CreateWindowExW(0, L"STATIC", L"", WS_OVERLAPPEDWINDOW, 0, 0, 400, 300, nullptr,
                                         nullptr, nullptr, nullptr);
    Thermometer* const m_control = new Thermometer();
    ThermometerPage* const m_page = new ThermometerPage();
    const RECT m_bounds = {10, 20, 210, 120};
};

TEST_F(PropertyPage, ShowsTheObjectInTheFrame) {
    IUnknown* objects[] = {static_cast<IDispatch*>(m_control)};
    EXPECT_EQ(m_page->SetObjects(1, objects), S_OK);
    EXPECT_TRUE(m_page->shown.empty());  // nothing to show it in yet
    EXPECT_EQ(m_page->Activate(m_frame, &m_bounds, FALSE), S_OK);
    ASSERT_NE(Dialog(), nullptr);
    EXPECT_EQ(m_page->shown, std::vector<IUnknown*>{objects[0]});
    EXPECT_EQ(Scale(), L"Celsius");
    RECT place = {};
    GetWindowRect(Dialog(), &place);
    MapWindowPoints(nullptr, m_frame, reinterpret_cast<POINT*>(&place), 2);
    EXPECT_TRUE(EqualRect(&place, &m_bounds));

    EXPECT_EQ(m_page->Show(SW_SHOW), S_OK);
    EXPECT_NE(GetWindowLongW(Dialog(), GWL_STYLE) & WS_VISIBLE, 0);
    const RECT moved = {0, 0, 50, 60};
    EXPECT_EQ(m_page->Move(&moved), S_OK);
    GetClientRect(Dialog(), &place);
    EXPECT_EQ(place.right, 50);
    EXPECT_EQ(m_page->SetObjects(1, objects), S_OK);
    EXPECT_EQ(m_page->shown.size(), 2u);

    EXPECT_EQ(m_page->Deactivate(), S_OK);
    EXPECT_EQ(Dialog(), nullptr);
    EXPECT_EQ(m_page->SetObjects(0, nullptr), S_OK);  // gives the object back, or the control lives on
}

TEST_F(PropertyPage, DescribesItself) {
    PROPPAGEINFO info = {};
    info.cb = sizeof info;
    ASSERT_EQ(m_page->GetPageInfo(&info), S_OK);
    EXPECT_STREQ(info.pszTitle, L"Scale");
    EXPECT_GT(info.size.cx, 100);
    EXPECT_GT(info.size.cy, 30);
    CoTaskMemFree(info.pszTitle);
    EXPECT_EQ(m_page->IsPageDirty(), S_FALSE);
    EXPECT_EQ(m_page->Apply(), S_OK);
}

TEST_F(PropertyPage, RefusesCallsOutOfOrder) {
    MSG message = {};
    EXPECT_TRUE(FAILED(m_page->Deactivate()));
    EXPECT_TRUE(FAILED(m_page->Show(SW_SHOW)));
    EXPECT_TRUE(FAILED(m_page->Move(&m_bounds)));
    EXPECT_EQ(m_page->TranslateAccelerator(&message), S_FALSE);
    EXPECT_EQ(m_page->Activate(m_frame, nullptr, FALSE), E_POINTER);
    EXPECT_EQ(m_page->SetObjects(1, nullptr), E_POINTER);
    EXPECT_EQ(m_page->GetPageInfo(nullptr), E_POINTER);
    EXPECT_EQ(m_page->Activate(m_frame, &m_bounds, FALSE), S_OK);
    EXPECT_TRUE(FAILED(m_page->Activate(m_frame, &m_bounds, FALSE)));
    EXPECT_EQ(m_page->Deactivate(), S_OK);
    EXPECT_EQ(m_page->Activate(m_frame, &m_bounds, FALSE), S_OK);  // a page is shown and hidden many times
}  // the page goes while it is active and takes its dialog along

// The frame may go first, and the page's dialog with it.
TEST_F(PropertyPage, SurvivesItsFrame) {
    const HWND frame =
        CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 10, 10, nullptr, nullptr, nullptr, nullptr);
    ASSERT_EQ(m_page->Activate(frame, &m_bounds, FALSE), S_OK);
    DestroyWindow(frame);
    m_page->Deactivate();
    EXPECT_EQ(m_page->Activate(m_frame, &m_bounds, FALSE), S_OK);
}

}  // namespace
}  // namespace framework::test
