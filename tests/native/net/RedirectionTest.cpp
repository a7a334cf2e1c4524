#include "net/Redirection.h"

#include <gtest/gtest.h>

namespace net {
namespace {

TEST(Redirection, LeadsWhereItSaysAndKnowsWhatIsElsewhere) {
    struct Case {
        unsigned status;
        const char* location;
        const char* place;  // null: not followed
        bool elsewhere = false;
        bool keeps = false;
    };
    const Case cases[] = {{301, "/b?c", "http://cam:8080/b?c"},
                          {302, "b#c", "http://cam:8080/dir/b"},
                          {303, "?q", "http://cam:8080/dir/a?q"},
                          {307, " http://CAM.:8080/b ", "http://cam:8080/b", false, true},
                          {308, "/b", "http://cam:8080/b", false, true},
                          {308, "http://cam/b", "http://cam:80/b", true},
                          {307, "https://cam:8080", "https://cam:8080/", true},
                          {307, "http://u:p@cam2:8080/b", "http://cam2:8080/b", true},
                          {302, "//cam2/b", "http://cam2:80/b", true},
                          {301, "rtsp://cam/b", nullptr},
                          {301, "file:///c:/b", nullptr},
                          {301, "javascript:b", nullptr},
                          {301, "http://", nullptr},
                          {301, "http://cam:99999/", nullptr},
                          {301, "/b\r\nX: y", nullptr},
                          {301, "/b c", nullptr},
                          {301, "", nullptr},
                          {300, "/b", nullptr},
                          {304, "/b", nullptr},
                          {200, "/b", nullptr}};
    for (const Case& c : cases) {
        const auto to =
            redirectionOf(c.status, c.location, protocol::makeOrigin("http", "cam", 8080), "/dir/a?old/x");
        ASSERT_EQ(to.has_value(), c.place != nullptr) << c.status << ' ' << c.location;
        if (!to) continue;
        EXPECT_EQ(protocol::toText(to->origin) + to->path, c.place);
        EXPECT_EQ(to->elsewhere, c.elsewhere) << c.location;
        EXPECT_EQ(to->keepsRequest, c.keeps) << c.status << ' ' << c.location;
    }
    // Only the same host's HTTPS, from one default port to the other, may hear what was meant for its HTTP.
    const protocol::Origin plain = protocol::makeOrigin("http", "cam", 80);
    EXPECT_FALSE(redirectionOf(301, "https://CAM/b", plain, "/")->elsewhere);
    EXPECT_TRUE(redirectionOf(307, "https://cam:443/b", plain, "/")->keepsRequest);
    for (const char* other : {"https://cam:8443/b", "https://cam2/b", "https://cam:80/b", "http://cam:443/b"})
        EXPECT_TRUE(redirectionOf(307, other, plain, "/")->elsewhere) << other;
    EXPECT_TRUE(
        redirectionOf(301, "http://cam/b", protocol::makeOrigin("https", "cam", 443), "/")->elsewhere);
    EXPECT_EQ(protocol::toText(redirectionOf(301, "http://[FE80::1]:81/b", plain, "/")->origin),
              "http://[fe80::1]:81");

    const protocol::Origin rtsp = protocol::makeOrigin("rtsp", "cam", 554);
    EXPECT_FALSE(redirectionOf(302, "rtsp://cam/b", rtsp, "/")->elsewhere);
    EXPECT_FALSE(redirectionOf(302, "http://cam:554/b", rtsp, "/"));
}

}  // namespace
}  // namespace net
