// The small pure parts: client keys, formatting, versions, the stop rule, the FPU guard.

#include <gtest/gtest.h>

#include <cfenv>
#include <climits>
#include <string>
#include <vector>

#include "util/ClientKey.h"
#include "util/Format.h"
#include "util/FpuGuard.h"
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
    const uint8_t fixed[] = {0xBD,
                             0x04,
                             0xEF,
                             0xFE,
                             0,
                             0,
                             1,
                             0,
                             /*minor*/ 2,
                             0,
                             /*major*/ 1,
                             0,
                             /*revision*/ 0x34,
                             0x12,
                             /*build*/ 3,
                             0};
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

struct FpuState {
    uint16_t x87 = 0;
    uint32_t sse = 0;
    bool operator==(const FpuState&) const = default;
};

FpuState CurrentFpuState() {
    FpuState state;
    asm volatile("fnstcw %0\n\tstmxcsr %1" : "=m"(state.x87), "=m"(state.sse));
    return state;
}

void LoadFpuState(FpuState state) {
    asm volatile("fldcw %0\n\tldmxcsr %1" : : "m"(state.x87), "m"(state.sse));
}

TEST(FpuGuard, ShieldsFromTheHostsStateAndGivesItBack) {
    const FpuState before = CurrentFpuState();
    const FpuState hosts{0x1372, 0x1F00};  // 0 divide, overflow, invalid unmasked; SSE: invalid unmasked
    LoadFpuState(hosts);
    {
        const FpuGuard guard;
        EXPECT_EQ(CurrentFpuState(), (FpuState{0x037F, 0x1F80}));
        const long double zero = 0;
        volatile long double x87 = 1 / *const_cast<const volatile long double*>(&zero);
        volatile double sse = 0;
        sse = sse / sse;
        EXPECT_GT(x87, 1);
    }
    const FpuState after = CurrentFpuState();
    volatile long double one = 1;
    one = one + one;  // would trap, were the division's exception still pending
    LoadFpuState(before);
    EXPECT_EQ(after, hosts);
}

}  // namespace
}  // namespace util
