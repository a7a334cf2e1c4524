// The way through WinInet, against servers that behave and servers that don't. with_server.py runs them; what
// they reply is in the bodies of the requests.

#include "camera/WinInetTransport.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cstdlib>
#include <future>

#include "camera/Charset.h"
#include "camera/HttpPolicy.h"
#include "net/KnownServers.h"
#include "util/Handles.h"
#include "util/Settings.h"

namespace norix {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

HttpRequest To(const char* port, std::string path) {
    const char* const number = std::getenv(port);
    HttpRequest request;
    request.host = "127.0.0.1";
    request.port = static_cast<std::uint16_t>(number ? std::atoi(number) : 0);
    request.path = std::move(path);
    return request;
}

HttpRequest Get(std::string path) {
    return To("NORIX_TEST_HTTP", std::move(path));
}

// A request that says what the server has to reply.
HttpRequest Post(std::string path, std::string reply) {
    HttpRequest request = Get(std::move(path));
    request.verb = "POST";
    request.body = std::move(reply);
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

int RequestsSoFar() {
    return std::atoi(Send(Get("/count")).body.c_str());
}

TEST(WinInetTransport, SendsWhatWasAskedAndNothingOfItsOwn) {
    HttpRequest request = Post("/kest-cgi/setParam.cgi?", "a=1&b=%26");
    request.headers = "Content-Type: application/x-www-form-urlencoded\r\n";
    const HttpReply reply = Send(request);
    EXPECT_TRUE(reply.answered && !reply.stalled);
    EXPECT_EQ(reply.status, 200u);
    EXPECT_THAT(reply.headers, StartsWith("HTTP/1.0 200 OK\r\n"));
    EXPECT_THAT(reply.headers, HasSubstr("\r\nContent-Type: text/plain; charset=gb2312\r\n"));
    EXPECT_THAT(reply.body, AllOf(StartsWith("POST /kest-cgi/setParam.cgi? HTTP/1.0\r\n"),
                                  HasSubstr("User-Agent: RTSP URL\r\n"), HasSubstr(request.headers),
                                  EndsWith("\r\n\r\na=1&b=%26")));
    EXPECT_THAT(Send(As(Get("/p\r\nX: y"), "u", "p")).body,
                AllOf(StartsWith("GET /p%0D%0AX:%20y HTTP/1.0\r\n"), Not(HasSubstr("Cookie:")),
                      Not(HasSubstr("Authorization:"))));
}

TEST(WinInetTransport, ForgetsPasswords) {
    const std::string refusal = "HTTP/1.0 401 Unauthorized\r\nWWW-Authenticate: Basic realm=\"c\"\r\n\r\n";
    const int before = RequestsSoFar();
    EXPECT_EQ(Send(As(Post("/say", refusal + "out"), "admin", "wrong")).body, "out");
    EXPECT_EQ(RequestsSoFar(), before + 3) << "one retry only";
    const HttpRequest request = Post("/sign-in", refusal);
    // Base64 of "admin:wrong" and "admin:right".
    EXPECT_THAT(Send(As(request, "admin", "wrong")).body, HasSubstr("tion: Basic YWRtaW46d3Jvbmc=\r\n"));
    EXPECT_THAT(Send(As(request, "admin", "right")).body, HasSubstr("tion: Basic YWRtaW46cmlnaHQ=\r\n"));
    EXPECT_EQ(Send(request).status, 401u);
}

TEST(WinInetTransport, TakesRepliesOfManyForms) {
    struct Case {
        const char* reply;
        const char* body;
    };
    for (const Case& c : {Case{"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
                               "3\r\nabc\r\n1\r\nd\r\n0\r\n\r\n",
                               "abcd"},
                          Case{"HTTP/1.0 200 OK\n\nuntil the end", "until the end"},
                          Case{"HTTP/1.0 200 OK\r\nContent-Length: 0\r\n\r\n", ""},
                          Case{"HTTP/1.0 404 Not Found\r\n\r\nnothing", "nothing"}}) {
        const HttpReply reply = Send(Post("/say", c.reply));
        EXPECT_TRUE(reply.answered) << c.reply;
        EXPECT_EQ(reply.body, c.body) << c.reply;
    }
    // Nothing that could be a reply: whatever comes of it, it comes soon and is no more than what was sent.
    for (const std::string& garbage :
         {std::string("a=1\nb=2\n"), std::string("\0\xff\r\n\r\n", 6), std::string(),
          "HTTP/1.0 200 OK\r\nX: " + std::string(200000, 'y') + "\r\n\r\n",
          std::string("HTTP/1.0 200 OK\r\nContent-Length: -1\r\n\r\n")}) {
        EXPECT_LE(Send(Post("/say", garbage)).body.size(), garbage.size());
    }
    const std::string endless = "HTTP/1.0 200 OK\r\nContent-Length: 67108864\r\n\r\n";
    EXPECT_EQ(Send(Post("/flood", endless)).body.size(), 80000u);
}

TEST(WinInetTransport, FollowsRedirections) {
    EXPECT_THAT(Send(Post("/say", "HTTP/1.0 302 Found\r\nLocation: /new\r\n\r\n")).body,
                StartsWith("GET /new "));
    const int before = RequestsSoFar();
    EXPECT_EQ(Send(Post("/say", "HTTP/1.0 307 Moved\r\nLocation: /say\r\n\r\n")).status, 307u);
    EXPECT_EQ(RequestsSoFar(), before + 5);

    // A name that was looked up before stays the name: its own address is nowhere else.
    HttpRequest named = Get("/say");
    const std::string server = "camera.test:" + std::to_string(named.port);
    named = Post("/say", "HTTP/1.0 307 Moved\r\nLocation: http://" + server + "/echo\r\n\r\n");
    named.host = "camera.test";
    named.connectTo = "127.0.0.1";
    named.route = [](const std::string& host) {
        return host == "camera.test" ? std::optional<std::string>("127.0.0.1") : std::nullopt;
    };
    EXPECT_THAT(Send(named).body,
                AllOf(StartsWith("POST /echo "), HasSubstr("\r\nHost: " + server + "\r\n")));
}

TEST(WinInetTransport, GivesUpOnServersThatKeepItWaiting) {
    const std::string head = "HTTP/1.0 200 OK\r\nContent-Length: 100\r\n\r\n";
    const std::string much(60, 'y');
    HttpRequest noHandshake = Get("/");
    noHandshake.secure = true;
    struct Case {
        HttpRequest request;
        double most;  // seconds: far from the limit below, far from for ever above
        bool answered;
    };
    const Case cases[] = {{To("NORIX_TEST_BLACK_HOLE", "/black-hole"), 2.5, false},
                          {Post("/hang", ""), 2.5, false},
                          {noHandshake, 4.5, false},
                          {Post("/hang", head + "begun"), 2.5, true},
                          {Post("/drip?0", "HTTP/1.0 200 OK\r\nX: " + much), 7, false},
                          {Post("/drip?" + std::to_string(head.size()), head + much), 7, true}};
    std::vector<std::future<void>> running;
    for (const Case& c : cases) {
        running.push_back(std::async(std::launch::async, [c] {
            const std::string name = c.request.path + ' ' + c.request.body;
            const auto begin = std::chrono::steady_clock::now();
            const HttpReply reply = Send(c.request);
            const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begin;
            EXPECT_LT(passed.count(), c.most) << name;
            EXPECT_EQ(reply.answered, c.answered) << name;
            EXPECT_EQ(reply.stalled, c.answered) << name;
            EXPECT_EQ(reply.body, "") << name;
        }));
    }
    running.clear();
    EXPECT_TRUE(Send(Get("/echo")).answered) << "what is stuck does not stand in the way of what isn't";
}

TEST(WinInetTransport, RefusesAddressesThatAreNone) {
    HttpRequest request = Get("/echo");
    for (const char* host : {"", "a b", "a/b", "a\r\nX: y", "u@h", "127.0.0.1:80"}) {
        request.host = host;
        EXPECT_FALSE(Send(request).answered) << host;
    }
}

// The address is absolute then. Without a proxy, there is nothing to see.
TEST(WinInetTransport, UsesTheProxy) {
    if (!std::getenv("http_proxy")) return;
    HttpRequest request = Get("/x?y");
    request.host = "camera.invalid";
    request.port = 80;
    EXPECT_THAT(Send(request).body, StartsWith("GET http://camera.invalid:80/x?y HTTP/1.0\r\n"));
}

// Stores the user's choice and removes it again.
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

TEST(WinInetTransport, TrustsCertificatesThatNobodyVouchesForOnlyWhenTold) {
    HttpRequest request = To("NORIX_TEST_HTTPS", "/echo");
    request.secure = true;
    EXPECT_FALSE(Send(request).answered);
    {
        const AllowSelfSigned allow(1);
        EXPECT_THAT(Send(request).body, StartsWith("GET /echo "));
        EXPECT_THAT(Send(request).body, StartsWith("GET /echo ")) << "the same certificate again";
        HttpRequest named = request;
        named.host = "localhost";
        named.connectTo = "127.0.0.2";
        EXPECT_FALSE(Send(named).answered) << "no certificate proves the name: the checked address counts";
        named.connectTo = "127.0.0.1";
        EXPECT_TRUE(Send(named).answered);
        net::KnownServers::get().forget();
        const std::string there = "https://127.0.0.1:" + std::to_string(request.port) + "/echo";
        EXPECT_THAT(Send(Post("/say", "HTTP/1.0 302 Found\r\nLocation: " + there + "\r\n\r\n")).body,
                    StartsWith("GET /echo "));
        EXPECT_TRUE(net::KnownServers::get().wantsSecurity("127.0.0.1")) << "it has led there by itself";
        net::KnownServers::get().forget();
        ASSERT_TRUE(net::KnownServers::get().isPinned(OriginOf(request), "another"));
        EXPECT_FALSE(Send(request).answered) << "not the one that was accepted";
        net::KnownServers::get().forget();
        EXPECT_TRUE(Send(request).answered);
        EXPECT_TRUE(net::KnownServers::get().hasPin(OriginOf(request)));
    }
    const AllowSelfSigned forbid(0);
    EXPECT_FALSE(Send(request).answered);
}

TEST(Charset, ConvertsByTheSystemsCodePages) {
    EXPECT_EQ(BytesToWide("a\xC3\xC5", kCodePageGb2312), L"a\x95E8");
    EXPECT_EQ(WideToBytes(L"a\x95E8", kCodePageGb2312), "a\xC3\xC5");
    EXPECT_EQ(WideToBytes(L"a\x95E8", kCodePageAscii), "a?");
    EXPECT_EQ(BytesToWide("a\xC3", kCodePageGb2312).front(), L'a') << "half a character at the end";
    EXPECT_EQ(BytesToWide("", kCodePageSystem), L"");
}

}  // namespace
}  // namespace norix
