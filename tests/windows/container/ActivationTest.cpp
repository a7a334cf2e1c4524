// Taking the control into a container, activating it in place, and getting it out again, in every order a
// container may choose.

#include <olectl.h>

#include <array>

#include "tests/windows/container/ContainerTest.h"

namespace {

// Asking for the page's address is part of the window's creation; focus moves as the desktop likes.
const std::vector<std::string> kOptional = {"GetMoniker", "OnFocus(true)", "OnFocus(false)"};
const std::vector<std::string> kActivation = {"CanInPlaceActivate", "OnInPlaceActivate", "GetWindow",
                                              "GetWindowContext", "ShowObject"};

RECT RectIn(HWND child, HWND parent) {
    RECT rect{};
    GetWindowRect(child, &rect);
    MapWindowPoints(nullptr, parent, reinterpret_cast<POINT*>(&rect), 2);
    return rect;
}

void ExpectRect(const RECT& actual, const RECT& expected) {
    EXPECT_EQ(std::tie(actual.left, actual.top, actual.right, actual.bottom),
              std::tie(expected.left, expected.top, expected.right, expected.bottom));
}

using ActivationTest = ContainerTest;

TEST_F(ActivationTest, IsReleasedWithoutHavingBeenClosed) {
    CreateInSite();
    DoVerb(OLEIVERB_INPLACEACTIVATE);
    // A careless container: no Close, no SetClientSite(NULL), the last reference goes.
    automation.Reset();
    HWND control = ControlWindow();
    object.Reset();
    EXPECT_FALSE(IsWindow(control));
    IgnoreCalls();
    if (site.InPlaceActive()) site.OnInPlaceDeactivate();  // the control may not call a container it has left
}

TEST_F(ActivationTest, ActivatesWhicheverComesFirstSiteOrState) {
    for (const bool siteFirst : {true, false}) {
        SCOPED_TRACE(siteFirst ? "site first" : "state first");
        Create();
        if (siteFirst) SetSite();
        InitNew();
        if (!siteFirst) SetSite();
        ExpectCalls({});
        DoVerb(OLEIVERB_INPLACEACTIVATE);
        ExpectCalls(kActivation, kOptional);
        EXPECT_TRUE(IsWindowVisible(ControlWindow()));
        CloseControl();
        ReleaseControl();
        IgnoreCalls();
    }
}

TEST_F(ActivationTest, QuickActivationReplacesTheLongWay) {
    Create();
    QACONTAINER container{};
    container.cbSize = sizeof(container);
    container.pClientSite = &site;
    QACONTROL control{};
    control.cbSize = sizeof(control);
    const auto quick = Query<IQuickActivate>();
    QACONTAINER unreadable{};
    EXPECT_HRESULT_FAILED(quick->QuickActivate(&unreadable, &control)) << "of no size";
    EXPECT_HRESULT_FAILED(quick->QuickActivate(nullptr, nullptr));
    EXPECT_EQ(site.References(), 0);
    ASSERT_EQ(quick->QuickActivate(&container, &control), S_OK);
    InitNew();

    EXPECT_EQ(control.dwMiscStatus & (OLEMISC_INSIDEOUT | OLEMISC_ACTIVATEWHENVISIBLE),
              static_cast<DWORD>(OLEMISC_INSIDEOUT | OLEMISC_ACTIVATEWHENVISIBLE));
    EXPECT_TRUE(control.dwViewStatus & VIEWSTATUS_OPAQUE);
    SIZEL size{4000, 3000};
    EXPECT_EQ(quick->SetContentExtent(&size), S_OK);
    SIZEL now{};
    EXPECT_EQ(quick->GetContentExtent(&now), S_OK);
    EXPECT_EQ(now.cx, size.cx);
    EXPECT_EQ(now.cy, size.cy);
    DoVerb(OLEIVERB_INPLACEACTIVATE);
    ExpectCalls(kActivation, kOptional);
}

TEST_F(ActivationTest, ShowsOnlyWhatTheContainerLeavesVisible) {
    CreateInSite();
    DoVerb(OLEIVERB_INPLACEACTIVATE);
    const auto inPlace = Query<IOleInPlaceObject>();
    // A point given in the container's coordinates belongs to the control where it is visible.
    const auto visibleAt = [&](int x, int y) {
        return ChildWindowFromPointEx(window.Get(), {x, y}, CWP_SKIPINVISIBLE) == ControlWindow();
    };
    const auto regionHas = [&](int x, int y) {
        const RECT at = RectIn(ControlWindow(), window.Get());
        const HRGN region = CreateRectRgn(0, 0, 0, 0);
        const int kind = GetWindowRgn(ControlWindow(), region);
        const bool has = kind == ERROR || PtInRegion(region, x - at.left, y - at.top);
        DeleteObject(region);
        return has;
    };
    const RECT position{50, 50, 250, 200};
    const RECT half{0, 0, 150, 120};
    ASSERT_EQ(inPlace->SetObjectRects(&position, &half), S_OK);
    ExpectRect(RectIn(ControlWindow(), window.Get()), position);  // the picture does not move
    EXPECT_TRUE(visibleAt(100, 100) && regionHas(100, 100));
    EXPECT_FALSE(regionHas(200, 100)) << "right of the clipping rectangle";
    EXPECT_FALSE(regionHas(100, 150)) << "below the clipping rectangle";

    const RECT elsewhere{300, 0, 400, 300};
    ASSERT_EQ(inPlace->SetObjectRects(&position, &elsewhere), S_OK);
    EXPECT_FALSE(regionHas(100, 100)) << "nothing of the control is inside the clipping rectangle";

    ASSERT_EQ(inPlace->SetObjectRects(&position, &site.clip), S_OK);
    EXPECT_TRUE(regionHas(200, 150)) << "the whole control is visible again";
}

TEST_F(ActivationTest, UiActivatesAndDeactivatesStepByStep) {
    CreateInSite();
    DoVerb(OLEIVERB_UIACTIVATE);
    auto expected = kActivation;
    expected.insert(expected.end(),
                    {"OnUIActivate", "frame.SetActiveObject(object)", "frame.SetBorderSpace(none)"});
    ExpectCalls(expected, kOptional);
    EXPECT_TRUE(PumpUntil([&] { return GetFocus() == ControlWindow(); }));
    DoVerb(OLEIVERB_UIACTIVATE);  // once is enough
    ExpectCalls({}, {"GetWindow", "GetWindowContext", "ShowObject", "OnFocus(true)"});

    const auto inPlace = Query<IOleInPlaceObject>();
    EXPECT_EQ(inPlace->UIDeactivate(), S_OK);
    ExpectCalls({"frame.SetActiveObject(none)", "OnUIDeactivate"}, kOptional);
    EXPECT_TRUE(site.InPlaceActive());
    EXPECT_EQ(inPlace->UIDeactivate(), S_OK);
    ExpectCalls({});

    DoVerb(OLEIVERB_UIACTIVATE);
    IgnoreCalls();
    const HWND control = ControlWindow();
    EXPECT_EQ(inPlace->InPlaceDeactivate(), S_OK);
    ExpectCalls({"frame.SetActiveObject(none)", "OnUIDeactivate", "OnInPlaceDeactivate"}, kOptional);
    EXPECT_FALSE(IsWindow(control));
    EXPECT_EQ(inPlace->InPlaceDeactivate(), S_OK);
    ExpectCalls({});
    EXPECT_EQ(frame.References(), 0);
}

TEST_F(ActivationTest, VerbsShowAndHide) {
    CreateInSite();
    for (const LONG verb : {OLEIVERB_PRIMARY, OLEIVERB_SHOW}) {
        SCOPED_TRACE(verb);
        DoVerb(verb);
        EXPECT_TRUE(IsWindowVisible(ControlWindow()));
        DoVerb(OLEIVERB_HIDE);
        EXPECT_FALSE(IsWindowVisible(ControlWindow()));
        EXPECT_FALSE(site.UiActive());
    }
    DoVerb(OLEIVERB_INPLACEACTIVATE);
    EXPECT_TRUE(IsWindowVisible(ControlWindow()));

    // A verb nobody knows: the default one for a positive number, an error for a negative.
    EXPECT_EQ(object->DoVerb(77, nullptr, &site, 0, window.Get(), &site.position), OLEOBJ_S_INVALIDVERB);
    EXPECT_HRESULT_FAILED(object->DoVerb(-77, nullptr, &site, 0, window.Get(), &site.position));
}

TEST_F(ActivationTest, PropertiesVerbGoesToTheContainerFirst) {
    CreateInSite();
    DoVerb(OLEIVERB_PROPERTIES);
    ExpectCalls({"ShowPropertyFrame"});
    const auto pages = Query<ISpecifyPropertyPages>();
    CAUUID list{};
    ASSERT_EQ(pages->GetPages(&list), S_OK);
    ASSERT_GE(list.cElems, 1u);
    ComPtr<IClassFactory> factory;
    EXPECT_EQ(module.GetClassObject(list.pElems[0], IID_PPV_ARGS(&factory)), S_OK);
    CoTaskMemFree(list.pElems);

    // The page's dialog is among the module's resources.
    ComPtr<IPropertyPage> page;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_PPV_ARGS(&page)), S_OK);
    IUnknown* shown[] = {object.Get()};
    EXPECT_EQ(page->SetObjects(1, shown), S_OK);
    const RECT area{0, 0, 200, 100};
    EXPECT_EQ(page->Activate(window.Get(), &area, FALSE), S_OK);
    EXPECT_EQ(page->Deactivate(), S_OK);
    EXPECT_EQ(page->SetObjects(0, nullptr), S_OK);
}

