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

}  // namespace
