// What a connection decides: whom it asks and in which order, what a failure means, and what follows from it.

#include "control/connection/Connection.h"

#include <gtest/gtest.h>

#include "net/KnownServers.h"
#include "tests/native/control/FakeConnection.h"

namespace norix {
namespace {

using test::FakeCamera;
using test::FakeConnection;
using test::FakeReception;
using test::Texts;
using Statuses = std::vector<EConnectStatus>;
using Answer = StreamReception::Answer;

const Statuses kFailedAttempt = {ecsConnecting, ecsConnectFail};
const Statuses kRefusedAttempt = {ecsConnecting, ecsUserAuthenticationFail};

class ConnectionTest : public testing::Test, protected FakeConnection {
  protected:
    ConnectionTest() { host.settings.serverIP = "camera"; }

    /// The host's, after workers have had the time to end.
    long Connect() {
        Pump();
        return connection.Connect();
    }
    void Report(EConnectStatus status) { connection.OnConnectStatus(status); }
};

// ---- Where the stream is

TEST_F(ConnectionTest, TakesTheHostsAddressThenOnvifsThenTheMakers) {
    camera.AnswerAs("h264", true);
    EXPECT_EQ(Connect(), 0);
    EXPECT_EQ(Uri(), "rtsp://camera:8554/udpstream_ch1_stream1_h264");
    EXPECT_EQ(host.settings.httpPort, 8080) << "as the camera says";
    EXPECT_EQ(camera.onvifAsked, 1);
    connection.Disconnect();

    camera.onvif = kKsOnvifOk;
    camera.onvifUri = "rtsp://camera/onvif";
    camera.onvifFrameRate = 12;
    EXPECT_EQ(Connect(), 0);
    EXPECT_EQ(Uri(), "rtsp://camera/onvif");
    EXPECT_EQ(session->param.serverFrameRate.Get(), 12);
    connection.Disconnect();

    host.settings.channel = host.settings.stream = 2;
    camera.AnswerAs("h264;mjpg,h264", true);
    camera.onvifUri = "rtsp://192.168.0.20:554/behind-a-router";
    EXPECT_EQ(Connect(), 0);
    EXPECT_EQ(camera.onvifProfile, (std::array<std::uint32_t, 3>{2, 2, kKsOnvifH264}));
    EXPECT_EQ(Uri(), "rtsp://camera:554/behind-a-router");
    connection.Disconnect();

    host.settings.streamUri = "rtsp://camera/hosts";
    EXPECT_EQ(Connect(), 0);
    EXPECT_EQ(Uri(), "rtsp://camera/hosts");
    Pump();
    EXPECT_EQ(camera.onvifAsked, 3) << "not asked for what the host knows";
}

TEST_F(ConnectionTest, AsksOnvifWhereThereMayBeSuchAService) {
    const struct {
        const char* what;
        bool answers;
        const char* codecs;
        bool support;
        const char* mediaServiceUri;
        short protocol;
        int asked;
    } cases[] = {
        {"nobody is there", false, "", false, "", ecpUDP, 0},
        {"the host names the service", false, "", false, "http://camera/onvif/media", ecpUDP, 1},
        {"another maker's", true, "", false, "", ecpUDP, 1},
        {"the maker's without", true, "h264", false, "", ecpUDP, 0},
        {"the maker's with", true, "h264", true, "", ecpTCP, 1},
        {"pictures over HTTP", true, "mjpg", true, "", ecpHTTP, 0},
        {"pushed groups", true, "h264", true, "", ecpMulticastPush, 0},
    };
    for (const auto& c : cases) {
        camera.answer = nullptr;
        if (c.answers) camera.AnswerAs(c.codecs, c.support);
        camera.onvifAsked = 0;
        host.settings.serverIP = c.what;  // another camera each time
        host.settings.mediaServiceUri = c.mediaServiceUri;
        host.settings.videoProtocol = c.protocol;
        Connect();
        EXPECT_EQ(camera.onvifAsked, c.asked) << c.what;
        connection.Disconnect();
    }
}

TEST_F(ConnectionTest, APageAndPushSkipTheCommands) {
    camera.AnswerAs("h264");
    host.settings.videoProtocol = ecpMulticastPush;
    host.settings.onPage = true;
    EXPECT_EQ(Connect(), 0);
    EXPECT_TRUE(camera.requests.empty());
    EXPECT_EQ(Uri(), "");
    connection.Disconnect();
    host.settings.onPage = false;
    const auto setGroup = [&](const char* group) {
        MulticastInfo groups;
        groups[MulticastStream::Video] = {group, 5000};
        session->param.multicast.Set(groups);
    };
    means.whileWaiting = [&] { setGroup("239.1.1.1"); };
    EXPECT_EQ(Connect(), 0);
    EXPECT_FALSE(camera.requests.empty());
    EXPECT_EQ(Reception().rtsp->groups[MulticastStream::Video].group, "239.1.1.1");
    connection.Disconnect();
    setGroup("");
    host.forbidden = {"239.1.1.1"};
    means.whileWaiting = [&] { setGroup("239.1.1.1"); };
    EXPECT_EQ(Connect(), -1) << "what is set while the camera is asked is judged as well";
    host.forbidden.clear();
    host.settings.onPage = true;
    host.settings.videoProtocol = ecpUDP;
    camera.requests.clear();
    EXPECT_EQ(Connect(), 0);
    EXPECT_FALSE(camera.requests.empty());
}

TEST_F(ConnectionTest, WithAnAddressOfTheHostTheCommandsRunBesideTheStream) {
    camera.AnswerAs("h264");
    host.settings.streamUri = "rtsp://camera/hosts";
    EXPECT_EQ(Connect(), 0);
    EXPECT_EQ(Uri(), "rtsp://camera/hosts");
    EXPECT_EQ(means.waits, 0);
    EXPECT_TRUE(camera.requests.empty());
    Pump();
    EXPECT_FALSE(camera.requests.empty());
    EXPECT_EQ(host.settings.httpPort, 8080);
}

TEST_F(ConnectionTest, WhatTheCameraSaidBeforeHelpsWhileItIsAway) {
    camera.AnswerAs("mp4v", false);
    Connect();
    connection.Disconnect();
    camera.answer = nullptr;
    Connect();
    EXPECT_EQ(Uri(), "rtsp://camera:8554/udpstream_ch1_stream1");
    connection.Disconnect();
    host.settings.serverIP = "another";
    Connect();
    EXPECT_EQ(Uri(), "rtsp://another:554/udpstream_ch1_stream1_h264");
}

TEST_F(ConnectionTest, HearsNothingOfACameraThatIsNoLongerMeant) {
    camera.AnswerAs("mp4v");
    host.settings.streamUri = "rtsp://camera/hosts";
    Connect();
    host.settings.serverIP = "another";
    Pump();
    EXPECT_EQ(host.settings.httpPort, 80);
    connection.Disconnect();

    // Behind one router cameras differ by their port.
    Connect();
    host.settings.httpPort = 81;
    Pump();
    EXPECT_EQ(host.settings.httpPort, 81);
    connection.Disconnect();
    Connect();
    Pump();
    ASSERT_EQ(host.settings.httpPort, 8080);
    ASSERT_NE(link.Commands().Codecs(), nullptr);
    host.settings.httpPort = 82;
    EXPECT_EQ(link.Commands().Codecs(), nullptr);
    link.AskBy(443);
    EXPECT_EQ(link.WebOrigin().scheme, "https");
    host.settings.httpPort = 83;
    EXPECT_EQ(link.WebOrigin(), protocol::makeOrigin("http", "camera", 83));
}

// ---- Whom it asks as whom

TEST_F(ConnectionTest, SignsInAsTheHostSaysElseTheAddressElseAsBefore) {
    means.saved["camera"] = {"saved", "1"};
    Connect();
    EXPECT_EQ(Reception().rtsp->userName, "saved");
    connection.Disconnect();

    host.settings.streamUri = "rtsp://uri:2@camera/x";
    host.trusted = false;
    Connect();
    Report(ecsConnected);
    EXPECT_EQ(means.saved["camera"].user, "saved") << "a page's own is not the user's";
    connection.Disconnect();
    host.trusted = true;
    Connect();
    EXPECT_EQ(Reception().rtsp->userName, "uri");
    EXPECT_EQ(Reception().rtsp->password, "2");
    EXPECT_EQ(means.saved["camera"].user, "saved");
    Report(ecsConnected);  // not before the camera has taken it
    EXPECT_EQ(means.saved["camera"].user, "uri");
    connection.Disconnect();

    host.settings.username = "host";
    Connect();
    EXPECT_EQ(Reception().rtsp->userName, "host");
    Pump();
    EXPECT_EQ(camera.requests.back().user, "host");
}

TEST_F(ConnectionTest, APortThatACameraNamesIsKnownByWhatTheCameraTook) {
    using protocol::makeOrigin;
    net::KnownServers& servers = net::KnownServers::get();
    servers.forget();
    const auto takesBasic = [&](const protocol::Origin& server) {
        return servers.choose(server, std::vector<std::string>{"Basic realm=\"r\""}).has_value();
    };
    servers.accepted(makeOrigin("http", "camera", 80), protocol::Challenge::Kind::DigestMd5);
    camera.AnswerAs("h264");
    Connect();
    EXPECT_FALSE(takesBasic(makeOrigin("http", "camera", 8080)));
    EXPECT_TRUE(takesBasic(makeOrigin("rtsp", "camera", 8554))) << "its streams may take less than its web";
    servers.accepted(makeOrigin("rtsp", "camera", 8554), protocol::Challenge::Kind::DigestMd5);
    connection.Disconnect();

    camera.onvif = kKsOnvifOk;
    camera.AnswerAs("h264", true);
    for (const auto& [uri, server] :
         {std::pair{"rtsp://camera:5555/", makeOrigin("rtsp", "camera", 5555)},
          std::pair{"rtsp://else.example/", makeOrigin("rtsp", "else.example", 554)}}) {
        camera.onvifUri = uri;
        Connect();
        EXPECT_EQ(Uri(), uri);
        EXPECT_FALSE(takesBasic(server)) << uri;
        connection.Disconnect();
    }
    servers.forget();
}

TEST_F(ConnectionTest, ReachesNobodyWhoMayNotBeReached) {
    host.forbidden = {"camera"};
    EXPECT_EQ(Connect(), -1);
    EXPECT_EQ(host.Take(), kFailedAttempt);
    EXPECT_TRUE(means.receptions.empty());
    host.forbidden = {"elsewhere"};
    camera.AnswerAs("h264", true);
    camera.onvif = kKsOnvifOk;
    camera.onvifUri = "rtsp://elsewhere/stream";
    EXPECT_EQ(Connect(), -1);
    EXPECT_FALSE(Reception().rtsp);
}

TEST_F(ConnectionTest, AServicesAddressKeepsItsSchemeAndPort) {
    const auto last = [&] { return camera.requests.back(); };
    host.settings.mediaServiceUri = "https://camera:8443/onvif/media";
    Connect();
    EXPECT_TRUE(last().secure);
    EXPECT_EQ(last().port, 8443);
    connection.Disconnect();
    host.settings.mediaServiceUri = "http://camera:81/onvif/media";
    Connect();
    EXPECT_FALSE(last().secure);
    EXPECT_EQ(last().port, 81);
}

TEST_F(ConnectionTest, NoStreamComesInClearBehindTheBackOfOneWhoAsksByHttps) {
    host.settings.onPage = host.settings.pageIsHttps = true;
    host.settings.pagePort = 443;
    EXPECT_EQ(Connect(), 0);
    Report(ecsConnected);
    EXPECT_NE(host.caption.find(L"not encrypted"), std::wstring::npos);
    EXPECT_NE(host.statusText.find("not encrypted"), std::string::npos);
    connection.Disconnect();
    EXPECT_EQ(host.statusText, "");

    host.plainStream = PlainStream::Silently;
    EXPECT_EQ(Connect(), 0);
    Report(ecsConnected);
    EXPECT_EQ(host.caption, L"Connected!");
    connection.Disconnect();

    host.plainStream = PlainStream::Refused;
    EXPECT_EQ(Connect(), -1);
    EXPECT_FALSE(Reception().rtsp);
    EXPECT_NE(host.caption.find(L"not encrypted"), std::wstring::npos);
}

TEST_F(ConnectionTest, GroupsOfTheCamerasChoiceAreAskedForAndThenTried) {
    bool allowed = false;
    host.groupRule = [&] { return allowed; };
    for (const bool yes : {false, true}) {
        host.mayReachGroups = yes;
        Connect();
        EXPECT_FALSE(Reception().rtsp->mayJoinGroups());
        Report(ecsConnectFail);
        EXPECT_EQ(host.groupsAsked, yes ? 2 : 1);
        EXPECT_EQ(host.Timer(ConnectionTimer::Reconnect).has_value(), yes);
    }
    allowed = true;
    connection.OnReconnectTimer();
    Pump();
    EXPECT_TRUE(Reception().rtsp->mayJoinGroups());
    Report(ecsConnectFail);
    EXPECT_EQ(host.groupsAsked, 2);
}

TEST_F(ConnectionTest, KeyFramesAreAskedForOneAtATimeAndTheNewestCounts) {
    for (int stream = 1; stream <= 5; ++stream)
        link.RequestKeyFrame(1, stream);
    EXPECT_EQ(means.work.size(), 1u);
    camera.answer = [&](const HttpRequest&) {
        if (camera.requests.size() == 1) link.RequestKeyFrame(1, 6), link.RequestKeyFrame(1, 7);
        return FakeCamera::Reply(200);
    };
    means.RunWork();
    ASSERT_EQ(camera.requests.size(), 2u);
    EXPECT_NE(camera.requests[0].path.find("stream=5"), std::string::npos);
    EXPECT_NE(camera.requests[1].path.find("stream=7"), std::string::npos);
    means.threads = false;
    link.RequestKeyFrame(1, 8);
    means.threads = true;
    link.RequestKeyFrame(1, 9);
    means.RunWork();
    EXPECT_EQ(camera.requests.size(), 3u);
}

// ---- What a failure means

TEST_F(ConnectionTest, A401MeansTheUserWhereTheServiceCounts) {
    const auto refuse = [](const HttpRequest&) { return FakeCamera::Reply(401); };
    const struct {
        const char* what;
        bool commandsRefuse;
        KsOnvifResult onvif;
        int refusal;  // of the stream's server; 0: it did not answer
        EConnectStatus reported;
        EConnectStatus told;
    } cases[] = {
        {"the stream's own", false, kKsOnvifNotFound, 401, ecsUserAuthenticationFail,
         ecsUserAuthenticationFail},
        {"the commands', and the stream is not where one guesses", true, kKsOnvifNotFound, 404,
         ecsConnectFail, ecsUserAuthenticationFail},
        {"the commands', and the stream's server comes late", true, kKsOnvifNotFound, 0, ecsConnectFail,
         ecsConnectFail},
        {"the ONVIF service's", true, kKsOnvifDenied, 0, ecsConnectFail, ecsUserAuthenticationFail},
        {"nobody's", false, kKsOnvifNotFound, 404, ecsConnectFail, ecsConnectFail},
    };
    for (int number = 0; const auto& c : cases) {
        camera.AnswerAs("h264");
        if (c.commandsRefuse) camera.answer = refuse;
        camera.onvif = c.onvif;
        host.settings.serverIP = "camera" + std::to_string(++number);
        EXPECT_EQ(Connect(), 0);
        session->param.refusal.Set(c.refusal);
        Report(c.reported);
        EXPECT_EQ(host.Take(), (Statuses{ecsConnecting, c.told})) << c.what;
    }
    // Once it has streamed, a sign-in was good enough.
    camera.answer = refuse;
    Connect();
    Report(ecsConnected);
    session->param.refusal.Set(404);
    Report(ecsConnectFail);
    EXPECT_EQ(host.Take(), (Statuses{ecsConnecting, ecsConnected, ecsConnectFail}));
}

TEST_F(ConnectionTest, StreamsOverHttpConnectWhenTheyAreGranted) {
    camera.AnswerAs("mjpg");
    host.settings.videoProtocol = ecpHTTP;
    EXPECT_EQ(Connect(), 0);
    EXPECT_EQ(host.Take(), (Statuses{ecsConnecting, ecsConnected}));
    EXPECT_EQ(Reception().http->videoPath, "/kest-cgi/mjpeg.cgi?channel=1&stream=1");
    EXPECT_EQ(Reception().http->audioPath, "/kest-cgi/pcmu.cgi?channel=1&stream=1");
    EXPECT_EQ(Reception().http->port, 8080);
    connection.Disconnect();

    host.settings.mediaType = 2;
    Connect();
    EXPECT_EQ(Reception().http->videoPath, "");
    connection.Disconnect();
    host.Take();

    for (const auto& [answer, told] :
         {std::pair{Answer::Failed, ecsConnectFail}, std::pair{Answer::Refused, ecsUserAuthenticationFail}}) {
        means.prepareReception = [given = answer](FakeReception& reception) { reception.answer = given; };
        EXPECT_EQ(Connect(), -1);
        EXPECT_EQ(host.Take(), (Statuses{ecsConnecting, told}));
    }
    EXPECT_EQ(host.signInsAsked, 1);

    // The same server and port have just not answered.
    camera.answer = nullptr;
    EXPECT_EQ(Connect(), -1);
    EXPECT_FALSE(Reception().http);
    EXPECT_EQ(host.Take(), kFailedAttempt);
}

TEST_F(ConnectionTest, TellsAFailureOnceAndNothingAfterTheEnd) {
    Connect();
    host.Take();
    host.onStatus = [&](EConnectStatus) {
        Report(ecsConnectFail);  // the handler shows a message box meanwhile
        Report(ecsConnected);
        EXPECT_EQ(host.signInsAsked, 0) << "the dialog would stand above it, and signing in come to nothing";
    };
    Report(ecsUserAuthenticationFail);
    EXPECT_EQ(host.Take(), Statuses{ecsUserAuthenticationFail});
    EXPECT_EQ(host.signInsAsked, 1);
    host.onStatus = nullptr;
    for (const EConnectStatus late : {ecsConnectFail, ecsConnected, ecsDisconnect, ecsMulticastError})
        Report(late);
    EXPECT_EQ(host.Take(), Statuses{});

    Connect();
    connection.Disconnect();
    Report(ecsConnected);
    EXPECT_EQ(host.Take(), (Statuses{ecsConnecting, ecsDisconnect}));
    EXPECT_FALSE(host.Timer(ConnectionTimer::Statistics));
}

TEST_F(ConnectionTest, StatusShowsItselfAndRunsTheStatistics) {
    const struct {
        EConnectStatus status;
        const wchar_t* caption;
        StatusPicture picture;
        bool statistics;
    } cases[] = {
        {ecsConnected, L"Connected!", StatusPicture::None, true},
        {ecsConnectFail, L"Connect Fail!", StatusPicture::ConnectFail, false},
        {ecsMulticastError, L"Multicast Conflict!", StatusPicture::None, true},
        {ecsUserAuthenticationFail, L"Authentication Fail!", StatusPicture::ConnectFail, false},
        {static_cast<EConnectStatus>(6), L"Connected!", StatusPicture::None, true},  // a newer receiver's
    };
    for (const auto& c : cases) {
        Connect();
        EXPECT_EQ(host.caption, L"Connecting...");
        Report(ecsConnected);
        Report(c.status);
        EXPECT_EQ(host.caption, c.caption);
        EXPECT_EQ(host.picture, c.picture);
        EXPECT_EQ(connection.Status(), c.status);
        EXPECT_EQ(host.Timer(ConnectionTimer::Statistics).has_value(), c.statistics) << c.status;
        connection.Disconnect();
        EXPECT_EQ(host.caption, L"Disconnect!");
        EXPECT_EQ(host.picture, StatusPicture::Disconnect);
    }
    EXPECT_EQ(host.signInsAsked, 1);
    host.settings.captionInfo = eciAll & ~eciStatus;
    Connect();
    EXPECT_EQ(host.caption, L"Disconnect!");
}

TEST_F(ConnectionTest, TellsWhyThereIsNoStream) {
    Connect();
    session->param.failure.Set("connection refused");
    Report(ecsConnectFail);
    EXPECT_EQ(host.caption, L"Connect Fail! (connection refused)");
    EXPECT_EQ(host.statusText, "camera: connection refused");
    host.settings.captionInfo = eciAll & ~eciStatus;
    Connect();
    EXPECT_EQ(host.statusText, "");
    Report(ecsUserAuthenticationFail);
    EXPECT_EQ(host.caption, L"Authentication Fail!");
    EXPECT_EQ(host.statusText, "camera: user name or password not accepted (401)");
    host.settings.captionInfo = eciAll;

    // The web server of pictures over HTTP.
    host.settings.videoProtocol = ecpHTTP;
    host.settings.serverIP = "nowhere";
    camera.AnswerAs("mjpg");
    Connect();
    connection.Disconnect();
    camera.answer = [](const HttpRequest&) {
        HttpReply none;
        none.failure = "name not found";
        return none;
    };
    EXPECT_EQ(Connect(), -1);
    EXPECT_EQ(host.caption, L"Connect Fail! (name not found)");
    host.forbidden = {"nowhere"};
    EXPECT_EQ(Connect(), -1);
    EXPECT_EQ(host.statusText, "nowhere: not to be reached by this page");
}

TEST_F(ConnectionTest, AStatusThatCannotBePostedIsFoundByTheTimer) {
    session->param.window.Set(platform.Window());
    platform.queueFull = true;
    Connect();
    EXPECT_TRUE(host.Timer(ConnectionTimer::Reports));
    RTSPCallback(1, ecsConnected, session.get());
    EXPECT_EQ(host.Take(), Statuses{ecsConnecting});
    connection.OnReportsTimer();
    connection.OnReportsTimer();
    EXPECT_EQ(host.Take(), Statuses{ecsConnected});
    RTSPCallback(1, ecsConnectFail, session.get());
    connection.Disconnect();
    connection.OnReportsTimer();
    EXPECT_EQ(host.Take(), Statuses{ecsDisconnect});
}

TEST_F(ConnectionTest, AStepWhoseEndCannotBePostedIsFoundByTheTimer) {
    means.queueFull = true;
    camera.AnswerAs("mjpg");
    host.settings.videoProtocol = ecpHTTP;
    connection.ConnectInBackground();
    connection.OnReportsTimer();
    EXPECT_TRUE(means.receptions.empty()) << "the camera is still being asked";
    means.RunWork();
    connection.OnReportsTimer();
    ASSERT_TRUE(Reception().http);
    Reception().decided();
    connection.OnReportsTimer();
    connection.OnReportsTimer();
    EXPECT_EQ(host.Take(), (Statuses{ecsConnecting, ecsConnected}));
    connection.Disconnect();

    host.settings.streamUri = "rtsp://camera/known";  // the camera is asked beside the stream
    host.settings.httpPort = 80;
    connection.ConnectInBackground();
    means.RunWork();
    connection.OnReportsTimer();
    EXPECT_EQ(host.settings.httpPort, 8080) << "as the camera says";
}

// ---- One connection at a time

TEST_F(ConnectionTest, IsRefusedInsideItselfAndWhileThereIsOne) {
    host.onStatus = [&](EConnectStatus) { EXPECT_EQ(Connect(), -1); };
    EXPECT_EQ(Connect(), 0);
    EXPECT_EQ(Connect(), -1);
    EXPECT_EQ(connection.Disconnect(), 0);
    EXPECT_EQ(host.Take(), (Statuses{ecsConnecting, ecsDisconnect}));
    host.window = false;
    EXPECT_EQ(Connect(), -1);
    EXPECT_EQ(host.Take(), Statuses{});
}

TEST_F(ConnectionTest, IsRefusedWhileAnAbandonedThreadLives) {
    means.prepareReception = [](FakeReception& reception) { reception.hangs = true; };
    Connect();
    FakeReception& abandoned = Reception();
    const auto kept = means.receptions.back();  // as its thread does
    session->param.frameRate.Set(7);
    connection.Disconnect();
    means.prepareReception = nullptr;
    host.Take();
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(Connect(), -1);
        EXPECT_EQ(host.Take(), kFailedAttempt);
        EXPECT_EQ(means.receptions.size(), 1u);
        EXPECT_TRUE(session->param.IsClosing()) << "nothing resets the block while it is in use";
    }
    abandoned.LetGo();
    EXPECT_EQ(Connect(), 0);
    EXPECT_FALSE(session->param.IsClosing());
}

// After a failure the threads end beside the window's; the next connection must wait for that.
TEST_F(ConnectionTest, WaitsForThreadsThatAreAboutToEnd) {
    Connect();
    Report(ecsConnectFail);
    EXPECT_TRUE(Reception().stopping);
    means.receptions.clear();
    EXPECT_EQ(means.work.size(), 1u);
    std::thread ending([work = std::move(means.work)]() mutable {
        platform::SleepMs(30);
        work.clear();
    });
    means.work.clear();
    host.settings.streamUri = "rtsp://camera/x";  // nothing else is waited for
    EXPECT_EQ(connection.Connect(), 0);
    ending.join();
}

TEST_F(ConnectionTest, HostMayEndItInsideAnyEventAndAnyWait) {
    for (const EConnectStatus at : {ecsConnecting, ecsConnectFail}) {
        host.settings.autoReconnect = true;
        host.forbidden = {"camera"};
        host.onStatus = [&](EConnectStatus status) {
            if (status == at) connection.Disconnect();
        };
        EXPECT_EQ(Connect(), -1);
        EXPECT_EQ(host.Take().back(), ecsDisconnect);
        EXPECT_FALSE(host.Timer(ConnectionTimer::Reconnect));
    }
    host.forbidden.clear();
    host.onStatus = nullptr;
    means.whileWaiting = [&] {
        connection.Disconnect();
        EXPECT_EQ(connection.Connect(), 0);  // another one
    };
    EXPECT_EQ(Connect(), -1) << "the outer one has been overtaken";
    EXPECT_EQ(host.Take(), (Statuses{ecsConnecting, ecsDisconnect, ecsConnecting}));
    EXPECT_TRUE(connection.IsActive());
}

// ---- The control's own connections

TEST_F(ConnectionTest, InTheBackgroundNothingIsWaitedFor) {
    camera.AnswerAs("mjpg");
    host.settings.videoProtocol = ecpHTTP;
    connection.ConnectInBackground();
    EXPECT_EQ(host.Take(), Statuses{ecsConnecting});
    EXPECT_TRUE(means.receptions.empty());
    Pump();
    ASSERT_EQ(means.receptions.size(), 1u);
    EXPECT_EQ(host.Take(), Statuses{});
    Reception().decided();
    Pump();
    EXPECT_EQ(host.Take(), Statuses{ecsConnected});
    EXPECT_EQ(means.waits, 0);
    connection.Disconnect();
    host.Take();

    // A message that got lost in a full queue is made up for.
    connection.ConnectInBackground();
    means.RunWork();
    means.posted.clear();
    connection.OnReportsTimer();
    EXPECT_EQ(means.receptions.size(), 2u);
    connection.Disconnect();
    means.RunWork();
    host.Take();
    means.waits = 0;

    // What a worker still brings after the end is nothing to anybody.
    connection.ConnectInBackground();
    connection.Disconnect();
    Pump();
    EXPECT_EQ(host.Take(), (Statuses{ecsConnecting, ecsDisconnect}));
    EXPECT_EQ(means.receptions.size(), 2u);

    means.threads = false;  // nor is the lack of threads a reason to wait
    connection.ConnectInBackground();
    EXPECT_EQ(means.receptions.size(), 3u);
}

TEST_F(ConnectionTest, ReconnectsLaterAndLaterUntilItSucceedsOrIsEnded) {
    host.forbidden = {"camera"};
    Connect();
    EXPECT_FALSE(host.Timer(ConnectionTimer::Reconnect));
    host.settings.autoReconnect = true;
    Connect();
    unsigned expected = 1000;
    for (int i = 0; i < 8; ++i) {
        const auto delay = host.Timer(ConnectionTimer::Reconnect);
        ASSERT_TRUE(delay) << i;
        EXPECT_NEAR(*delay, expected, i == 0 ? 0 : expected / 4.0) << i;
        EXPECT_LE(*delay, 30000u);
        expected = std::min(expected * 2, 30000u);
        connection.OnReconnectTimer();
        Pump();
    }
    connection.Disconnect();
    EXPECT_FALSE(host.Timer(ConnectionTimer::Reconnect));

    host.forbidden.clear();
    Connect();
    Report(ecsConnected);
    Report(ecsConnectFail);
    EXPECT_EQ(host.Timer(ConnectionTimer::Reconnect), 1000u) << "success starts anew";

    // Who was refused is not tried again by itself.
    Pump();
    connection.OnReconnectTimer();
    Pump();
    Report(ecsUserAuthenticationFail);
    EXPECT_FALSE(host.Timer(ConnectionTimer::Reconnect));
    EXPECT_EQ(host.signInsAsked, 1);
    connection.OnSignedIn();
    EXPECT_EQ(host.Timer(ConnectionTimer::Reconnect), 1000u);
}

TEST_F(ConnectionTest, APageConnectsByItself) {
    connection.OnAutoConnectTimer();
    host.settings.onPage = host.settings.clientSettingMode = true;
    connection.OnAutoConnectTimer();
    EXPECT_EQ(host.Take(), Statuses{});
    host.settings.clientSettingMode = false;
    host.timers[ConnectionTimer::AutoConnect] = 1000;
    host.userAsked = true;
    connection.OnAutoConnectTimer();
    connection.OnReconnectTimer();
    EXPECT_EQ(host.Take(), Statuses{}) << "the answer to another view of the page counts for this one";
    EXPECT_EQ(host.Timer(ConnectionTimer::Reconnect), 1000u);
    EXPECT_TRUE(host.Timer(ConnectionTimer::AutoConnect));
    host.forbidden = {"camera"};
    EXPECT_EQ(Connect(), -1);
    EXPECT_EQ(host.Timer(ConnectionTimer::Reconnect), 1000u);
    host.forbidden.clear();
    host.userAsked = false;
    host.looksUp = true;
    host.settings.mediaServiceUri = "http://service.example/onvif";
    host.Take();
    connection.OnReconnectTimer();
    EXPECT_EQ(host.Take(), Statuses{}) << "names are looked up beside the window's thread";
    EXPECT_EQ(host.lookedUp, (Texts{"camera", "service.example"}));
    EXPECT_EQ(host.Timer(ConnectionTimer::Reconnect), 50u);
    host.looksUp = false;
    host.settings.mediaServiceUri.clear();
    host.timers.clear();
    host.Take();
    host.timers[ConnectionTimer::AutoConnect] = 1000;
    connection.OnAutoConnectTimer();
    EXPECT_EQ(host.Take(), Statuses{ecsConnecting});
    EXPECT_FALSE(host.Timer(ConnectionTimer::AutoConnect)) << "it would tick as long as the connection lasts";
    host.timers[ConnectionTimer::AutoConnect] = 1000;
    connection.OnAutoConnectTimer();
    EXPECT_FALSE(host.Timer(ConnectionTimer::AutoConnect));
}

// ---- What is told of the stream

TEST_F(ConnectionTest, TellsCodecAndRateWhileThereIsAConnection) {
    camera.AnswerAs("h264");
    Connect();
    Report(ecsConnected);
    EXPECT_EQ(connection.StreamCodec(), VideoCodec::H264);
    const std::wstring caption = session->param.captionText.Get();
    EXPECT_EQ(caption, L"(AV-UDP)");
    session->param.serverFrameRate.Set(5);
    for (int i = 0; i < 100; ++i)
        session->param.CountFrame(FrameCounters::kDisplayed);
    platform.skippedMs = 1000;
    connection.OnStatisticsTimer();
    EXPECT_EQ(host.rates.front(), 5) << "no camera shows more than it sends";
    EXPECT_EQ(connection.AverageFrameRate(), 5);
    EXPECT_EQ(host.caption, caption);

    session->param.obstacle.Set(L"8192 x 8192: too large to be shown");
    connection.OnStatisticsTimer();
    EXPECT_EQ(host.caption, L"8192 x 8192: too large to be shown");
    session->param.obstacle.Set(L"");
    session->param.streamProblem.Set("VP9");
    connection.OnStatisticsTimer();
    EXPECT_EQ(host.caption, caption + L" (VP9)");
    session->param.streamProblem.Set("");
    host.settings.captionInfo = eciStatus;
    host.caption = L"Connected!";
    connection.OnStatisticsTimer();
    EXPECT_EQ(host.caption, L"Connected!");
    connection.Disconnect();
    EXPECT_EQ(connection.StreamCodec(), VideoCodec::None);
    EXPECT_EQ(connection.AverageFrameRate(), 0);
    EXPECT_EQ(host.begun, 1);
}

}  // namespace
}  // namespace norix