TEST_F(ActivationTest, CloseAsksToBeSavedOnlyWhenChanged) {
    CreateInSite();
    EXPECT_EQ(object->Close(OLECLOSE_SAVEIFDIRTY), S_OK);
    ExpectCalls({});
    SetProperty(Automation(), L"ServerIP", L"192.0.2.1");
    EXPECT_EQ(object->Close(OLECLOSE_SAVEIFDIRTY), S_OK);
    ExpectCalls({"SaveObject"});
    EXPECT_EQ(object->Close(OLECLOSE_NOSAVE), S_OK);
    ExpectCalls({});
}

TEST_F(ActivationTest, SurvivesTheLossOfTheContainersWindow) {
    CreateInSite();
    DoVerb(OLEIVERB_UIACTIVATE);
    window.Destroy();
    EXPECT_EQ(ControlWindow(), nullptr);
    EXPECT_FALSE(site.InPlaceActive());
    IgnoreCalls();
    EXPECT_EQ(object->Close(OLECLOSE_NOSAVE), S_OK);
    ExpectCalls({});
}

// A container may fail at any point. The control then is as inactive as before, has told the container so if
// it had told it of the activation, and works as soon as the container does.
TEST_F(ActivationTest, RecoversFromEveryFailingCallback) {
    CreateInSite();
    for (const char* callback :
         {"CanInPlaceActivate", "OnInPlaceActivate", "GetWindow", "GetWindowContext"}) {
        SCOPED_TRACE(callback);
        site.failing = {callback};
        EXPECT_HRESULT_FAILED(
            object->DoVerb(OLEIVERB_UIACTIVATE, nullptr, &site, 0, window.Get(), &site.position));
        EXPECT_FALSE(site.InPlaceActive());
        EXPECT_EQ(ControlWindow(), nullptr);
        site.failing.clear();
        DoVerb(OLEIVERB_UIACTIVATE);
        EXPECT_TRUE(site.UiActive());
        EXPECT_EQ(Query<IOleInPlaceObject>()->InPlaceDeactivate(), S_OK);
    }
    for (const char* callback :
         {"OnUIActivate", "ShowObject", "OnUIDeactivate", "OnInPlaceDeactivate", "SaveObject"}) {
        SCOPED_TRACE(callback);
        site.failing = {callback};
        object->DoVerb(OLEIVERB_UIACTIVATE, nullptr, &site, 0, window.Get(), &site.position);
        SetProperty(Automation(), L"ServerIP", L"192.0.2.1");
        object->Close(OLECLOSE_SAVEIFDIRTY);
        EXPECT_FALSE(site.InPlaceActive());
        site.failing.clear();
    }
    IgnoreCalls();
}

