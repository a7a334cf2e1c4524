#include "util/Settings.h"

#include "util/ClientKey.h"
#include "util/Log.h"
#include "util/Registry.h"
#include "util/SettingsTable.h"

namespace util {
namespace {

std::optional<uint32_t> Stored(const DwordSetting& row) noexcept {
    return IntReg(HKEY_LOCAL_MACHINE, kMachineKey, row.name).Optional();
}

uint32_t Number(SettingId id) noexcept {
    return Resolve(Row(id), Stored(Row(id)));
}

bool Flag(SettingId id) noexcept {
    return Number(id) != 0;
}

// A size that limits only where it is stored.
std::optional<uint32_t> Limit(SettingId id) noexcept {
    const DwordSetting& row = Row(id);
    const std::optional<uint32_t> stored = Stored(row);
    if (!stored || (*stored == 0 && row.zero == Zero::kMeansDefault)) return std::nullopt;
    return Resolve(row, stored);
}

uint32_t PoolCount(SettingId count, uint32_t bytesEach) noexcept {
    return FitPool(Row(count), Number(count), bytesEach);
}

}  // namespace

namespace Settings {

bool EnableDebugOutput() noexcept {
    return Flag(SettingId::kEnableDebugOutput);
}
bool EnableDebugLogFile() noexcept {
    return Flag(SettingId::kEnableDebugLogFile);
}

std::wstring DebugLogFilePath() {
    const StringReg path(HKEY_LOCAL_MACHINE, kMachineKey, L"DebugLogFilePath");
    return path.Exists() ? path.Value() : kDefaultLogFilePath;
}

bool ShowThreadId() noexcept {
    return Flag(SettingId::kShowThreadId);
}
bool ShowFPS() noexcept {
    return Flag(SettingId::kShowFPS);
}
bool ShowPTSDiff() noexcept {
    return Flag(SettingId::kShowPTSDiff);
}
bool ShowFrameTimeInfo() noexcept {
    return Flag(SettingId::kShowFrameTimeInfo);
}
bool ShowTimeSync() noexcept {
    return Flag(SettingId::kShowTimeSync);
}
bool ShowTimeDiff() noexcept {
    return Flag(SettingId::kShowTimeDiff);
}

uint32_t TargetPTSDiff(int frameRate) noexcept {
    const DwordSetting& row = Row(SettingId::kTargetPTSDiff);
    return Resolve(row, Stored(row), DefaultTargetPTSDiff(frameRate));
}
uint32_t TargetPTSDiffRange() noexcept {
    return Number(SettingId::kTargetPTSDiffRange);
}

uint32_t VideoBufferNum() noexcept {
    return PoolCount(SettingId::kVideoBufferNum, Number(SettingId::kVideoBufferSize));
}
std::optional<uint32_t> VideoBufferSize() noexcept {
    return Limit(SettingId::kVideoBufferSize);
}
uint32_t AudioBufferNum() noexcept {
    return PoolCount(SettingId::kAudioBufferNum, AudioBufferSize());
}
uint32_t AudioBufferSize() noexcept {
    return Number(SettingId::kAudioBufferSize);
}
bool EnableDecodeFrameDrop() noexcept {
    return Flag(SettingId::kEnableDecodeFrameDrop);
}
bool EnableDisplayFrameDrop() noexcept {
    return Flag(SettingId::kEnableDisplayFrameDrop);
}

bool EnableTimeSync() noexcept {
    return Flag(SettingId::kEnableTimeSync);
}
bool EnableVSync() noexcept {
    return Flag(SettingId::kEnableVSync);
}
bool SmoothScaling() noexcept {
    return Flag(SettingId::kSmoothScaling);
}
uint32_t DisplayBufferNum() noexcept {
    return PoolCount(SettingId::kDisplayBufferNum, Number(SettingId::kDisplayBufferSize));
}
std::optional<uint32_t> DisplayBufferSize() noexcept {
    return Limit(SettingId::kDisplayBufferSize);
}

std::optional<uint32_t> JpegBufferSize() noexcept {
    return Limit(SettingId::kJpegBufferSize);
}
uint32_t ULawBufferSize() noexcept {
    return Number(SettingId::kULawBufferSize);
}
uint32_t RecordBufferSize() noexcept {
    return Number(SettingId::kRecordBufferSize);
}
uint32_t TalkAttenuation() noexcept {
    return Number(SettingId::kTalkAttenuation);
}

}  // namespace Settings

bool AllowsPlainWithHttps() {
    return IntReg(HKEY_CURRENT_USER, kClientSettingKey, L"AllowPlainWithHttps").Value() != 0;
}

ClientOptions ReadClientOptions() noexcept {
    try {
        CRegistryEx key;
        key.Open(HKEY_CURRENT_USER, kClientSettingKey);
        return {key.ReadDword(L"VideoOption").value_or(0), key.ReadDword(L"ProtocolOption").value_or(0)};
    } catch (const CRegistryError& error) {
        NORIX_LOG("ReadClientOptions", 1, "%s", error.what());
        return {};
    }
}

bool WriteClientOptions(const ClientOptions& options) noexcept {
    try {
        CRegistryEx key;
        key.Open(HKEY_CURRENT_USER, kClientSettingKey);
        return key.WriteDword(L"VideoOption", options.video) &&
               key.WriteDword(L"ProtocolOption", options.protocol);
    } catch (const CRegistryError& error) {
        NORIX_LOG("WriteClientOptions", 1, "%s", error.what());
        return false;
    }
}

std::wstring ClientLanguage() {
    return StringReg(HKEY_CURRENT_USER, kClientSettingKey, L"Language").Value();
}

bool SetClientValue(const std::wstring& model, int channel, const std::wstring& name,
                    const std::wstring& value) {
    constexpr bool kCreate = true;
    return StringReg(HKEY_CURRENT_USER, ClientKeyPath(model, channel).c_str(), name.c_str(), kCreate)
        .Set(value);
}

std::wstring GetClientValue(const std::wstring& model, int channel, const std::wstring& name,
                            const std::wstring& fallback) {
    const StringReg stored(HKEY_CURRENT_USER, ClientKeyPath(model, channel).c_str(), name.c_str());
    return stored.Exists() ? stored.Value() : fallback;
}

}  // namespace util
