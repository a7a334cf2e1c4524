// The way through WinInet, against servers that behave and servers that don't.

#include "camera/WinInetTransport.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cstdlib>
#include <future>

#include "ScriptedServer.h"
#include "camera/Charset.h"
#include "util/Handles.h"
#include "util/Settings.h"

namespace norix::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr char kUnauthorized[] = "HTTP/1.0 401 Unauthorized\r\n";

HttpRequest To(std::uint16_t port, std::string path = "/kest-cgi/getParam.cgi?x") {
    HttpRequest request;
    request.host = "127.0.0.1";
    request.port = port;
    request.path = std::move(path);
    return request;
}

HttpRequest As(HttpRequest request, std::string user, std::string password) {
    request.user = std::move(user);
    request.password = std::move(password);
    return request;
}

HttpReply Send(const HttpRequest& request) {
    WinInetTransport transport;
    return transport.Send(request);
}

double SecondsOf(const std::function<void()>& work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

TEST(WinInetTransport, SendsWhatWasAskedAndNothingOfItsOwn) {
    ScriptedServer server(Reply("a=1\n", "Content-Type: text/plain; charset=gb2312\r\nSet-Cookie: c=1\r\n"));
    HttpRequest post = To(server.Port(), "/kest-cgi/setParam.cgi?");
    post.verb = "POST";
    post.headers = "Content-Type: application/x-www-form-urlencoded\r\n";
    post.body = "a=1&b=%26";
    for (const HttpRequest& request : {post, As(To(server.Port(), "/p\r\nX: y"), "u", "p")}) {
        const HttpReply reply = Send(request);
        EXPECT_TRUE(reply.answered && !reply.stalled);
        EXPECT_EQ(reply.status, 200u);
        EXPECT_EQ(reply.body, "a=1\n");
        EXPECT_THAT(reply.headers, StartsWith("HTTP/1.0 200 OK\r\n"));
        EXPECT_THAT(reply.headers, HasSubstr("\r\nContent-Type: text/plain; charset=gb2312\r\n"));
    }
    const auto requests = server.Requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_THAT(requests[0], StartsWith("POST /kest-cgi/setParam.cgi? HTTP/1.0\r\n"));
    EXPECT_THAT(requests[0], HasSubstr("User-Agent: RTSP URL\r\n"));
    EXPECT_THAT(requests[0], HasSubstr("Content-Type: application/x-www-form-urlencoded\r\n"));
    EXPECT_THAT(requests[0], testing::EndsWith("\r\n\r\na=1&b=%26"));
    EXPECT_THAT(requests[1], StartsWith("GET /p%0D%0AX:%20y HTTP/1.0\r\n"));
    EXPECT_THAT(requests[1], AllOf(Not(HasSubstr("Cookie:")), Not(HasSubstr("Authorization:"))));
}

TEST(WinInetTransport, ForgetsWrongPasswords) {
    // Base64 of "admin:wrong" and "admin:right".
    ScriptedServer server([](Client& client, const std::string& request) {
        const bool right = request.find("Authorization: Basic YWRtaW46cmlnaHQ=\r\n") != request.npos;
        client.Send(right ? Reply("in")
                          : std::string(kUnauthorized) + "WWW-Authenticate: Basic realm=\"c\"\r\n\r\nout");
    });
    const HttpRequest request = To(server.Port());
    const HttpReply refused = Send(As(request, "admin", "wrong"));
    EXPECT_EQ(refused.status, 401u);
    EXPECT_EQ(refused.body, "out");
    EXPECT_EQ(server.Requests().size(), 2u) << "one retry only";
    EXPECT_EQ(Send(As(request, "admin", "right")).body, "in");
    EXPECT_EQ(Send(As(request, "admin", "wrong")).status, 401u);
    EXPECT_EQ(Send(request).status, 401u);
    EXPECT_EQ(server.Requests().size(), 7u);
}

TEST(WinInetTransport, AnswersDigest) {
    // By hand: md5(md5("u:r:p") ":n:" md5("GET:/x?a=b%20c")).
    ScriptedServer server([](Client& client, const std::string& request) {
        const bool right = request.find("response=\"ea77d46c3f78dcdae5f3a134439d3fdb\"") != request.npos;
        client.Send(right ? Reply("in")
                          : std::string(kUnauthorized) +
                                "WWW-Authenticate: Basic realm=\"r\"\r\n"
                                "WWW-Authenticate: Digest realm=\"r\", nonce=\"n\"\r\n\r\n");
    });
    EXPECT_EQ(Send(As(To(server.Port(), "/x?a=b c"), "u", "p")).body, "in") << server.Requests().back();
}

TEST(WinInetTransport, TakesNoMoreThanWanted) {
    ScriptedServer server([](Client& client, const std::string&) {
        client.Send("HTTP/1.0 200 OK\r\nContent-Length: 67108864\r\n\r\n");
        const std::string piece(1 << 20, 'x');
        for (int i = 0; i < 64 && client.Send(piece); ++i) {
        }
    });
    EXPECT_EQ(Send(To(server.Port())).body, std::string(80000, 'x'));
}

TEST(WinInetTransport, TakesRepliesOfManyForms) {
    struct Case {
        const char* reply;
        const char* body;
    };
    for (const Case& c :
         {Case{"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n1\r\nd\r\n0\r\n\r\n",
               "abcd"},
          Case{"HTTP/1.0 200 OK\n\nuntil the end", "until the end"},
          Case{"HTTP/1.0 200 OK\r\nContent-Length: 0\r\n\r\n", ""},
          Case{"HTTP/1.0 404 Not Found\r\n\r\nnothing", "nothing"}}) {
        ScriptedServer server(std::string(c.reply));
        const HttpReply reply = Send(To(server.Port()));
        EXPECT_TRUE(reply.answered) << c.reply;
        EXPECT_EQ(reply.body, c.body) << c.reply;
    }
    // Nothing that could be a reply: whatever comes of it, it comes soon and is no more than what was sent.
    for (const std::string& garbage :
         {std::string("a=1\nb=2\n"), std::string("\0\xff\r\n\r\n", 6), std::string(),
          "HTTP/1.0 200 OK\r\nX: " + std::string(200000, 'y') + "\r\n\r\n",
          std::string("HTTP/1.0 200 OK\r\nContent-Length: -1\r\n\r\n")}) {
        ScriptedServer server(garbage);
        EXPECT_LE(Send(To(server.Port())).body.size(), garbage.size());
    }
}

TEST(WinInetTransport, FollowsRedirectionsOnTheSameServer) {
    ScriptedServer server([](Client& client, const std::string& request) {
        client.Send(request.starts_with("GET /new")
                        ? Reply("there")
                        : "HTTP/1.0 302 Found\r\nLocation: /new\r\nContent-Length: 0\r\n\r\n");
    });
    EXPECT_EQ(Send(To(server.Port())).body, "there");
    ScriptedServer endless("HTTP/1.0 302 Found\r\nLocation: /\r\nContent-Length: 0\r\n\r\n");
    EXPECT_EQ(Send(To(endless.Port())).status, 302u);
    EXPECT_EQ(endless.Requests().size(), 4u);
}

TEST(WinInetTransport, GivesUpOnServersThatKeepItWaiting) {
    BlackHole hole;
    ScriptedServer silent([](Client& client, const std::string&) { client.WaitForEnd(); });
    ScriptedServer dripsHeaders([](Client& client, const std::string&) {
        client.Drip("HTTP/1.0 200 OK\r\nX: " + std::string(60, 'y'), 900);
    });
    ScriptedServer dripsBody([](Client& client, const std::string&) {
        client.Send("HTTP/1.0 200 OK\r\nContent-Length: 100\r\n\r\n");
        client.Drip(std::string(60, 'y'), 900);
    });
    ScriptedServer stalls([](Client& client, const std::string&) {
        client.Send("HTTP/1.0 200 OK\r\nContent-Length: 100\r\n\r\nbegun");
        client.WaitForEnd();
    });
    struct Case {
        const char* name;
        std::uint16_t port;
        double most;  // seconds: far from the limit below, far from for ever above
        bool answered;
        bool secure = false;
    };
    const Case cases[] = {
        {"black hole", hole.Port(), 2.5, false},           {"silent", silent.Port(), 2.5, false},
        {"no handshake", silent.Port(), 4.5, false, true}, {"stalls", stalls.Port(), 2.5, true},
        {"drips headers", dripsHeaders.Port(), 7, false},  {"drips body", dripsBody.Port(), 7, true}};
    std::vector<std::future<void>> running;
    for (const Case& c : cases) {
        running.push_back(std::async(std::launch::async, [c] {
            HttpRequest request = To(c.port);
            request.secure = c.secure;
            HttpReply reply;
            EXPECT_LT(SecondsOf([&] { reply = Send(request); }), c.most) << c.name;
            EXPECT_EQ(reply.answered, c.answered) << c.name;
            EXPECT_EQ(reply.stalled, c.answered) << c.name;
            EXPECT_EQ(reply.body, "") << c.name;
        }));
    }
    running.clear();
    // What is stuck does not stand in the way of what isn't.
    ScriptedServer good(Reply("good"));
    EXPECT_EQ(Send(To(good.Port())).body, "good");
}

TEST(WinInetTransport, RefusesAddressesThatAreNone) {
    for (const char* host : {"", "a b", "a/b", "a\r\nX: y", "u@h", "127.0.0.1:80"}) {
        HttpRequest request = To(1);
        request.host = host;
        EXPECT_FALSE(Send(request).answered) << host;
    }
    EXPECT_FALSE(Send(To(1)).answered) << "nobody listens there";
}

TEST(Charset, ConvertsByTheSystemsCodePages) {
    EXPECT_EQ(BytesToWide("a\xC3\xC5", kCodePageGb2312), L"a\x95E8");
    EXPECT_EQ(WideToBytes(L"a\x95E8", kCodePageGb2312), "a\xC3\xC5");
    EXPECT_EQ(WideToBytes(L"a\x95E8", kCodePageAscii), "a?");
    EXPECT_EQ(BytesToWide("a\xC3", kCodePageGb2312).front(), L'a') << "half a character at the end";
    EXPECT_EQ(BytesToWide("", kCodePageSystem), L"");
}

// Stores the user's choice and puts the earlier state back.
class AllowSelfSigned {
  public:
    explicit AllowSelfSigned(DWORD value) {
        RegCreateKeyExW(HKEY_CURRENT_USER, util::kClientSettingKey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                        m_key.Put(), nullptr);
        RegSetValueExW(m_key.Get(), kName, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof value);
    }
    ~AllowSelfSigned() { RegDeleteValueW(m_key.Get(), kName); }
    AllowSelfSigned(const AllowSelfSigned&) = delete;
    AllowSelfSigned& operator=(const AllowSelfSigned&) = delete;

  private:
    static constexpr wchar_t kName[] = L"AllowSelfSignedCertificate";
    util::RegKey m_key;
};

// other_servers_test.py runs the servers for these two and says where.
TEST(OtherServers, SelfSignedCertificatesAreRefusedUnlessAllowed) {
    const char* const port = std::getenv("NORIX_TEST_HTTPS_PORT");
    if (!port) GTEST_SKIP() << "needs its server";
    HttpRequest request = To(static_cast<std::uint16_t>(std::atoi(port)));
    request.secure = true;
    EXPECT_FALSE(Send(request).answered);
    {
        const AllowSelfSigned allow(1);
        EXPECT_EQ(Send(request).body, "secure");
    }
    const AllowSelfSigned forbid(0);
    EXPECT_FALSE(Send(request).answered);
}

TEST(OtherServers, TheConfiguredProxyIsUsed) {
    if (!std::getenv("http_proxy")) GTEST_SKIP() << "needs its server";
    HttpRequest request = To(80, "/x?y");
    request.host = "camera.invalid";
    EXPECT_EQ(Send(request).body, "http://camera.invalid:80/x?y");
}

}  // namespace
}  // namespace norix::test
