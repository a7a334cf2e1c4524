// By what a camera is moved: its own commands, or its ONVIF service.

#include "control/connection/Steering.h"

#include <gtest/gtest.h>

#include "tests/native/control/FakeConnection.h"

namespace norix {
namespace {

using test::FakeCamera;
using test::FakeConnection;
using test::Texts;

constexpr char kServices[] =
    "<Envelope><Body><GetServicesResponse>"
    "<Service><Namespace>http://www.onvif.org/ver10/media/wsdl</Namespace><XAddr>http://camera/media</"
    "XAddr></Service>"
    "<Service><Namespace>http://www.onvif.org/ver20/ptz/wsdl</Namespace><XAddr>http://camera/ptz</XAddr></"
    "Service>"
    "</GetServicesResponse></Body></Envelope>";
constexpr char kProfiles[] =
    "<Envelope><Body><GetProfilesResponse><Profiles token='first'/>"
    "<Profiles "
    "token='p'><PTZConfiguration><DefaultContinuousZoomVelocitySpace/></PTZConfiguration></Profiles>"
    "</GetProfilesResponse></Body></Envelope>";

class SteeringTest : public testing::Test, protected FakeConnection {
  protected:
    SteeringTest() {
        host.settings.serverIP = "camera";
        host.settings.username = "eva";
        camera.onvif = kKsOnvifOk;  // its media service
        camera.onvifUri = "rtsp://camera/onvif";
    }
    /// Of another maker: its web server doesn't know our addresses.
    void BeForeign(const char* services) {
        camera.answer = [services](const HttpRequest& request) {
            if (request.path.starts_with("/kest-cgi/")) return FakeCamera::Reply(404, "a=b\n");
            if (request.body.find("GetServices") != std::string::npos)
                return FakeCamera::Reply(200, services);
            if (request.body.find("GetProfiles") != std::string::npos)
                return FakeCamera::Reply(200, kProfiles);
            return FakeCamera::Reply(404);
        };
    }
    void ConnectAnew() {
        connection.Disconnect();
        Pump();
        EXPECT_EQ(connection.Connect(), 0);
        Pump();
        camera.requests.clear();
    }
    /// Where it was sent, in order.
    Texts Paths() {
        Texts paths;
        for (const HttpRequest& request : std::exchange(camera.requests, {}))
            paths.push_back(request.path.substr(0, request.path.find('?')));
        return paths;
    }
    const Texts kOwnCommand{"/kest-cgi/setPTZCtrl.cgi"};
    Steering steering{link};
};

TEST_F(SteeringTest, TheMakersCamerasAreMovedByTheirCommands) {
    EXPECT_TRUE(steering.Send("left", 5, 1)) << "before anything is known of it";
    EXPECT_EQ(Paths(), kOwnCommand);
    camera.AnswerAs("h264", true);
    ConnectAnew();
    EXPECT_TRUE(steering.Send("LEFT", 5, 3));
    EXPECT_EQ(camera.requests.at(0).path,
              "/kest-cgi/setPTZCtrl.cgi?channel=3&move=left&speedtilt=0&speedpan=5&speedzoom=0");
    EXPECT_EQ(steering.InPlaceOf("camera", "/kest-cgi/systeminfo.cgi?PTZFunc=0"), std::nullopt);
    // In trouble, it is still one of them.
    camera.answer = [](const HttpRequest&) { return FakeCamera::Reply(200, "Error: busy\n"); };
    ConnectAnew();
    EXPECT_TRUE(steering.Send("stop", 5, 3));
    EXPECT_EQ(Paths(), kOwnCommand);
}

TEST_F(SteeringTest, OthersByTheProfileOfTheStreamThatIsShown) {
    BeForeign(kServices);
    ConnectAnew();
    EXPECT_EQ(steering.InPlaceOf("camera", "/kest-cgi/systeminfo.cgi?PTZFunc=0"),
              L"PTZFunc=1\nZoomFunc=1\nPanTiltFunc=0\n");
    EXPECT_EQ(Paths(), (Texts{"/onvif/device_service", "/onvif/device_service", "/media"}));
    EXPECT_EQ(steering.InPlaceOf("other", "/kest-cgi/systeminfo.cgi?PTZFunc=0"), std::nullopt);
    EXPECT_EQ(steering.InPlaceOf("camera", "/kest-cgi/getParam.cgi?a"), std::nullopt);
    EXPECT_FALSE(steering.Send("home", 5, 1));
    EXPECT_FALSE(steering.Send("left", 5, 1)) << "it can't";
    EXPECT_EQ(Paths(), Texts{});
    EXPECT_TRUE(steering.Send("zin", 5, 1)) << "whatever it answers";
    ASSERT_EQ(camera.requests.size(), 1u);
    EXPECT_NE(camera.requests[0].body.find("<o:ProfileToken>p</o:ProfileToken>"), std::string::npos);
    EXPECT_NE(camera.requests[0].body.find("<w:Username>eva</w:Username>"), std::string::npos);
    EXPECT_EQ(Paths(), Texts{"/ptz"});
    EXPECT_EQ(steering.PresetNames(), L"");
    steering.SavePreset(L"a", 1);
    EXPECT_EQ(Paths(), (Texts{"/ptz", "/ptz"})) << "nothing is saved when the list can't be read";

    host.settings.serverIP = "next";
    EXPECT_TRUE(steering.Send("zin", 5, 1));
    EXPECT_EQ(Paths(), kOwnCommand) << "of that one nothing is known";
}

TEST_F(SteeringTest, WhatSpeaksNeitherIsSentTheCommand) {
    BeForeign("hello");
    ConnectAnew();
    EXPECT_TRUE(steering.Send("left", 5, 1));
    EXPECT_EQ(Paths().back(), kOwnCommand[0]);
    EXPECT_TRUE(steering.Send("left", 5, 1));
    EXPECT_EQ(Paths(), kOwnCommand) << "asked once";
    EXPECT_EQ(steering.InPlaceOf("camera", "/kest-cgi/systeminfo.cgi?"), std::nullopt);
}

}  // namespace
}  // namespace norix
