#include "util/SettingsTable.h"

#include <gtest/gtest.h>

#include <optional>
#include <utility>

#include "tests/support/LogCapture.h"

namespace util {
namespace {

TEST(SettingsTable, ResolvesWhatIsStored) {
    constexpr uint32_t kHuge = 0xFFFFFFFF;
    struct Case {
        SettingId id;
        std::optional<uint32_t> stored;
        uint32_t used;
        bool logged;
    };
    const Case cases[] = {
        {SettingId::kVideoBufferNum, std::nullopt, 10, false},
        {SettingId::kVideoBufferNum, 0, 10, false},
        {SettingId::kVideoBufferNum, 1, 1, false},
        {SettingId::kVideoBufferNum, 300, 300, false},
        {SettingId::kVideoBufferNum, kHuge, 1000, true},
        {SettingId::kULawBufferSize, 0, 8196, false},
        {SettingId::kDisplayBufferSize, 0, 0, false},
        {SettingId::kDisplayBufferSize, kHuge, 128u << 20, true},
        {SettingId::kEnableDecodeFrameDrop, std::nullopt, 1, false},
        {SettingId::kEnableDecodeFrameDrop, 0, 0, false},
        {SettingId::kEnableDebugOutput, kHuge, kHuge, false},
        {SettingId::kTargetPTSDiff, 0, 1, true},
        {SettingId::kTargetPTSDiffRange, 0, 0, false},
        {SettingId::kTargetPTSDiffRange, kHuge, 3600000, true},
    };
    for (const Case& c : cases) {
        const LogCapture capture;
        EXPECT_EQ(Resolve(Row(c.id), c.stored), c.used);
        EXPECT_EQ(capture.Contains("is out of bounds"), c.logged);
    }
    EXPECT_EQ(Resolve(Row(SettingId::kTargetPTSDiff), std::nullopt, 40), 40u);
    EXPECT_EQ(Resolve(Row(SettingId::kTargetPTSDiff), 25, 40), 25u);
}

TEST(SettingsTable, KeepsPoolsWithinMemory) {
    const DwordSetting& row = Row(SettingId::kVideoBufferNum);
    const LogCapture capture;
    EXPECT_EQ(FitPool(row, 10, 800000), 10u);
    EXPECT_EQ(FitPool(row, 512, 1u << 20), 512u);
    EXPECT_EQ(FitPool(row, 1000, 0), 1000u);
    EXPECT_TRUE(capture.Lines().empty());
    EXPECT_EQ(FitPool(row, 513, 1u << 20), 512u);
    EXPECT_TRUE(capture.Contains("VideoBufferNum = 513 buffers of 1048576 bytes are too many, 512 are used"));
    EXPECT_EQ(FitPool(row, 1000, 0xFFFFFFFF), 1u);
}

TEST(SettingsTable, TargetPTSDiffFollowsTheFrameRate) {
    const std::pair<int, uint32_t> cases[] = {{30, 33}, {25, 40},  {1, 1000}, {0, 33},
                                              {-5, 33}, {1000, 1}, {5000, 1}};
    for (const auto& [rate, target] : cases)
        EXPECT_EQ(DefaultTargetPTSDiff(rate), target) << rate;
}

}  // namespace
}  // namespace util
