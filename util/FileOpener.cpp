#include "util/FileOpener.h"

#include <string_view>
#include <vector>

namespace util {
namespace {

constexpr unsigned kHighestNumber = 9999;

// A path on an empty removable drive must fail, not ask the user for a disk.
class NoErrorBoxes {
  public:
    NoErrorBoxes() noexcept { SetThreadErrorMode(SEM_FAILCRITICALERRORS, &m_previous); }
    ~NoErrorBoxes() { SetThreadErrorMode(m_previous, nullptr); }
    NoErrorBoxes(const NoErrorBoxes&) = delete;
    NoErrorBoxes& operator=(const NoErrorBoxes&) = delete;

  private:
    DWORD m_previous = 0;
};

bool IsReparsePoint(HANDLE file) noexcept {
    BY_HANDLE_FILE_INFORMATION info = {};
    // What can't be asked is taken for one.
    return !GetFileInformationByHandle(file, &info) ||
           (info.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

/// Opens the folders between the picked one and the file's, so that nobody can put links in their places
/// until the file is open: an access to their contents is what other openers have to share.
FileFault HoldFolders(const FilePlace& place, std::vector<UniqueFile>& held) {
    for (std::size_t at = place.rootLength; at < place.folder.size(); ++at) {
        at = place.folder.find(L'\\', at);
        if (at == std::wstring::npos) break;
        UniqueFile folder(CreateFileW(place.folder.substr(0, at).c_str(),
                                      FILE_LIST_DIRECTORY | FILE_READ_ATTRIBUTES,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                      FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
        if (!folder) return FileFault::kNoFolder;
        if (IsReparsePoint(folder.Get())) return FileFault::kLink;
        held.push_back(std::move(folder));
    }
    return FileFault::kNone;
}

FileFault CheckOpened(HANDLE file) noexcept {
    if (GetFileType(file) != FILE_TYPE_DISK) return FileFault::kNoDiskFile;
    BY_HANDLE_FILE_INFORMATION info = {};
    if (!GetFileInformationByHandle(file, &info)) return FileFault::kSystem;
    if ((info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return FileFault::kNoDiskFile;
    if ((info.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) return FileFault::kLink;
    return info.nNumberOfLinks > 1 ? FileFault::kLink : FileFault::kNone;
}

/// Opens the path; nothing that is there is changed before it is known to be a plain file.
OpenedFile Open(std::wstring path, bool onlyNew) {
    OpenedFile opened;
    opened.path = std::move(path);
    opened.file.Reset(CreateFileW(opened.path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                  onlyNew ? CREATE_NEW : OPEN_ALWAYS,
                                  FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    if (!opened.file) {
        opened.error = GetLastError();
        const bool exists = opened.error == ERROR_FILE_EXISTS || opened.error == ERROR_ALREADY_EXISTS;
        const bool missing = opened.error == ERROR_PATH_NOT_FOUND || opened.error == ERROR_BAD_NETPATH ||
                             opened.error == ERROR_BAD_NET_NAME || opened.error == ERROR_NOT_READY;
        opened.fault = exists ? FileFault::kTaken : missing ? FileFault::kNoFolder : FileFault::kSystem;
        return opened;
    }
    opened.fault = CheckOpened(opened.file.Get());
    if (opened.fault == FileFault::kNone && !onlyNew && !SetEndOfFile(opened.file.Get()))
        opened.fault = FileFault::kSystem;
    if (opened.fault != FileFault::kNone) {
        opened.error = GetLastError();
        opened.file.Reset();
    }
    return opened;
}

/// Programs that open the file treat it as a download. File systems without streams don't keep the mark.
void MarkAsDownloaded(const std::wstring& path) {
    constexpr std::string_view kMark = "[ZoneTransfer]\r\nZoneId=3\r\n";
    const UniqueFile mark(CreateFileW((path + L":Zone.Identifier").c_str(), GENERIC_WRITE, FILE_SHARE_READ,
                                      nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD written = 0;
    if (mark) WriteFile(mark.Get(), kMark.data(), static_cast<DWORD>(kMark.size()), &written, nullptr);
}

}  // namespace

OpenedFile OpenForWriting(const FileWish& wish, Taken taken) {
    const NoErrorBoxes quiet;
    const bool forPage = wish.level == TrustLevel::kWeb;
    if (forPage && taken == Taken::kReplace) taken = Taken::kNumber;

    const FilePlace place = PlaceFile(wish);
    OpenedFile opened;
    opened.path = place.folder + place.name;
    opened.fault = place.fault;
    if (opened.fault != FileFault::kNone) return opened;

    std::vector<UniqueFile> held;
    if (forPage) opened.fault = HoldFolders(place, held);
    if (opened.fault != FileFault::kNone) return opened;

    opened = Open(std::move(opened.path), taken != Taken::kReplace);
    for (unsigned number = 2;
         opened.fault == FileFault::kTaken && taken == Taken::kNumber && number <= kHighestNumber; ++number) {
        opened = Open(place.folder + NumberedName(place.name, number), true);
    }
    if (opened && forPage) MarkAsDownloaded(opened.path);
    return opened;
}

}  // namespace util
