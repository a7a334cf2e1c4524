#pragma once

// What the client-setting dialog sets: which values, within which bounds, and under which names they are
// kept. Pure.

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace norix {

/// H.264, MPEG-4, Motion JPEG, H.265: in the order of the dialog's list.
inline constexpr std::array<std::uint32_t, 4> kVideoOptions = {0, 1, 2, 8};
/// The position of an option in it; the first one's for what is no option.
int VideoPosition(std::uint32_t option);

struct ClientSettings {
    static constexpr long kMostMiB = 1048576;
    static constexpr long kMostSeconds = 24 * 60 * 60;

    std::uint32_t video = 0;     // VideoOption: one of kVideoOptions
    std::uint32_t protocol = 0;  // ProtocolOption: 0 UDP, 1 TCP, 2 HTTP, 3 multicast
    long stream = 1;
    std::wstring recordFolder;
    long recordMiB = 0;       // 0: no limit
    long recordSeconds = 10;  // likewise
    std::wstring snapshotFolder;
    bool statistics = false;

    bool operator==(const ClientSettings&) const = default;
};

enum class ClientSettingsFault { kNone, kRecordFolder, kSnapshotFolder, kSize, kTime };

/// What stands in the dialog's fields.
struct EnteredSettings {
    ClientSettings chosen;  // all but the texts below
    std::wstring recordFolder;
    std::wstring recordMiB;
    std::wstring recordSeconds;
    std::wstring snapshotFolder;
};

/// What was entered, or the first thing that is wrong with it. An empty number is 0, an empty folder none.
ClientSettingsFault TakeEntered(const EnteredSettings& entered, ClientSettings& settings);

/// Digits only, at most `most`; empty is 0.
std::optional<long> ParseNumber(const std::wstring& text, long most);

/// A folder named from its drive or share on.
bool IsWholePath(const std::wstring& folder);

/// The streams to choose from, from 1 on, each with the sum of the codecs that it offers (0: not known).
/// `known` is what the camera has said of the channel; empty where it has said nothing.
struct StreamChoice {
    long number = 1;
    std::uint8_t codecs = 0;
};
std::vector<StreamChoice> StreamChoices(const std::vector<std::uint8_t>& known, long current);

/// The names under which a camera's values are kept, and their texts.
using ClientValues = std::vector<std::pair<std::wstring, std::wstring>>;
ClientValues ToValues(const ClientSettings& settings);
/// Takes one over that was kept; what makes no sense is left as it is.
void TakeValue(ClientSettings& settings, const std::wstring& name, const std::wstring& text);

}  // namespace norix
