#include "util/SettingsTable.h"

#include <algorithm>
#include <array>

#include "util/Log.h"

namespace util {
namespace {

constexpr uint32_t kAny = 0xFFFFFFFF;
constexpr uint32_t kKiB = 1u << 10;
constexpr uint32_t kMiB = 1u << 20;
constexpr uint32_t kHourInMs = 3600000;
constexpr uint32_t kDefaultTargetPTSDiff = 33;  // at 30 frames per second

using enum SettingId;
constexpr Zero kKept = Zero::kKept;
constexpr Zero kToDefault = Zero::kMeansDefault;

// clang-format off
constexpr std::array<DwordSetting, static_cast<size_t>(kCount)> kTable{{
    // id                     name                       default                zero        min  max         read by
    {kEnableDebugOutput,      L"EnableDebugOutput",      0,                     kKept,      0,   kAny,       "control"},
    {kEnableDebugLogFile,     L"EnableDebugLogFile",     0,                     kKept,      0,   kAny,       "control"},
    {kShowThreadId,           L"ShowThreadId",           1,                     kKept,      0,   kAny,       "Connect"},
    {kShowFPS,                L"ShowFPS",                0,                     kKept,      0,   kAny,       "Connect"},
    {kShowPTSDiff,            L"ShowPTSDiff",            0,                     kKept,      0,   kAny,       "Connect"},
    {kShowFrameTimeInfo,      L"ShowFrameTimeInfo",      0,                     kKept,      0,   kAny,       "Connect"},
    {kShowTimeSync,           L"ShowTimeSync",           0,                     kKept,      0,   kAny,       "Connect"},
    {kShowTimeDiff,           L"ShowTimeDiff",           1,                     kKept,      0,   kAny,       "Connect"},
    {kTargetPTSDiff,          L"TargetPTSDiff",          kDefaultTargetPTSDiff, kKept,      1,   kHourInMs,  "statistics timer, frame pools"},
    {kTargetPTSDiffRange,     L"TargetPTSDiffRange",     5,                     kKept,      0,   kHourInMs,  "frame pools"},
    {kVideoBufferNum,         L"VideoBufferNum",         10,                    kToDefault, 1,   1000,       "frame pools"},
    {kVideoBufferSize,        L"VideoBufferSize",        800000,                kToDefault, 1,   32 * kMiB,  "frame pools"},
    {kAudioBufferNum,         L"AudioBufferNum",         10,                    kToDefault, 1,   1000,       "frame pools"},
    {kAudioBufferSize,        L"AudioBufferSize",        4096,                  kToDefault, 1,   kMiB,       "frame pools"},
    {kEnableDecodeFrameDrop,  L"EnableDecodeFrameDrop",  1,                     kKept,      0,   kAny,       "frame pools"},
    {kEnableDisplayFrameDrop, L"EnableDisplayFrameDrop", 1,                     kKept,      0,   kAny,       "frame pools"},
    {kEnableTimeSync,         L"EnableTimeSync",         1,                     kKept,      0,   kAny,       "decoder, audio player"},
    {kEnableVSync,            L"EnableVSync",            0,                     kKept,      0,   kAny,       "decoder"},
    {kSmoothScaling,          L"SmoothScaling",          1,                     kKept,      0,   kAny,       "decoder"},
    {kDisplayBufferNum,       L"DisplayBufferNum",       6,                     kToDefault, 1,   250,        "decoder"},
    {kDisplayBufferSize,      L"DisplayBufferSize",      0x900000,              kKept,      0,   128 * kMiB, "decoder"},
    {kJpegBufferSize,         L"JpegBufferSize",         512000,                kToDefault, 1,   32 * kMiB,  "HTTP video receiver"},
    {kULawBufferSize,         L"ULawBufferSize",         8196,                  kToDefault, 1,   256 * kKiB, "HTTP audio receiver"},
    {kRecordBufferSize,       L"RecordBufferSize",       16 * kMiB,             kToDefault, kMiB, 256 * kMiB, "recorder"},
    {kTalkAttenuation,        L"TalkAttenuation",        12,                    kKept,      0,   100,        "talk-back"},
}};
// clang-format on

// Rows are found by their id's number, and a default is never out of bounds.
constexpr bool RowsAreSound() {
    for (size_t i = 0; i < kTable.size(); ++i) {
        const DwordSetting& row = kTable[i];
        if (row.id != static_cast<SettingId>(i)) return false;
        if (row.fallback < row.min || row.fallback > row.max) return false;
    }
    return true;
}
static_assert(RowsAreSound());

}  // namespace

const DwordSetting& Row(SettingId id) noexcept {
    return kTable[static_cast<size_t>(id)];
}

uint32_t Resolve(const DwordSetting& row, std::optional<uint32_t> stored) noexcept {
    return Resolve(row, stored, row.fallback);
}

uint32_t Resolve(const DwordSetting& row, std::optional<uint32_t> stored, uint32_t fallback) noexcept {
    if (!stored || (*stored == 0 && row.zero == Zero::kMeansDefault)) return fallback;
    const uint32_t used = std::clamp(*stored, row.min, row.max);
    if (used != *stored) {
        NORIX_LOG("Settings::Resolve", 1, "%ls = %u is out of bounds, %u is used", row.name, *stored, used);
    }
    return used;
}

uint32_t FitPool(const DwordSetting& countRow, uint32_t count, uint32_t bytesEach) noexcept {
    if (bytesEach == 0) return count;
    const uint32_t used = std::clamp(count, 1u, std::max(1u, kPoolBytesMax / bytesEach));
    if (used != count) {
        NORIX_LOG("Settings::FitPool", 1, "%ls = %u buffers of %u bytes are too many, %u are used",
                  countRow.name, count, bytesEach, used);
    }
    return used;
}

uint32_t DefaultTargetPTSDiff(int frameRate) noexcept {
    return std::max(1, 1000 / (frameRate < 1 ? 30 : frameRate));
}

}  // namespace util
