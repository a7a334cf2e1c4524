// A host may do anything inside an event handler, also with the container and its window.

#include <winsock2.h>  // before windows.h

#include <olectl.h>

#include "samples/host/Automation.h"
#include "samples/host/Values.h"
#include "tests/windows/container/ContainerTest.h"
#include "tests/windows/container/LiveCamera.h"

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

// What a host prepares for its next connection does not let go of the head that is turning now.
TEST_F(EventsTest, LeaveCameraCommandsToTheChannelThatIsViewed) {
    const LiveCamera camera;
    WebServer web("127.0.0.1", 0, [](const std::string&) { return HttpReply("200 OK", "", ""); });
    camera.Connect(Automation());
    SetProperty(Automation(), L"HttpPort", static_cast<long>(web.Port()));
    const auto stop = [&] {
        web.Take();
        EXPECT_EQ(static_cast<long>(CallMethod(Automation(), L"SendCameraCommand", {L"stop", short{0}})), 0);
        const auto requests = web.Take();
        const std::string request = requests.empty() ? "" : requests.back();
        return request.substr(request.find("channel="), 9);
    };
    SetProperty(Automation(), L"CHIndex", 2L);
    EXPECT_EQ(stop(), "channel=1");
    CallMethod(Automation(), L"Disconnect");
    EXPECT_EQ(stop(), "channel=2");
}

}  // namespace
