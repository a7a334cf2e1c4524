// What is said to a camera before the voice flows.

#include <gtest/gtest.h>

#include "audio/talkback/PostDialogue.h"
#include "net/KnownServers.h"

namespace norix {
namespace {

using Verdict = PostDialogue::Verdict;

class Post : public testing::Test {
  protected:
    Post() { net::KnownServers::get().forget(); }
    ~Post() override { net::KnownServers::get().forget(); }

    static PostDialogue::Target Target(const std::string& user = "admin") {
        return {"camera", 8080, "/kest-cgi/audiopost.cgi", user, user.empty() ? "" : "norix", "audio/pcmu"};
    }
    static std::optional<http::ReplyHead> Answer(const std::string& text) { return http::ParseHead(text); }
    static std::optional<http::ReplyHead> Challenge(const std::string& challenges) {
        return Answer("HTTP/1.1 401 Unauthorized\r\n" + challenges + "\r\n");
    }
};

constexpr char kBasic[] = "WWW-Authenticate: Basic realm=\"c\"\r\n";
constexpr char kDigest[] = "WWW-Authenticate: Digest realm=\"c\", nonce=\"n\", qop=\"auth\"\r\n";

TEST_F(Post, HeadIsByteForByteWhatCamerasExpect) {
    EXPECT_EQ(PostDialogue(Target(), "x").Head("192.0.2.7"),
              "POST /kest-cgi/audiopost.cgi HTTP/1.1\r\nHOST: 192.0.2.7\r\nConnection:Keep-Alive\r\n"
              "Content-type: audio/pcmu\r\nAuthorization: Basic YWRtaW46bm9yaXg=\r\n\r\n");
    EXPECT_EQ(PostDialogue(Target(""), "x").Head("192.0.2.7"),
              "POST /kest-cgi/audiopost.cgi HTTP/1.1\r\nHOST: 192.0.2.7\r\nConnection:Keep-Alive\r\n"
              "Content-type: audio/pcmu\r\n\r\n");
    for (const char* path : {"", "kest", "/a b", "/a\r\nb"}) {
        auto target = Target();
        target.path = path;
        EXPECT_FALSE(PostDialogue(target, "x").Valid()) << path;
    }
}

TEST_F(Post, AnyAnswerButAChallengeMeansOccupied) {
    for (const char* text :
         {"HTTP/1.1 200 OK\r\n\r\n", "HTTP/1.1 503 Busy\r\n\r\n", "HTTP/1.0 403 No\r\n\r\n"})
        EXPECT_EQ(PostDialogue(Target(), "x").Take(Answer(text)), Verdict::Occupied) << text;
    EXPECT_EQ(PostDialogue(Target(), "x").Take(std::nullopt), Verdict::Occupied);
}

TEST_F(Post, AChallengeIsAnsweredOnceWithTheStrongestScheme) {
    PostDialogue post(Target(), "x");
    ASSERT_EQ(post.Take(Challenge(std::string(kBasic) + kDigest)), Verdict::AskAgain);
    const std::string head = post.Head("192.0.2.7");
    EXPECT_NE(head.find("\r\nAuthorization: Digest username=\"admin\""), std::string::npos) << head;
    EXPECT_NE(head.find("uri=\"/kest-cgi/audiopost.cgi\""), std::string::npos) << head;
    EXPECT_EQ(head.find("Basic"), std::string::npos) << head;
    EXPECT_EQ(post.Take(Challenge(kDigest)), Verdict::Refused);
    EXPECT_EQ(PostDialogue(Target(""), "x").Take(Challenge(kBasic)), Verdict::Refused) << "nobody to sign in";
    EXPECT_EQ(PostDialogue(Target(), "x").Take(Challenge(kBasic)), Verdict::Refused) << "that was tried";
}

TEST_F(Post, APasswordGoesInClearOnlyWhereItMay) {
    PostDialogue first(Target(), "x");
    ASSERT_EQ(first.Take(Challenge(kDigest)), Verdict::AskAgain);
    first.Granted();
    PostDialogue second(Target(), "x");
    EXPECT_EQ(second.Head("192.0.2.7").find("Authorization"), std::string::npos) << "it has taken Digest";
    EXPECT_EQ(second.Take(Challenge(kBasic)), Verdict::Refused);

    net::KnownServers::get().forget();
    net::KnownServers::get().askedSecurely("camera", false);
    EXPECT_EQ(PostDialogue(Target(), "x").Head("192.0.2.7").find("Authorization"), std::string::npos);
}

}  // namespace
}  // namespace norix
