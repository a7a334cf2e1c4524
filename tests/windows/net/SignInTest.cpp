// A camera that sends its clients to somebody else, once they have signed in: he sees nothing of it, whatever
// the client, the kind of redirection and the place.

#include "tests/support/WebServer.h"
// After Windows Sockets.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "camera/WinInetTransport.h"
#include "camera/onvif/OnvifProvider.h"
#include "camera/onvif/OnvifRoute.h"
#include "include/HTTP/HttpStreamReceiver.h"
#include "include/RTSP/RTSPSession.h"
#include "media/CtrlParam.h"
#include "protocol/Text.h"

namespace norix {
namespace {

constexpr char kUser[] = "admin";
constexpr char kPassword[] = "swordfish";
constexpr char kChallenges[] =
    "WWW-Authenticate: Basic realm=\"r\"\r\nWWW-Authenticate: Digest realm=\"r\", nonce=\"n\"\r\n";

bool IsRtsp(const std::string& request) {
    return request.substr(0, request.find('\r')).ends_with("RTSP/1.0");
}

std::string Reply(const std::string& request, const std::string& status, const std::string& lines) {
    if (!IsRtsp(request)) return "HTTP/1.0 " + status + "\r\n" + lines + "Content-Length: 0\r\n\r\n";
    const std::size_t at = request.find("CSeq: ");
    return "RTSP/1.0 " + status + "\r\n" + request.substr(at, request.find('\r', at) - at) + "\r\n" + lines +
           "\r\n";
}

bool SignsIn(const std::string& request) {
    return request.find("\r\nAuthorization: Digest") != std::string::npos;
}

// Whoever a client is sent to: asks for a password in every way, and writes down what it is given.
class Witness {
  public:
    Witness(const char* host, std::uint16_t port)
        : m_host(host),
          m_server(host, port, [this](const std::string& request) { return Answer(request); }) {}

    std::string Place() const { return m_host + ":" + std::to_string(m_server.Port()); }
    std::string At(const char* scheme) const { return scheme + Place() + "/elsewhere"; }
    int Asked() const { return m_asked; }
    std::vector<std::string> Secrets() const {
        const std::lock_guard lock(m_lock);
        return m_secrets;
    }

  private:
    std::string Answer(const std::string& request) {
        ++m_asked;
        const std::string text = protocol::toLower(request);
        for (const char* secret : {"authorization", "x-sessioncookie", "x-extra", "secret", "password",
                                   "usernametoken", "admin", "swordfish"}) {
            if (text.find(secret) == std::string::npos) continue;
            const std::lock_guard lock(m_lock);
            m_secrets.push_back(request);
            break;
        }
        if (request.starts_with("OPTIONS ")) return Reply(request, "200 OK", "Public: DESCRIBE\r\n");
        return Reply(request, "401 Unauthorized", kChallenges);
    }

    std::atomic<int> m_asked{0};
    mutable std::mutex m_lock;
    std::vector<std::string> m_secrets;
    const std::string m_host;
    WebServer m_server;
};

class SignIn : public testing::TestWithParam<int> {
  protected:
    SignIn()
        : m_camera("127.0.0.1", 0, [this](const std::string& request) { return Answer(request); }),
          m_otherPort("127.0.0.1", 0),
          m_otherHost("127.0.0.2", m_camera.Port()) {}

    // Each place that is not the camera, as a Location, with the client that gets it. The camera has seen the
    // sign-in each time before.
    void TryEach(const std::vector<std::string>& locations, const std::function<void()>& client) {
        for (const std::string& location : locations) {
            SCOPED_TRACE(location);
            {
                const std::lock_guard lock(m_lock);
                m_location = location;
            }
            m_signedIn = 0;
            const int asked = m_otherPort.Asked() + m_otherHost.Asked();
            client();
            EXPECT_GT(m_signedIn, 0);
            EXPECT_GT(m_otherPort.Asked() + m_otherHost.Asked(), asked) << "not followed";
        }
        EXPECT_THAT(m_otherPort.Secrets(), testing::IsEmpty());
        EXPECT_THAT(m_otherHost.Secrets(), testing::IsEmpty());
    }

