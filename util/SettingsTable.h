#pragma once

// The machine-wide DWORD settings as data: one row per value, and the rules that turn what is stored into
// what is used. Pure; reading the registry is Settings.h's job.

#include <cstdint>
#include <optional>

namespace util {

enum class SettingId {
    kEnableDebugOutput,
    kEnableDebugLogFile,
    kShowThreadId,
    kShowFPS,
    kShowPTSDiff,
    kShowFrameTimeInfo,
    kShowTimeSync,
    kShowTimeDiff,
    kTargetPTSDiff,
    kTargetPTSDiffRange,
    kVideoBufferNum,
    kVideoBufferSize,
    kAudioBufferNum,
    kAudioBufferSize,
    kEnableDecodeFrameDrop,
    kEnableDisplayFrameDrop,
    kEnableTimeSync,
    kEnableVSync,
    kSmoothScaling,
    kDisplayBufferNum,
    kDisplayBufferSize,
    kJpegBufferSize,
    kULawBufferSize,
    kRecordBufferSize,
    kTalkAttenuation,
    kCount,
};

enum class Zero { kKept, kMeansDefault };

struct DwordSetting {
    SettingId id;
    const wchar_t* name;
    uint32_t fallback;  // used when the value is missing
    Zero zero;
    /// What a stored value is held to. Wide enough for any sensible use; there for stray and hostile values,
    /// which must neither exhaust a 32-bit process nor overflow the arithmetic done with them.
    uint32_t min;
    uint32_t max;
    const char* reader;  // who reads it, and so when a change takes effect
};

const DwordSetting& Row(SettingId id) noexcept;

/// The value to use for what is stored (nullopt: missing). Logs a line when a bound had to be applied.
uint32_t Resolve(const DwordSetting& row, std::optional<uint32_t> stored) noexcept;
/// The same where the default is known only at run time.
uint32_t Resolve(const DwordSetting& row, std::optional<uint32_t> stored, uint32_t fallback) noexcept;

/// All buffers of one pool together stay within this many bytes.
inline constexpr uint32_t kPoolBytesMax = 512u << 20;

/// How many buffers of `bytesEach` a pool may have: `count`, or fewer (at least 1) when they would exceed
/// kPoolBytesMax. Logs a line in that case, with the setting's name.
uint32_t FitPool(const DwordSetting& countRow, uint32_t count, uint32_t bytesEach) noexcept;

/// The default of TargetPTSDiff: the milliseconds between two frames at this rate. A rate below 1 is unknown
/// and counts as 30.
uint32_t DefaultTargetPTSDiff(int frameRate) noexcept;

}  // namespace util
