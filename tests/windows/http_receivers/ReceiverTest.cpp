// A receiver against a camera that behaves well, badly, or not at all.

#include "ScriptedServer.h"
// After Windows Sockets.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>

#include "include/HTTP/HttpStreamReceiver.h"
#include "net/StreamSocket.h"
#include "tests/native/http_receivers/Streams.h"
#include "tests/support/DebuggerCapture.h"
#include "tests/windows/util/PrivateHives.h"
#include "util/Log.h"
#include "util/Settings.h"

namespace http_test {
namespace {

using namespace norix;
using testing::HasSubstr;
using testing::Not;
using Kind = HttpStreamReceiver::Kind;

constexpr std::uint32_t kStallMs = 150;
const std::string kOk = "HTTP/1.1 200 OK\r\nContent-Type: multipart/x-mixed-replace; boundary=foo\r\n\r\n";
const std::string kPicture = Jpeg(20'000);
const std::string kPart =
    "--foo\r\nContent-Length: " + std::to_string(kPicture.size()) + "\r\n\r\n" + kPicture + "\r\n";

struct Players : MediaPlayers {
    std::atomic<int> starts{0};
    void Start() override { ++starts; }
};

constexpr UINT kCall = WM_APP + 100;

LRESULT CALLBACK CallWhatIsSent(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == kCall) (*reinterpret_cast<std::function<void()>*>(lParam))();
    return DefWindowProcW(window, message, wParam, lParam);
}

class HttpReceiverTest : public testing::Test {
  protected:
    HttpReceiverTest() {
        WNDCLASSW windowClass = {};
        windowClass.lpszClassName = L"NorixHttpTest";
        windowClass.lpfnWndProc = CallWhatIsSent;
        RegisterClassW(&windowClass);
        m_window = CreateWindowW(windowClass.lpszClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                 nullptr, nullptr);
        m_param->window.Set(m_window);
        util::Switches().output.Set(1);
    }
    ~HttpReceiverTest() override {
        util::Switches().output.Set(0);
        DestroyWindow(m_window);
        UnregisterClassW(L"NorixHttpTest", nullptr);
    }

    std::unique_ptr<HttpStreamReceiver> Receiver(Kind kind = Kind::Video) {
        return std::make_unique<HttpStreamReceiver>(kind, m_param, m_players, HttpReceiverTiming{kStallMs});
    }

    static HttpStreamRequest Request(const ScriptedServer& server) {
        HttpStreamRequest request;
        request.host = "127.0.0.1";
        request.port = server.Port();
        request.path = "/kest-cgi/mjpeg.cgi?channel=1&stream=1";
        request.user = "admin";
        request.password = "secret";
        request.timeLimitMs = 2000;
        return request;
    }

    // The statuses that are posted, at least until there are as many or the deadline is over.
    std::vector<WPARAM> Statuses(std::size_t count = 0) {
        std::vector<WPARAM> statuses;
        for (int i = 0; i < 500; ++i) {
            MSG message;
            while (PeekMessageW(&message, m_window, WM_OnConnectStatus, WM_OnConnectStatus, PM_REMOVE))
                statuses.push_back(message.wParam);
            if (statuses.size() >= count) break;
            Sleep(10);
        }
        return statuses;
    }

    // Waits for the camera's answer; whoever sends a message meanwhile may end the receiver.
    bool Start(std::unique_ptr<HttpStreamReceiver>& receiver, const HttpStreamRequest& request) {
        using Answer = HttpStreamReceiver::Answer;
        if (!receiver->Begin(request, nullptr)) return false;
        Answer answer = Answer::Pending;
        while (receiver && (answer = receiver->TakeAnswer()) == Answer::Pending)
            platform::AnswerSentMessages(10);
        if (receiver && answer == Answer::Streaming) return true;
        if (receiver) receiver->Stop();
        m_param->ResetForNewStream();
        return false;
    }

    // Starts the receiver, and calls this while it does, from inside a message that another thread sends.
    bool StartCalling(std::unique_ptr<HttpStreamReceiver>& receiver, const HttpStreamRequest& request,
                      std::function<void()> call) {
        std::atomic<bool> done{false};
        std::thread sender([&] {
            Sleep(100);
            SendMessageW(m_window, kCall, 0, reinterpret_cast<LPARAM>(&call));
            done = true;
        });
        const bool started = Start(receiver, request);
        while (!done)
            platform::AnswerSentMessages(10);
        sender.join();
        return started;
    }