TEST_F(ActivationTest, LivesInAContainerThatOffersTheMinimum) {
    site.offersControlSite = false;
    site.offersAmbients = false;
    site.offersFrame = false;
    CreateInSite();
    DoVerb(OLEIVERB_UIACTIVATE);
    EXPECT_TRUE(site.UiActive());
    EXPECT_EQ(Query<IOleControl>()->OnAmbientPropertyChange(DISPID_AMBIENT_USERMODE), S_OK);
}

TEST_F(ActivationTest, OffersTabAndUnknownKeysToItsContainer) {
    CreateInSite();
    DoVerb(OLEIVERB_UIACTIVATE);
    IgnoreCalls();
    MSG tab{};
    tab.hwnd = ControlWindow();
    tab.message = WM_KEYDOWN;
    tab.wParam = VK_TAB;
    ASSERT_NE(frame.ActiveObject(), nullptr);
    EXPECT_EQ(frame.ActiveObject()->TranslateAccelerator(&tab), S_OK);
    ExpectCalls({"TranslateAccelerator(0)"});
    site.failing = {"TranslateAccelerator(0)"};
    EXPECT_EQ(frame.ActiveObject()->TranslateAccelerator(&tab), S_FALSE);
    EXPECT_HRESULT_FAILED(frame.ActiveObject()->TranslateAccelerator(nullptr));
    site.offersControlSite = false;
    EXPECT_EQ(frame.ActiveObject()->TranslateAccelerator(&tab), S_FALSE);
    IgnoreCalls();
}

}  // namespace
