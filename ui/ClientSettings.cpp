#include "ui/ClientSettings.h"

#include <algorithm>

namespace norix {

namespace {

constexpr wchar_t kVideo[] = L"VideoOption";
constexpr wchar_t kProtocol[] = L"ProtocolOption";
constexpr wchar_t kStream[] = L"StreamIndex";
constexpr wchar_t kRecordFolder[] = L"RecordVideoPath";
constexpr wchar_t kRecordMiB[] = L"RecordMaxFileSize";
constexpr wchar_t kRecordSeconds[] = L"RecordMaxFileTimeLength";
constexpr wchar_t kSnapshotFolder[] = L"SnapshotPath";
constexpr wchar_t kStatistics[] = L"ShowStatistics";

constexpr long kMostOption = 3;
constexpr long kMostStreams = 16;    // that a camera's channel can have
constexpr long kStreamsOffered = 4;  // of a camera that has not said how many it has

bool IsSeparator(wchar_t c) {
    return c == L'\\' || c == L'/';
}

bool IsFolder(const std::wstring& text) {
    return text.empty() || IsWholePath(text);
}

}  // namespace

std::optional<long> ParseNumber(const std::wstring& text, long most) {
    long number = 0;
    for (const wchar_t c : text) {
        if (c < L'0' || c > L'9' || number > most / 10) return std::nullopt;
        number = number * 10 + (c - L'0');
    }
    if (number > most) return std::nullopt;
    return number;
}

bool IsWholePath(const std::wstring& folder) {
    if (folder.size() >= 3 && folder[1] == L':' && IsSeparator(folder[2])) {
        const wchar_t drive = static_cast<wchar_t>(folder[0] | 0x20);
        return drive >= L'a' && drive <= L'z';
    }
    // A share: \\server\share
    if (folder.size() < 5 || !IsSeparator(folder[0]) || !IsSeparator(folder[1])) return false;
    const std::size_t share = folder.find_first_of(L"\\/", 2);
    return share != std::wstring::npos && share > 2 && share + 1 < folder.size() && folder[2] != L'.' &&
           folder[2] != L'?';
}

int VideoPosition(std::uint32_t option) {
    const auto found = std::find(kVideoOptions.begin(), kVideoOptions.end(), option);
    return found == kVideoOptions.end() ? 0 : static_cast<int>(found - kVideoOptions.begin());
}

ClientSettingsFault TakeEntered(const EnteredSettings& entered, ClientSettings& settings) {
    const auto size = ParseNumber(entered.recordMiB, ClientSettings::kMostMiB);
    const auto time = ParseNumber(entered.recordSeconds, ClientSettings::kMostSeconds);
    if (!IsFolder(entered.recordFolder)) return ClientSettingsFault::kRecordFolder;
    if (!size) return ClientSettingsFault::kSize;
    if (!time) return ClientSettingsFault::kTime;
    if (!IsFolder(entered.snapshotFolder)) return ClientSettingsFault::kSnapshotFolder;
    settings = entered.chosen;
    settings.recordFolder = entered.recordFolder;
    settings.recordMiB = *size;
    settings.recordSeconds = *time;
    settings.snapshotFolder = entered.snapshotFolder;
    return ClientSettingsFault::kNone;
}

std::vector<StreamChoice> StreamChoices(const std::vector<std::uint8_t>& known, long current) {
    std::vector<StreamChoice> choices;
    const long count =
        known.empty() ? std::clamp(current, kStreamsOffered, kMostStreams) : static_cast<long>(known.size());
    for (long number = 1; number <= count; ++number)
        choices.push_back(
            {number, known.empty() ? std::uint8_t{0} : known[static_cast<std::size_t>(number - 1)]});
    return choices;
}

ClientValues ToValues(const ClientSettings& settings) {
    return {{kVideo, std::to_wstring(settings.video)},
            {kProtocol, std::to_wstring(settings.protocol)},
            {kStream, std::to_wstring(settings.stream)},
            {kRecordFolder, settings.recordFolder},
            {kRecordMiB, std::to_wstring(settings.recordMiB)},
            {kRecordSeconds, std::to_wstring(settings.recordSeconds)},
            {kSnapshotFolder, settings.snapshotFolder},
            {kStatistics, settings.statistics ? L"1" : L"0"}};
}

void TakeValue(ClientSettings& settings, const std::wstring& name, const std::wstring& text) {
    if (name == kRecordFolder && IsFolder(text)) settings.recordFolder = text;
    if (name == kSnapshotFolder && IsFolder(text)) settings.snapshotFolder = text;
    if (text.empty()) return;
    const auto number = [&](long most) { return ParseNumber(text, most); };
    if (const auto option = number(kVideoOptions.back()); option && name == kVideo)
        settings.video =
            kVideoOptions.at(static_cast<std::size_t>(VideoPosition(static_cast<std::uint32_t>(*option))));
    if (const auto option = number(kMostOption)) {
        if (name == kProtocol) settings.protocol = static_cast<std::uint32_t>(*option);
        if (name == kStatistics) settings.statistics = *option != 0;
    }
    if (const auto stream = number(kMostStreams); stream && *stream > 0 && name == kStream)
        settings.stream = *stream;
    if (const auto size = number(ClientSettings::kMostMiB); size && name == kRecordMiB)
        settings.recordMiB = *size;
    if (const auto time = number(ClientSettings::kMostSeconds); time && name == kRecordSeconds)
        settings.recordSeconds = *time;
}

}  // namespace norix