    util::test::PrivateHives m_hives;
    HWND m_window = nullptr;
    std::shared_ptr<CCtrlParam> m_param = std::make_shared<CCtrlParam>();
    std::shared_ptr<Players> m_players = std::make_shared<Players>();
};

TEST_F(HttpReceiverTest, AStartThatFailsReportsNothingButItself) {
    const test::DebuggerCapture log;
    const std::string denied = "HTTP/1.1 401 No\r\nWWW-Authenticate: Basic realm=\"r\"\r\n\r\n";
    const ScriptedServer server({{"HTTP/1.1 200 OK\r\nContent-Type: text/html\r\n\r\n<html>", kHold},
                                 {"SSH-2.0-OpenSSH\r\n", kHold},
                                 {"HTTP/1.1 200", kPause, kPause, " OK\r\nX: 1\r\n", kHold},
                                 {denied},
                                 {denied},
                                 {}});
    auto receiver = Receiver();
    for (const char* reason : {"not media but text/html", "the answer is not HTTP", "nothing came in time",
                               "user name or password is wrong", "the camera has ended the connection"}) {
        auto request = Request(server);
        request.timeLimitMs = 300;
        EXPECT_FALSE(Start(receiver, request));
        bool said = false;
        for (const std::string& line : log.Messages()) {
            said = said || line.find(reason) != std::string::npos;
            EXPECT_THAT(line, Not(HasSubstr("secret")));
        }
        EXPECT_TRUE(said) << reason;
    }
    EXPECT_EQ(server.Requests().size(), 6u);
    for (const char* host : {"no-such-host.invalid", "bad host", "127.0.0.1"}) {
        HttpStreamRequest request;
        request.host = host;
        request.port = 9;
        request.path = "/";
        request.timeLimitMs = 300;
        EXPECT_FALSE(Start(receiver, request)) << host;
    }
    EXPECT_TRUE(Statuses().empty());
    EXPECT_EQ(m_players->starts, 0);
}

// Sound that pictures can do without: asked for again, but not with a password that was refused.
TEST_F(HttpReceiverTest, ARefusedSignInIsNotRepeated) {
    const std::string denied = "HTTP/1.1 401 No\r\nWWW-Authenticate: Basic realm=\"r\"\r\n\r\n";
    const ScriptedServer server({{"HTTP/1.1 503 Later\r\n\r\n"}, {denied}, {denied}, {denied}, {denied}});
    HttpStreamReceiver receiver(Kind::Audio, m_param, m_players, {kStallMs, 10});
    ASSERT_TRUE(receiver.Begin(Request(server), nullptr));
    for (int i = 0; i < 500 && server.Requests().size() < 3; ++i)
        Sleep(10);
    Sleep(200);  // many times as long as it waits between two tries
    EXPECT_EQ(server.Requests().size(), 3u);
}

// A thread that doesn't end is waited for again and again, with a line each time; a busy machine brings few.
TEST_F(HttpReceiverTest, StopsWhateverTheThreadIsAt) {
    const test::DebuggerCapture log;
    std::string many;
    for (int i = 0; i < 30; ++i)
        many += kPart;
    const ScriptedServer server({{kOk + many, kHold}, {kOk, kHold}, {kHold}, {kHold}, {kOk, kHold}});
    auto receiver = Receiver();

    ASSERT_TRUE(Start(receiver, Request(server)));  // nobody takes the pictures: it waits for a record
    while (m_param->GetFrameCount(FrameCounters::kReceived) < 11)
        Sleep(1);
    receiver->Stop();
    EXPECT_TRUE(m_param->IsClosing());
    m_param->ResetForNewStream();

    ASSERT_TRUE(Start(receiver, Request(server)));  // it waits for bytes
    receiver->Stop();
    m_param->ResetForNewStream();

    const auto stop = [&] { receiver->Stop(); };
    EXPECT_FALSE(StartCalling(receiver, Request(server), stop));  // it waits for the head
    EXPECT_FALSE(StartCalling(receiver, Request(server), [&] { receiver.reset(); }));
    receiver = Receiver();  // it connects to where nobody answers
    HttpStreamRequest nobody = Request(server);
    nobody.host = "192.0.2.1";
    EXPECT_FALSE(StartCalling(receiver, nobody, stop));

    m_param->ResetForNewStream();
    ASSERT_TRUE(Start(receiver, Request(server)));
    receiver.reset();  // its end stops it too
    EXPECT_TRUE(Statuses().empty());
    for (const std::string& line : log.Messages())
        EXPECT_THAT(line, Not(HasSubstr("[02] Wait for")));
}

std::atomic<util::Event*> g_resolverMayAnswer{nullptr};
std::atomic<int> g_resolversDone{0};

std::vector<net::SocketAddress> HangingResolver(const std::string&) {
    g_resolverMayAnswer.load()->Wait(INFINITE);
    ++g_resolversDone;
    return net::numericAddresses("127.0.0.1");
}

TEST(StreamSocket, AResolverThatHangsHoldsNobodyUp) {
    using Result = net::StreamSocket::Result;
    ScriptedServer server(std::vector<Script>{});
    util::Event stop(util::Event::Kind::kManualReset);
    util::Event answer(util::Event::Kind::kManualReset);
    g_resolverMayAnswer = &answer;
    const auto before = net::Lookup::systemCall.exchange(&HangingResolver);
    net::StreamSocket socket(stop.Get());
    EXPECT_EQ(socket.connect("camera.test", server.Port(), 50), Result::NoAddress);
    stop.Set();
    EXPECT_EQ(socket.connect("camera.test", server.Port(), 60'000), Result::Stopped);
    stop.Reset();
    answer.Set();
    EXPECT_EQ(socket.connect("camera.test", server.Port(), 60'000), Result::Done);
    while (g_resolversDone == 0)
        Sleep(1);
    net::Lookup::systemCall = before;
}

}  // namespace
}  // namespace http_test
