// What an RTSP connection carries, byte by byte, and the headers with a structure.

#include <gmock/gmock.h>

#include "live/rtsp/Headers.h"
#include "live/rtsp/RtspFramer.h"
#include "live/rtsp/Url.h"
#include "protocol/Challenge.h"
#include "protocol/Digest.h"
#include "protocol/Text.h"

namespace live_test {
namespace {

using namespace live::rtsp;
using protocol::authorize;
using protocol::parseChallenges;
using testing::ElementsAre;

// Feeds `text` in pieces and writes down what comes out.
std::vector<std::string> framed(const std::string& text, std::size_t piece, std::size_t limit = 1000) {
    Framer framer(limit);
    std::string buffer;
    std::vector<std::string> items;
    for (std::size_t at = 0; at < text.size(); at += piece) {
        buffer += text.substr(at, piece);
        while (!buffer.empty()) {
            const auto item = framer.next(
                live::rtp::Bytes(reinterpret_cast<const unsigned char*>(buffer.data()), buffer.size()));
            if (item == Framer::Item::NeedMore) break;
            if (item == Framer::Item::Error) {
                items.push_back("error " + framer.error());
                return items;
            }
            if (item == Framer::Item::Packet) {
                items.push_back("packet " + std::to_string(framer.channel()) + " " +
                                std::string(framer.packet().begin(), framer.packet().end()));
            } else if (item == Framer::Item::Message) {
                const Message& m = framer.message();
                items.push_back(m.isReply ? "reply " + std::to_string(m.status) + " " +
                                                std::string(m.header("cseq")) + " " + std::string(m.body)
                                          : "request " + std::string(m.method));
            }
            buffer.erase(framer.offset(), framer.size());
        }
    }
    if (!buffer.empty()) items.push_back("rest");
    return items;
}

std::string packet(char channel, const std::string& content) {
    return std::string("$") + channel + '\0' + static_cast<char>(content.size()) + content;
}

TEST(RtspFramer, ReadsTheSameInAnyPieces) {
    const std::string stream = "RTSP/1.0 200 OK\r\nCSeq: 1\r\n\r\n" + packet(0, "one") +
                               "\r\n\r\nRTSP/1.0 401 Unauthorized\nCSeq:2\nContent-Length: 4\n\nbody" +
                               packet(1, "") + "OPTIONS * RTSP/1.0\r\nCSeq: 9\r\n\r\n" +
                               // packets that the server wrote into its own reply
                               "RTSP/1.0 200 OK\r\n" + packet(2, "in\r\n\r\n") +
                               "CSeq: 3\r\nContent-length: 3\r\n\r\n" + packet(3, "amid") + "abc" +
                               "HTTP/1.0 200 OK\r\nContent-Length: 99\r\n\r\n";
    for (const std::size_t piece : {1u, 2u, 3u, 7u, 1000u}) {
        EXPECT_THAT(framed(stream, piece),
                    ElementsAre("reply 200 1 ", std::string("packet 0 one"), "reply 401 2 body", "packet 1 ",
                                "request OPTIONS", "packet 2 in\r\n\r\n", "packet 3 amid", "reply 200 3 abc",
                                "reply 200  "))
            << piece;
    }
}

TEST(Headers, Transport) {
    const auto t =
        parseTransport("RTP/AVP;unicast;source=10.0.0.1;client_port=5000-5001;server_port=6000-6001;ssrc=1");
    ASSERT_TRUE(t);
    EXPECT_FALSE(t->tcp);
    EXPECT_EQ(t->serverPort, PortPair(6000, 6001));
    EXPECT_EQ(t->source, "10.0.0.1");
    EXPECT_EQ(parseTransport("RTP/AVP/TCP;interleaved=2-3,RTP/AVP")->interleaved, ChannelPair(2, 3));
    EXPECT_TRUE(parseTransport("rtp/avp;Interleaved=2")->tcp);
    EXPECT_TRUE(parseTransport("RTP/AVP;multicast;destination=239.0.0.1;port=5000-5001;ttl=3")->multicast);
    for (const char* bad :
         {"", "RAW/RAW/UDP;unicast", "RTP/AVP;server_port=70000-70001", "RTP/AVP;interleaved=256-257",
          "RTP/AVP;client_port=a-b", "RTP/AVP;server_port=", "RTP/AVP;port=1-99999999999"}) {
        EXPECT_FALSE(parseTransport(bad)) << bad;
    }
}

TEST(Headers, SessionAndRtpInfo) {
    EXPECT_EQ(parseSession("abc ;timeout=60")->id, "abc");
    EXPECT_EQ(parseSession("abc; Timeout = 60")->timeout, 60u);
    EXPECT_EQ(parseSession("abc;timeout=99999999999")->timeout, 0u);
    EXPECT_FALSE(parseSession(";timeout=60"));
    EXPECT_FALSE(parseSession(std::string(300, 'a')));
    EXPECT_FALSE(parseSession("a\x01"));

    const auto info =
        parseRtpInfo("url=rtsp://a/b;seq=1;rtptime=4294967295, url=\"rtsp://a,c\";seq=70000;rtptime=-1");
    ASSERT_EQ(info.size(), 2u);
    EXPECT_EQ(info[0].timestamp, 4294967295u);
    EXPECT_EQ(info[1].url, "rtsp://a,c");
    EXPECT_FALSE(info[1].sequence);
    EXPECT_FALSE(info[1].timestamp);
}

TEST(Challenge, IsAnsweredAsTheRfcsHaveIt) {
    // RFC 7616, 3.9.1
    const protocol::Credentials mufasa{"Mufasa", "Circle of Life"};
    const protocol::DigestUse use{"GET", "/dir/index.html", 1,
                                  "f2/wE4q74E6zIJEtWaHKaf5wv/H5QzzpXusqGemxURZJ"};
    const std::string rest =
        ", nonce=\"7ypf/xlj9XXwfDPEoM4URrv/xwf94BcCAzFZH4GiTo0v\", "
        "opaque=\"FQhe/qaU925kfnzjCev0ciny7QMkPqMAFRtzCUYo5tdS\"";
    const auto both = parseChallenges(
        "Digest realm=\"http-auth@example.org\", qop=\"auth, auth-int\", "
        "algorithm=SHA-256" +
        rest + ", Digest realm=\"http-auth@example.org\", qop=auth, algorithm=MD5" + rest +
        ", Basic realm=\"x\", Negotiate, Digest realm=x, nonce=1, qop=auth-int, "
        "Digest realm=x, nonce=1, algorithm=SHA-512-256");
    ASSERT_EQ(both.size(), 3u) << "what can't be answered is left out";
    EXPECT_GT(both[0].kind, both[1].kind);
    EXPECT_GT(both[1].kind, both[2].kind);
    EXPECT_THAT(authorize(both[0], mufasa, use),
                testing::HasSubstr("753927fa0e85d155564e2e272a28d1802ca10daf4496794697cf8db5856cb6c1"));
    EXPECT_THAT(authorize(both[1], mufasa, use), testing::HasSubstr("8ca523f5e9506fed4657c9700eebdbec"));
    EXPECT_EQ(authorize(both[2], {"Aladdin", "open sesame"}, use), "Basic QWxhZGRpbjpvcGVuIHNlc2FtZQ==");

    // RFC 2617, 3.5, with the password already hashed; and what no header may carry.
    const auto old = parseChallenges(
        "Digest realm=\"testrealm@host.com\", qop=\"auth\", "
        "nonce=\"dcd98b7102dd2f0e8b11d0f600bfb0c093\"");
    ASSERT_EQ(old.size(), 1u);
    const protocol::Credentials hashed{"Mufasa", "939e7578ed9e3c518a452acee763bce9", true};
    EXPECT_THAT(authorize(old[0], hashed, {"GET", "/dir/index.html", 1, "0a4f113b"}),
                testing::HasSubstr("6629fae49393a05397450978507c4ef1"));
    EXPECT_THAT(authorize(old[0], {"a\"b\r\nc", ""}, use), testing::HasSubstr("username=\"a\\\"bc\""));
    EXPECT_TRUE(parseChallenges("Digest realm=x").empty()) << "no nonce";
}

TEST(Url, TakesCredentialsApart) {
    struct Case {
        const char* text;
        const char* user;
        const char* password;
        const char* host;
        unsigned port;
        const char* plain;
    };
    for (const Case& c : {
             Case{"rtsp://cam", "", "", "cam", 554, "rtsp://cam"},
             Case{"RTSP://cam:8554/a?b=c@d", "", "", "cam", 8554, "rtsp://cam:8554/a?b=c@d"},
             Case{"rtsp://u:p@cam/x", "u", "p", "cam", 554, "rtsp://cam/x"},
             Case{"rtsp://u:p@ss@cam/x", "u", "p@ss", "cam", 554, "rtsp://cam/x"},
             Case{"rtsp://u%40v:p%40ss:w%2f@1.2.3.4:1/x", "u@v", "p@ss:w/", "1.2.3.4", 1,
                  "rtsp://1.2.3.4:1/x"},
             Case{"rtsp://u@cam", "u", "", "cam", 554, "rtsp://cam"},
             Case{"rtsp://u:p@[fe80::1]:8554/x", "u", "p", "fe80::1", 8554, "rtsp://[fe80::1]:8554/x"},
             Case{"rtsp://[::ffff:1.2.3.4]", "", "", "::ffff:1.2.3.4", 554, "rtsp://[::ffff:1.2.3.4]"},
         }) {
        const auto url = parseUrl(c.text);
        ASSERT_TRUE(url) << c.text;
        EXPECT_EQ(url->user, c.user);
        EXPECT_EQ(url->password, c.password);
        EXPECT_EQ(url->host, c.host);
        EXPECT_EQ(url->port, c.port);
        EXPECT_EQ(url->plain, c.plain);
    }
    for (const char* bad :
         {"", "http://cam/", "rtsp://", "rtsp:///x", "rtsp://cam:0/", "rtsp://cam:65536/", "rtsp://cam:x/",
          "rtsp://u:p@/", "rtsp://cam/a b", "rtsp://cam/\r\nX: y", "rtsp://[", "rtsp://[]/", "rtsp://[::1",
          "rtsp://[::1]x", "rtsp://[::1]:0", "rtsp://[cam]/", "rtsp://[1:x]/", "rtsp://[::1]]/"}) {
        EXPECT_FALSE(parseUrl(bad)) << bad;
    }
}

TEST(Url, ResolvesControls) {
    struct Case {
        const char* base;
        const char* control;
        const char* url;
    };
    for (const Case& c : {Case{"rtsp://c/a", "", "rtsp://c/a"}, Case{"rtsp://c/a/", "*", "rtsp://c/a/"},
                          Case{"rtsp://c/a", "track1", "rtsp://c/a/track1"},
                          Case{"rtsp://c/a/", "track1", "rtsp://c/a/track1"},
                          Case{"rtsp://c/a/", "/track1", "rtsp://c/a/track1"},
                          Case{"rtsp://c/a?x=1", "trackID=1", "rtsp://c/a?x=1/trackID=1"},
                          Case{"rtsp://c/a", "rtsp://d/b", "rtsp://d/b"},
                          Case{"rtsp://c/a", "t?u=http://x", "rtsp://c/a/t?u=http://x"}}) {
        EXPECT_EQ(controlUrl(c.base, c.control), c.url);
    }
}

TEST(Text, HashesBase64AndNumbers) {
    using namespace protocol;
    EXPECT_EQ(md5Hex(""), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(md5Hex(std::string(120, 'a')), "5f61c0ccad4cac44c75ff505e1f1e537");
    EXPECT_EQ(sha256Hex("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    for (const std::string& bytes :
         {std::string(), std::string("a"), std::string("ab"), std::string("\xFF\0\x01", 3)}) {
        const auto back = decodeBase64(encodeBase64(bytes));
        EXPECT_EQ(std::string(back.begin(), back.end()), bytes);
    }
    EXPECT_EQ(parseNumber("4294967296"), std::nullopt);
    EXPECT_EQ(parseNumber("4294967295"), 4294967295u);
    EXPECT_EQ(parseNumber("+1"), std::nullopt);
    EXPECT_EQ(formatSeconds(1.0005), "1.001");
    EXPECT_EQ(formatSeconds(0.01), "0.010");
}

}  // namespace
}  // namespace live_test
