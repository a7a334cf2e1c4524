// A host may do anything inside an event handler, also with the container and its window.

#include <olectl.h>

#include "samples/host/Values.h"
#include "tests/windows/container/ContainerTest.h"

namespace {

class EventsTest : public ContainerTest {
  protected:
    void SetUp() override {
        ContainerTest::SetUp();
        if (HasFatalFailure()) return;
        CreateInSite();
        DoVerb(OLEIVERB_UIACTIVATE);
        IgnoreCalls();
        ASSERT_EQ(host.Advise(object.Get()), S_OK);
    }
    void TearDown() override {
        host.Unadvise();
        ContainerTest::TearDown();
    }

    EventRecorder host;
};

TEST_F(EventsTest, TellNothingOfTheUserWhileTheContainerSaysSo) {
    const auto move = [&] { SendMessageW(ControlWindow(), WM_MOUSEMOVE, 0, MAKELPARAM(3, 4)); };
    for (const VARIANT_BOOL dead : {VARIANT_TRUE, VARIANT_FALSE}) {
        site.ambients[DISPID_AMBIENT_UIDEAD].vt = VT_BOOL;
        site.ambients[DISPID_AMBIENT_UIDEAD].boolVal = dead;
        EXPECT_EQ(Query<IOleControl>()->OnAmbientPropertyChange(DISPID_AMBIENT_UIDEAD), S_OK);
        move();
    }
    EXPECT_THAT(host.events, testing::ElementsAre("OnMouseMove(3,4)"));
}

TEST_F(EventsTest, HandlerMayDestroyTheContainersWindow) {
    host.inHandler = [&] { window.Destroy(); };
    FireEvent(Automation());
    EXPECT_EQ(ControlWindow(), nullptr);
    EXPECT_FALSE(site.InPlaceActive());
    IgnoreCalls();
}

TEST_F(EventsTest, HandlerMayLetGoOfTheControl) {
    // One event comes by way of the window, the other straight from the method.
    for (const wchar_t* method : {L"Disconnect", L"Connect"}) {
        SCOPED_TRACE(ToUtf8(method));
        if (!object) {
            CreateInSite();
            DoVerb(OLEIVERB_INPLACEACTIVATE);
            ASSERT_EQ(host.Advise(object.Get()), S_OK);
        }
        IDispatch* borrowed = Automation();
        host.inHandler = [&] {
            host.Unadvise();
            CloseControl();
            automation.Reset();
            object.Reset();
            EXPECT_EQ(module.CanUnloadNow(), S_FALSE) << "the control has gone from under its own event";
        };
        CallMethod(borrowed, method);  // the last reference goes while the call is still running
        EXPECT_EQ(site.References(), 0);
        EXPECT_EQ(module.CanUnloadNow(), S_OK);
        IgnoreCalls();
    }
}

}  // namespace
