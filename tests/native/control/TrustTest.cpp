// Whom the control trusts, and what a page may reach.

#include "control/trust/Trust.h"

#include <gtest/gtest.h>

namespace norix {
namespace {

using util::TrustLevel;

TEST(Trust, LevelFollowsFromWhatTheHostShows) {
    const struct {
        const char* what;
        HostFacts facts;
        TrustLevel level;
    } cases[] = {
        {"a program", {}, TrustLevel::kTrusted},
        {"a script in a page without a site", {false, "", false, true, {}}, TrustLevel::kWeb},
        {"trusted site", {true, "http://cam.example/", true, true, 2}, TrustLevel::kTrusted},
        {"intranet", {true, "https://cam/", true, true, 1}, TrustLevel::kTrusted},
        {"Internet", {true, "https://cam.example/", true, true, 3}, TrustLevel::kWeb},
        {"restricted", {true, "https://cam.example/", true, false, 4}, TrustLevel::kWeb},
        {"a zone of somebody's own", {true, "https://cam.example/", true, false, 1001}, TrustLevel::kWeb},
        {"zone unreadable", {true, "https://cam.example/", true, false, {}}, TrustLevel::kWeb},
        {"a page without a manager", {true, "https://cam.example/", false, false, {}}, TrustLevel::kWeb},
        {"a manager without an answer", {false, "", true, false, {}}, TrustLevel::kWeb},
        {"a manager without a page", {false, "", true, false, 2}, TrustLevel::kTrusted},
        {"a file", {true, "file:///C:/Users/eva/Downloads/page.html", true, true, 0}, TrustLevel::kWeb},
        {"a document", {true, "C:\\letter.doc", false, false, 0}, TrustLevel::kWeb},
        {"an archive", {true, "mhtml:file://C:/x.mht", true, false, 0}, TrustLevel::kWeb},
    };
    for (const auto& c : cases)
        EXPECT_EQ(DecideLevel(c.facts), c.level) << c.what;
}

TEST(Trust, PagesAreKnownByTheirOrigin) {
    EXPECT_EQ(IdentifyPage("HTTPS://Cam.Example./live?x=1"),
              (PageIdentity{"https://cam.example:443", "cam.example"}));
    EXPECT_EQ(IdentifyPage("http://u:p@10.0.0.1:81/"), (PageIdentity{"http://10.0.0.1:81", "10.0.0.1"}));
    EXPECT_EQ(IdentifyPage("file:///C:/a.html?x#y"), (PageIdentity{"file:///C:/a.html", ""}));
    EXPECT_EQ(IdentifyPage(""), (PageIdentity{"unknown page", ""}));
    for (const char* known : {"http://cam/", "file:///C:/a.html", "file://server/a.html", "C:\\letter.doc"})
        EXPECT_TRUE(IsKnownAgain(IdentifyPage(known))) << known;
    for (const char* shared : {"", "about:blank", "file:", "FILE:///", "res://x.dll/a", "data:text/html,x"})
        EXPECT_FALSE(IsKnownAgain(IdentifyPage(shared))) << shared;
}

TEST(Trust, ReadsAddressesAsTheSystemDoes) {
    const struct {
        const char* text;
        const char* address;  // null: a name
    } cases[] = {
        {"192.168.0.7", "192.168.0.7"},
        {"255.255.255.255", "255.255.255.255"},
        {"::1", "0000:0000:0000:0000:0000:0000:0000:0001"},
        {"fe80::1:2%4", "fe80:0000:0000:0000:0000:0000:0001:0002"},
        {"2001:db8::", "2001:0db8:0000:0000:0000:0000:0000:0000"},
        {"::ffff:10.0.0.1", "10.0.0.1"},
        {"1:2:3:4:5:6:7:8", "0001:0002:0003:0004:0005:0006:0007:0008"},
        {"::1%eth0", "0000:0000:0000:0000:0000:0000:0000:0001"},
        {"::1% (your own camera)", nullptr},
        {"::1%", nullptr},
        {"10.0.0", nullptr},
        {"10.0.0.256", nullptr},
        {"010.0.0.1", nullptr},
        {"10.0.0.1.", nullptr},
        {"0x7f.0.0.1", nullptr},
        {"2130706433", nullptr},
        {"cam", nullptr},
        {"", nullptr},
        {":", nullptr},
        {"1:2:3:4:5:6:7", nullptr},
        {"1:2:3:4:5:6:7:8:9", nullptr},
        {"1:2:3:4::5:6:7:8", nullptr},
        {"::12345", nullptr},
        {"1::2::3", nullptr},
    };
    for (const auto& c : cases) {
        const auto address = ParseAddress(c.text);
        EXPECT_EQ(address ? ToText(*address) : "name", c.address ? c.address : "name") << c.text;
    }
}

TEST(Trust, KnowsTheUsersSurroundings) {
    for (const char* inside :
         {"127.0.0.1", "10.1.2.3", "172.16.0.1", "172.31.255.255", "192.168.1.1", "169.254.1.1", "100.64.0.1",
          "0.0.0.0", "224.0.0.1", "239.1.2.3", "255.255.255.255", "::1", "::", "fd00::1", "fe80::1",
          "ff02::1", "::10.0.0.1", "64:ff9b::10.0.0.1", "2002:a00:1::"}) {
        EXPECT_TRUE(IsInside(*ParseAddress(inside))) << inside;
    }
    for (const char* outside :
         {"8.8.8.8", "172.32.0.1", "192.169.0.1", "100.128.0.1", "2001:db8::1", "223.1.1.1"})
        EXPECT_FALSE(IsInside(*ParseAddress(outside))) << outside;
    EXPECT_TRUE(IsMulticast(*ParseAddress("239.1.2.3")));
    EXPECT_TRUE(IsMulticast(*ParseAddress("ff15::1")));
    EXPECT_FALSE(IsMulticast(*ParseAddress("223.255.255.255")));
}

TEST(Trust, ListsNameHostsParentsAndNetworks) {
    const TargetList list(
        "Cam.Example, *.plant.example;192.168.4.0/24 10.0.0.1 [fd00::]/8 bad/entry 10.0.0.0/99");
    for (const char* in :
         {"cam.example", "a.plant.example", "a.b.plant.example", "192.168.4.255", "10.0.0.1", "fd12::1"})
        EXPECT_TRUE(list.Contains(in)) << in;
    for (const char* out : {"x.cam.example", "plant.example", "aplant.example", "192.168.5.1", "10.0.0.2",
                            "fe80::1", "bad", "::10.0.0.1", ""})
        EXPECT_FALSE(list.Contains(out)) << out;
    EXPECT_TRUE(TargetList("*").Contains("anything"));
    EXPECT_FALSE(TargetList("").Contains("anything"));
}

TEST(Trust, AsksAboutAllButThePagesOwnHost) {
    const PageIdentity page = IdentifyPage("https://www.example/");
    const TargetList none;
    EXPECT_EQ(JudgeTarget(page, "www.example", none, {}), Verdict::kAllowed);
    EXPECT_EQ(JudgeTarget(page, "cam.example", none, {}), Verdict::kAsk);
    EXPECT_EQ(JudgeTarget(page, "cam.example", none, true), Verdict::kAllowed);
    EXPECT_EQ(JudgeTarget(page, "cam.example", none, false), Verdict::kRefused);
    EXPECT_EQ(JudgeTarget(page, "cam.example", TargetList("cam.example"), false), Verdict::kAllowed);
    EXPECT_EQ(JudgeTarget(page, "", none, true), Verdict::kRefused);
    EXPECT_EQ(JudgeTarget(IdentifyPage("file:///C:/a.html"), "", none, {}), Verdict::kRefused);
}

TEST(Trust, ANameOfTheInternetDoesNotCoverWhatIsInside) {
    const PageIdentity page = IdentifyPage("https://www.example/");
    const NumericAddress router = *ParseAddress("192.168.0.1");
    const NumericAddress server = *ParseAddress("93.184.216.34");
    EXPECT_TRUE(IsCovered(page, "www.example", server, {}));
    EXPECT_FALSE(IsCovered(page, "www.example", router, {}));
    EXPECT_FALSE(IsCovered(page, "cam.example", router, {}));
    EXPECT_TRUE(IsCovered(page, "cam.example", router, TargetList("192.168.0.0/16")));
    EXPECT_TRUE(IsCovered(page, "192.168.0.1", router, {}));
    EXPECT_TRUE(IsCovered(page, "camera", router, {}));
    EXPECT_FALSE(IsCovered(IdentifyPage("http://camera/"), "camera", router, {}));
    for (const char* spelling : {"3232235521", "0xc0a80001", "0xc0.0xa8.1", "192.168.1"})
        EXPECT_FALSE(IsCovered(page, spelling, router, {})) << spelling << ": an address, not a name";
}

}  // namespace
}  // namespace norix
