#pragma once

// The control's settings, read from the registry at the moment of each call. A missing, mistyped or
// unreadable value gives its default; a value out of bounds gives the bound and a log line (see
// SettingsTable.h for both). docs/settings.md describes them for users.
//
// Any thread. Only functions that return text can throw, and only std::bad_alloc.

#include <cstdint>
#include <optional>
#include <string>

namespace util {

inline constexpr wchar_t kMachineKey[] = L"Software\\KEST\\NorixSDK";              // local machine
inline constexpr wchar_t kClientSettingKey[] = L"Software\\Norix\\ClientSetting";  // current user

namespace Settings {

/// Read when the control is constructed.
bool EnableDebugOutput() noexcept;
bool EnableDebugLogFile() noexcept;

/// Read by Connect.
std::wstring DebugLogFilePath();
bool ShowThreadId() noexcept;
bool ShowFPS() noexcept;
bool ShowPTSDiff() noexcept;
bool ShowFrameTimeInfo() noexcept;
bool ShowTimeSync() noexcept;
bool ShowTimeDiff() noexcept;

/// Milliseconds, at least 1. The default follows from the camera's frame rate (below 1: unknown).
uint32_t TargetPTSDiff(int frameRate) noexcept;
uint32_t TargetPTSDiffRange() noexcept;

/// Frame pools, in records and bytes per record. The numbers also keep number times size within
/// kPoolBytesMax.
uint32_t VideoBufferNum() noexcept;
std::optional<uint32_t> VideoBufferSize() noexcept;  // none: not limited by it
uint32_t AudioBufferNum() noexcept;
uint32_t AudioBufferSize() noexcept;
bool EnableDecodeFrameDrop() noexcept;
bool EnableDisplayFrameDrop() noexcept;

/// Decoder and audio player.
bool EnableTimeSync() noexcept;
bool EnableVSync() noexcept;
bool SmoothScaling() noexcept;
uint32_t DisplayBufferNum() noexcept;
/// None: not limited by it. A stored 0 is returned as 0: what it means is the decoder's affair.
std::optional<uint32_t> DisplayBufferSize() noexcept;

/// HTTP receivers, in bytes.
std::optional<uint32_t> JpegBufferSize() noexcept;  // none: not limited by it
uint32_t ULawBufferSize() noexcept;

/// Recorder, in bytes.
uint32_t RecordBufferSize() noexcept;

/// Talk-back: by how many dB sound is lowered meanwhile.
uint32_t TalkAttenuation() noexcept;

}  // namespace Settings

/// The per-user choices of the client-setting dialog; 0 when missing.
struct ClientOptions {
    uint32_t video = 0;
    uint32_t protocol = 0;
};

/// Whether the user lets what a camera that is asked by HTTPS sends in clear come without a word.
bool AllowsPlainWithHttps();

/// Creates the key when it is missing, for the dialog to find.
ClientOptions ReadClientOptions() noexcept;
/// False when the registry refuses.
bool WriteClientOptions(const ClientOptions& options) noexcept;

/// The language that dialogs are to have, "en" or "de"; empty: the system's.
std::wstring ClientLanguage();

/// Per-camera client values: string values of the current user under ClientKeyPath(model, channel).
/// Set creates the key; false when the registry refuses. Get returns `fallback` for a missing value.
bool SetClientValue(const std::wstring& model, int channel, const std::wstring& name,
                    const std::wstring& value);
std::wstring GetClientValue(const std::wstring& model, int channel, const std::wstring& name,
                            const std::wstring& fallback);

}  // namespace util
