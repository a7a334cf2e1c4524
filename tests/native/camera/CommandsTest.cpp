// The conversation with a camera whose replies a test writes down.

#include "camera/CameraCommands.h"

#include <gmock/gmock.h>

#include <deque>

#include "tests/support/LogCapture.h"

namespace norix {
namespace {

using testing::HasSubstr;

HttpReply Answer(std::string body, std::string headers = "HTTP/1.0 200 OK\r\n") {
    HttpReply reply;
    reply.answered = true;
    reply.status = 200;
    reply.body = std::move(body);
    reply.headers = std::move(headers);
    return reply;
}

class CameraCommandsTest : public testing::Test, protected HttpTransport {
  protected:
    CameraCommandsTest() { commands.access.serverIP = "camera"; }

    HttpReply Send(const HttpRequest& request) override {
        requests.push_back(request);
        if (replies.empty()) return {};
        HttpReply reply = std::move(replies.front());
        replies.pop_front();
        return reply;
    }

    std::deque<HttpReply> replies;  // in order; none left: no answer
    std::vector<HttpRequest> requests;
    CameraCommands commands{*this};
};

TEST_F(CameraCommandsTest, MakesRequestsOfCommands) {
    struct Case {
        const char* type;
        const char* url;
        const char* path;
        const char* body;
    };
    for (const Case& c :
         {Case{"GET", "/kest-cgi/a.cgi?x=1?", "/kest-cgi/a.cgi?x=1?", ""},
          Case{"POST", "/kest-cgi/a.cgi?x=1?", "/kest-cgi/a.cgi?", "x=1?"}, Case{"POST", "x=1", "", "x=1"}}) {
        replies = {Answer("body")};
        commands.access = {"unused", 8080, false, 443, "u", "p"};
        EXPECT_EQ(commands.HttpCommandBytes(c.type, "host", c.url, true), "body");
        const HttpRequest& request = requests.back();
        EXPECT_EQ(request.verb, c.type);
        EXPECT_EQ(request.path, c.path);
        EXPECT_EQ(request.body, c.body);
        EXPECT_EQ(request.host + request.user + request.password, "hostup");
        EXPECT_EQ(request.port, 8080);
        EXPECT_EQ(request.headers.empty(), request.verb == "GET");
    }
    commands.access.https = true;
    commands.HttpCommandBytes("GET", "host", "/", true);
    EXPECT_TRUE(requests.back().secure);
    EXPECT_EQ(requests.back().port, 443);
}

TEST_F(CameraCommandsTest, AnswersCommandsWithTheReplyOrError) {
    EXPECT_EQ(commands.HttpCommand("GET", "", "/", true), L"");
    EXPECT_EQ(commands.HttpCommand("get", "host", "/", true), L"");
    EXPECT_TRUE(requests.empty());
    EXPECT_EQ(commands.HttpCommand("GET", "host", "/", false), L"Error");
    replies = {Answer("body"), Answer(std::string("a\0b", 3)), Answer(std::string(90000, 'x'))};
    EXPECT_EQ(commands.HttpCommand("GET", "host", "/", false), L"");
    EXPECT_EQ(commands.HttpCommand("GET", "host", "/", true), L"a");
    EXPECT_EQ(commands.HttpCommand("GET", "host", "/", true), std::wstring(80000, L'x'));
    commands.access.httpPort = 65536 + 80;
    EXPECT_EQ(commands.HttpCommand("GET", "host", "/", true), L"Error") << "not port 80";
}

TEST_F(CameraCommandsTest, LogsCommandsWithoutSecrets) {
    const util::LogCapture log;
    replies = {Answer("model=x\nuser_password=hidden1\n")};
    std::string model;
    const std::vector<CgiParam> table{{"model", model}};
    commands.GetParams(table);
    commands.HttpCommand("GET", "cam", "/kest-cgi/setParam.cgi?user_password=hidden2&x=1", true);
    EXPECT_TRUE(log.Contains("CNorixSDKCtrl::ParseCGIParams() model=x"));
    EXPECT_TRUE(log.Contains(
        "CNorixSDKCtrl::HttpCommand(GET, http://cam:80/kest-cgi/setParam.cgi?user_password=***&x=1)"));
    EXPECT_FALSE(log.Contains("hidden"));
}

TEST_F(CameraCommandsTest, ReadsTheWholeCamera) {
    replies = {Answer("Model=M\r\nSerialNumber=12ab\nCameraNumber=2\nONVIFSupport=0\n"),
               Answer("rtsp_rtspport=8554\nhttp_httpport=81\nhttp_httpsport=Not Exist\n"),
               Answer("video_codectype=h264,mjpg;mp4v\n"),
               Answer("video02_text=Tor\r\nvideo02_maxframe01_mp4v=4\nvideo_actualmodulation=2\nvideo02_"
                      "codepage=GB2312\r\n",
                      "HTTP/1.0 200 OK\r\nContent-Type: text/plain; charset=us-ascii\r\n"),
               Answer("motiondetect02_winname03=door\nmotiondetect02_winobjsize03=7\n"
                      "motiondetect02_refheight=240\n")};
    StreamSelection selection{5, 5, VideoCodec::H264};
    const auto outcome = commands.RequestCameraInformation(selection);
    EXPECT_EQ(outcome.result, kResultOk);
    EXPECT_TRUE(outcome.reached);

    EXPECT_EQ(selection, (StreamSelection{2, 1, VideoCodec::Mpeg4}));
    EXPECT_EQ(commands.System().model, "M\r");
    EXPECT_EQ(commands.System().serialNumber, 12);
    EXPECT_EQ(commands.RtspPort(), 8554);
    EXPECT_EQ(commands.access.httpPort, 81);
    EXPECT_EQ(commands.access.httpsPort, 443);
    EXPECT_EQ(commands.Video().text, L"Tor");
    EXPECT_EQ(commands.Video().frameRateLimit, 4);
    EXPECT_EQ(commands.Video().standard, 2);
    EXPECT_EQ(commands.Charset(), "GB2312");
    EXPECT_EQ(commands.Motion(selection).windows[2].name, "door");
    EXPECT_EQ(commands.Motion(selection).windows[2].objectSize, 7);
    EXPECT_EQ(commands.Motion(selection).referenceHeight, 240);

    ASSERT_EQ(requests.size(), 5u);
    EXPECT_EQ(requests[0].path, "/kest-cgi/systeminfo.cgi?");
    EXPECT_THAT(requests[0].body, testing::StartsWith("Model=&HostName=&SerialNumber=0&BIOSVersion=&"));
    EXPECT_EQ(requests[1].path, "/kest-cgi/getParam.cgi?");
    EXPECT_EQ(requests[1].body, "rtsp_rtspport=554&http_httpport=80&http_httpsport=443");
    EXPECT_EQ(requests[2].verb + requests[2].path, "GET/kest-cgi/getParam.cgi?video_codectype");
    EXPECT_EQ(requests[3].body,
              "video02_imprinttimestamp=0&video02_text=&video02_codepage=&video02_maxframe01_mp4v=0&"
              "videoencoderoptions_frameratelimit=0&video_frameratetype=0&video_actualmodulation=0&"
              "videoresolutionoptions_modulation=0");
    EXPECT_EQ(std::count(requests[4].body.begin(), requests[4].body.end(), '='), 28);
    EXPECT_THAT(requests[4].body, HasSubstr("&motiondetect02_winname02=&motiondetect02_winname03=&"
                                            "motiondetect02_winenable01=0&"));
    EXPECT_EQ(requests[4].port, 81) << "the camera's own word counts at once";
}

TEST_F(CameraCommandsTest, MotionWindowsAreThoseOfTheirCameraAndChannel) {
    const StreamSelection first{1, 1, VideoCodec::H264};
    const StreamSelection second{2, 1, VideoCodec::H264};
    const auto read = [&](const StreamSelection& selection, HttpReply reply) {
        replies = {std::move(reply)};
        return commands.RequestMotionSettings(selection);
    };
    EXPECT_EQ(read(first, Answer("motiondetect_refwidth=320\n")), kResultOk);
    HttpReply page = Answer("motiondetect_refwidth=1\n");
    page.status = 404;
    EXPECT_EQ(read(second, page), kResultFail);
    EXPECT_EQ(commands.Motion(first).referenceWidth, 320);
    EXPECT_EQ(commands.Motion(second).referenceWidth, 0);
    commands.access.httpPort = 8002;
    EXPECT_EQ(commands.Motion(first).referenceWidth, 0) << "another camera behind the same address";
    EXPECT_EQ(read(second, Answer("motiondetect_winleft01=Not Exist\n")), kResultOk);
    EXPECT_THAT(requests.back().body, HasSubstr("motiondetect_refwidth=0")) << "nothing of the other one's";

    // An older conversation that comes late.
    CameraCommands earlier(*this, commands);
    EXPECT_EQ(read(second, Answer("motiondetect_refwidth=640\n")), kResultOk);
    commands.TakeFacts(earlier);
    EXPECT_EQ(commands.Motion(second).referenceWidth, 640);
    CameraCommands later(*this, commands);
    replies = {Answer("motiondetect_refwidth=960\n")};
    EXPECT_EQ(later.RequestMotionSettings(second), kResultOk);
    commands.TakeFacts(later);
    EXPECT_EQ(commands.Motion(second).referenceWidth, 960);
}

TEST_F(CameraCommandsTest, EndsWithTheFirstFailure) {
    struct Case {
        std::deque<HttpReply> replies;
        std::size_t requests;
        bool reached;
    };
    HttpReply stalled = Answer("");
    stalled.stalled = true;
    HttpReply unauthorized = Answer("Model=y");
    unauthorized.status = 401;
    const Case cases[] = {{{}, 1, false},
                          {{Answer("Error 3\nModel=x")}, 1, true},
                          {{Answer("an Error\nModel=x"), Answer("Error")}, 2, true},
                          {{Answer(""), stalled}, 2, true},
                          {{Answer(""), unauthorized}, 2, true}};
    for (const Case& c : cases) {
        replies = c.replies;
        requests.clear();
        commands.Forget();
        StreamSelection selection;
        const auto outcome = commands.RequestCameraInformation(selection);
        EXPECT_EQ(outcome.result, kResultFail);
        EXPECT_EQ(outcome.reached, c.reached);
        EXPECT_EQ(requests.size(), c.requests);
        EXPECT_EQ(commands.System().model, c.requests == 2 && !c.replies[0].body.empty() ? "x" : "");
    }
}

TEST_F(CameraCommandsTest, KeepsPortsThatCannotBe) {
    replies = {Answer("rtsp_rtspport=0\nhttp_httpport=-1\nhttp_httpsport=99999999999\n"),
               Answer("http_httpport=0\nhttp_httpsport=4443\n")};
    EXPECT_EQ(commands.RequestPorts(), kResultOk);
    EXPECT_EQ(commands.RtspPort(), 554);
    EXPECT_EQ(commands.access.httpPort, 80);
    EXPECT_EQ(commands.access.httpsPort, 443);
    EXPECT_FALSE(commands.access.https);
    commands.RequestPorts();
    EXPECT_TRUE(commands.access.https) << "plain HTTP is off";
    EXPECT_EQ(commands.access.httpsPort, 4443);
}

}  // namespace
}  // namespace norix
