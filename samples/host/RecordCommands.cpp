#include "RecordCommands.h"

#include <shlobj.h>

#include <cwchar>
#include <iterator>

#include "Automation.h"
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

// The newest recording in the folder.
std::wstring NewestFile(const std::wstring& folder) {
    WIN32_FIND_DATAW found{};
    FILETIME newest{};
    std::wstring path;
    const HANDLE search = FindFirstFileW((folder + L"*.avi").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return path;
    do {
        if (CompareFileTime(&found.ftCreationTime, &newest) < 0) continue;
        newest = found.ftCreationTime;
        path = folder + found.cFileName;
    } while (FindNextFileW(search, &found));
    FindClose(search);
    return path;
}

// Asked of the file: the directory says how large one is only once it is closed.
ULONGLONG SizeOf(const std::wstring& path) {
    const HANDLE file = CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return 0;
    LARGE_INTEGER size{};
    const BOOL known = GetFileSizeEx(file, &size);
    CloseHandle(file);
    return known ? static_cast<ULONGLONG>(size.QuadPart) : 0;
}

}  // namespace

void RecordCommands::Toggle() {
    if (wanted_) {
        wanted_ = false;
        call_(L"StopRecording", {kAvi});
        return;
    }
    if (get_(L"RecordVideoPath").empty()) set_(L"RecordVideoPath", WithSeparator(VideosFolder()));
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
    set_(L"RecordVideoPath", WithSeparator(path));
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
    if (status == kStarted) {
        begun_ = GetTickCount64();
        wanted_ = true;  // also by whoever calls the method itself
        file_ = NewestFile(WithSeparator(Folder()));
    }
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

// Inside an event nobody is there to be told of an error.
std::wstring RecordCommands::Folder() try {
    return get_(L"RecordVideoPath");
} catch (const AutomationError&) {
    return {};
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
                  static_cast<double>(SizeOf(file_)) / kMebibyte);
    show_(text);
}

void RecordCommands::Forget() {
    wanted_ = false;
    begun_ = 0;
    show_(L"");
}
