// The small pure parts: client keys, formatting, versions, the stop rule.

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "util/ClientKey.h"
#include "util/Format.h"
#include "util/StopRule.h"
#include "util/Version.h"

namespace util {
namespace {

TEST(ClientKey, StaysBelowTheProductsKey) {
    struct Case {
        std::wstring model;
        int channel;
        std::wstring path;
    };
    const Case cases[] = {
        {L"NX-100", 1, L"Software\\Norix\\NX-100\\CH1"},
        {L"", 2, L"Software\\Norix\\CH2"},
        {L"NX-100", -1, L"Software\\Norix\\NX-100\\CH-1"},
        {L"NX-100", INT_MIN, L"Software\\Norix\\NX-100\\CH-2147483648"},
        {L"a\\b", 1, L"Software\\Norix\\a\\b\\CH1"},
        {L"\\\\a\\\\b\\\\", 1, L"Software\\Norix\\a\\b\\CH1"},
        {L"\\", 1, L"Software\\Norix\\CH1"},
        {L"..\\..\\Run", 1, L"Software\\Norix\\..\\..\\Run\\CH1"},
        {std::wstring(L"a\0\\b", 4), 1, L"Software\\Norix\\a\\CH1"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ClientKeyPath(c.model, c.channel), c.path);
}

TEST(Format, TakesTheLengthItNeeds) {
    EXPECT_EQ(Format("%s", ""), "");
    EXPECT_EQ(Format("/kest-cgi/mjpeg.cgi?channel=%d&stream=%d", 1, 2),
              "/kest-cgi/mjpeg.cgi?channel=1&stream=2");
    EXPECT_EQ(Format("%lld %5.1f", 1LL << 40, 2.25), "1099511627776   2.2");
    const std::string text(100'000, 'x');
    EXPECT_EQ(Format("<%s>", text.c_str()), "<" + text + ">");
}

TEST(Version, ReadsTheFixedPartOfAResource) {
    std::vector<uint8_t> resource(92, 0);
    // The signature, then minor, major, revision and build.
    const uint8_t fixed[] = {0xBD, 0x04, 0xEF, 0xFE, 0, 0, 1, 0, 2, 0, 1, 0, 0x34, 0x12, 3, 0};
    std::copy(std::begin(fixed), std::end(fixed), resource.begin() + 40);
    const auto version = ParseVersionResource(resource);
    ASSERT_TRUE(version);
    EXPECT_EQ(version->Text(), "1.2.3.4660");

    std::vector<uint8_t> damaged = resource;
    damaged[40] ^= 1;
    EXPECT_FALSE(ParseVersionResource(damaged));
    for (size_t size = 0; size < resource.size(); ++size) {
        EXPECT_FALSE(ParseVersionResource(std::vector<uint8_t>(resource.begin(), resource.begin() + size)));
    }
}

TEST(StopRule, GivesUpAfterFiftyReports) {
    for (const int endsAfter : {0, 1, 49, 50, 51, 1000}) {
        uint32_t waited = 0;
        int waits = 0;
        std::vector<int> reports;
        const bool ended = AwaitExit(
            [&](uint32_t ms) {
                waited += ms;
                return waits++ == endsAfter;
            },
            [&](int attempt) { reports.push_back(attempt); });

        EXPECT_EQ(ended, endsAfter <= 50);
        ASSERT_EQ(reports.size(), static_cast<size_t>(std::min(endsAfter, 50)));
        for (size_t i = 0; i < reports.size(); ++i)
            EXPECT_EQ(reports[i], static_cast<int>(i));
        EXPECT_EQ(waited, 100u * (1 + reports.size()));
    }
}

}  // namespace
}  // namespace util
