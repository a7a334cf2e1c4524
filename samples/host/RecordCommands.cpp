#include "RecordCommands.h"

#include <shlobj.h>

#include <cwchar>
#include <iterator>

#include "Values.h"

namespace {

constexpr short kAvi = 1;  // StartRecording's formats
constexpr ULONGLONG kSecond = 1000;

// Values of ERecordStatus.
enum RecordStatus : long { kRecording = 1, kStarted = 3, kStopped = 4 };
constexpr const wchar_t* kStatusTexts[] = {L"",
                                           L"",
                                           L"recording: the disk is full",
                                           L"",
                                           L"",
                                           L"recording: the folder is not there",
                                           L"recording: the file could not be made",
                                           L"recording: writing failed"};

struct Limit {
    const wchar_t* text;
    const wchar_t* seconds;
    const wchar_t* mebibytes;
};
constexpr Limit kLimits[] = {{L"10 minutes", L"600", L"0"},
                             {L"1 minute", L"60", L"0"},
                             {L"100 MiB", L"0", L"100"},
                             {L"no limit", L"0", L"0"}};

std::wstring VideosFolder() {
    wchar_t path[MAX_PATH] = L"";
    SHGetFolderPathW(nullptr, CSIDL_MYVIDEO | CSIDL_FLAG_CREATE, nullptr, SHGFP_TYPE_CURRENT, path);
    return path;
}

std::wstring WithSeparator(std::wstring folder) {
    if (!folder.empty() && folder.back() != L'\\' && folder.back() != L'/') folder += L'\\';
    return folder;
}

// Bytes of the newest recording in the folder. The directory may lag behind a file that is being written.
ULONGLONG NewestSize(const std::wstring& folder) {
    WIN32_FIND_DATAW found{};
    FILETIME newest{};
    ULONGLONG size = 0;
    const HANDLE search = FindFirstFileW((folder + L"*.avi").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return 0;
    do {
        if (CompareFileTime(&found.ftCreationTime, &newest) < 0) continue;
        newest = found.ftCreationTime;
        size = static_cast<ULONGLONG>(found.nFileSizeHigh) << 32 | found.nFileSizeLow;
    } while (FindNextFileW(search, &found));
    FindClose(search);
    return size;
}

}  // namespace

void RecordCommands::Toggle() {
    if (wanted_) {
        wanted_ = false;
        call_(L"StopRecording", {kAvi});
        return;
    }
    folder_ = get_(L"RecordVideoPath");
    if (folder_.empty()) {
        folder_ = WithSeparator(VideosFolder());
        set_(L"RecordVideoPath", folder_);
    }
    call_(L"StartRecording", {kAvi});
    wanted_ = true;
}

void RecordCommands::PickFolder(HWND owner) {
    BROWSEINFOW browse{};
    browse.hwndOwner = owner;
    browse.lpszTitle = L"Folder for recordings";
    browse.ulFlags = BIF_RETURNONLYFSDIRS | BIF_NEWDIALOGSTYLE;
    const PIDLIST_ABSOLUTE item = SHBrowseForFolderW(&browse);
    if (!item) return;
    wchar_t path[MAX_PATH] = L"";
    const bool known = SHGetPathFromIDListW(item, path) != FALSE;
    CoTaskMemFree(item);
    if (!known) return;
    folder_ = WithSeparator(path);
    set_(L"RecordVideoPath", folder_);
}

void RecordCommands::NextLimit() {
    const Limit& limit = kLimits[limit_++ % std::size(kLimits)];
    set_(L"RecordMaxFileTimeLength", limit.seconds);
    set_(L"RecordMaxFileSize", limit.mebibytes);
    say_(std::wstring(L"recordings: ") + limit.text);
}

void RecordCommands::OnEvent(const Event& event) {
    if (event.member->name != L"OnRecordStatus" || event.arguments.empty()) return;
    const long status = std::wcstol(Describe(*event.arguments[0]).c_str(), nullptr, 10);
    if (status == kStarted) begun_ = GetTickCount64();
    if (status == kStarted || status == kRecording) {
        ShowProgress();
        return;
    }
    begun_ = 0;
    show_(L"");
    if (status == kStopped) say_(L"recorded");
    if (status >= 0 && status < static_cast<long>(std::size(kStatusTexts)) && *kStatusTexts[status] != 0)
        say_(kStatusTexts[status]);
}

// One event comes with each frame; once a second is enough.
void RecordCommands::ShowProgress() {
    const ULONGLONG now = GetTickCount64();
    if (begun_ == 0 || now - shown_ < kSecond) return;
    shown_ = now;
    const ULONGLONG seconds = (now - begun_) / kSecond;
    constexpr double kMebibyte = 1048576;
    wchar_t text[64];
    std::swprintf(text, std::size(text), L"REC %llu:%02llu, %.1f MiB", seconds / 60, seconds % 60,
                  static_cast<double>(NewestSize(folder_)) / kMebibyte);
    show_(text);
}

void RecordCommands::Forget() {
    wanted_ = false;
    begun_ = 0;
    show_(L"");
}