    std::vector<std::string> WebPlaces() const {
        return {m_otherPort.At("http://"), m_otherHost.At("http://"), m_otherHost.At("//"),
                "http://admin:swordfish@" + m_otherPort.Place() + "/"};
    }

    HttpRequest Command(const char* verb) const {
        HttpRequest request;
        request.host = "127.0.0.1";
        request.port = m_camera.Port();
        request.user = kUser;
        request.password = kPassword;
        request.verb = verb;
        request.path = "/kest-cgi/setParam.cgi?";
        request.headers = "X-Extra: 1\r\n";
        if (request.verb == "POST") request.body = "secret=1";
        return request;
    }

    WebServer m_camera;
    Witness m_otherPort;
    Witness m_otherHost;
    std::atomic<bool> m_redirectOptions{true};

  private:
    std::string Answer(const std::string& request) {
        if (!SignsIn(request)) return Reply(request, "401 Unauthorized", kChallenges);
        ++m_signedIn;
        if (request.starts_with("OPTIONS ") && !m_redirectOptions) {
            return Reply(request, "200 OK", "Public: DESCRIBE\r\n");
        }
        const std::lock_guard lock(m_lock);
        return Reply(request, std::to_string(GetParam()) + " Moved", "Location: " + m_location + "\r\n");
    }

    std::atomic<int> m_signedIn{0};
    std::mutex m_lock;
    std::string m_location;  // under m_lock
};

TEST_P(SignIn, OfACommandStaysWithItsCamera) {
    WinInetTransport transport;
    std::vector<std::string> places = WebPlaces();
    places.push_back(m_otherPort.At("https://"));
    for (const char* verb : {"GET", "POST"})
        TryEach(places, [&] { transport.Send(Command(verb)); });
}

TEST_P(SignIn, OfAnOnvifRequestStaysWithItsCamera) {
    WinInetTransport transport;
    TryEach(WebPlaces(), [&] {
        OnvifProvider provider(transport, L"");
        OnvifQuestion question;
        question.host = "127.0.0.1";
        question.port = m_camera.Port();
        question.user = kUser;
        question.password = kPassword;
        EXPECT_FALSE(AskOnvif(provider.Media(), question));
    });
}

TEST_P(SignIn, OfAStreamOverHttpStaysWithItsCamera) {
    TryEach(WebPlaces(), [&] {
        const auto param = std::make_shared<CCtrlParam>(MediaSettings{2, 1000, 2, 1000});
        HttpStreamReceiver receiver(HttpStreamReceiver::Kind::Video, param, nullptr);
        HttpStreamRequest request;
        request.host = "127.0.0.1";
        request.port = m_camera.Port();
        request.path = "/kest-cgi/mjpeg.cgi";
        request.user = kUser;
        request.password = kPassword;
        request.headers = "X-Extra: 1\r\n";
        ASSERT_TRUE(receiver.Begin(request, nullptr));
        while (receiver.TakeAnswer() == HttpStreamReceiver::Answer::Pending)
            Sleep(1);
        EXPECT_NE(receiver.TakeAnswer(), HttpStreamReceiver::Answer::Streaming);
    });
}

TEST_P(SignIn, OfAnRtspSessionStaysWithItsCamera) {
    for (const bool options : {true, false}) {
        m_redirectOptions = options;
        TryEach({m_otherPort.At("rtsp://"), m_otherHost.At("rtsp://")}, [&] {
            SessionSettings settings;
            settings.protocol = ecpTCP;
            settings.streamUri = "rtsp://127.0.0.1:" + std::to_string(m_camera.Port()) + "/stream";
            settings.userName = kUser;
            settings.password = kPassword;
            RTSPSession session(settings, std::make_shared<CCtrlParam>(MediaSettings{2, 1000, 2, 1000}),
                                nullptr);
            session.RTSPStart();  // ends by itself: nobody lets it in
        });
    }
}

INSTANTIATE_TEST_SUITE_P(Redirected, SignIn, testing::Values(301, 302, 303, 307, 308));

}  // namespace
}  // namespace norix
