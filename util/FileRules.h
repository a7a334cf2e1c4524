#pragma once

// Where a file may be written whose folder or name a host, a page or a setting gives. Pure; FileOpener.h is
// what opens it.

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "util/TrustLevel.h"

namespace util {

enum class FileFault {
    kNone,
    kNoName,
    kBadCharacter,  ///< a zero, a control character, or one of < > " | ? *
    kStream,        ///< a colon that does not end a drive: a file's alternate stream
    kDevice,        ///< CON, NUL, COM1 and the like, with any extension, and the device namespace
    kWayUp,         ///< "." or ".." where only a way down may stand
    kSeparator,     ///< a separator in a name
    kTrailing,      ///< the system drops a dot or blank at the end of a name: another file would be opened
    kTooLong,
    kNotGranted,  ///< no folder was picked for the page
    kOutside,     ///< not below the folder that was picked
    // From here on: found out by the opener.
    kNoFolder,
    kNoDiskFile,  ///< a pipe, a console, a folder
    kLink,        ///< a reparse point, or a file that has a second name
    kTaken,       ///< the name, and all numbered ones
    kSystem,      ///< the system's error says why
};

/// One line for the log.
const char* Describe(FileFault fault) noexcept;

/// A file that somebody wants to be written.
struct FileWish {
    TrustLevel level = TrustLevel::kTrusted;
    std::wstring folder;     ///< Trusted: any, also relative and UNC. Web: below `root`, relative ones too
    std::wstring name;       ///< never with a folder: SplitPath is for those who have a whole path
    std::wstring extension;  ///< with its dot: the name gets it unless it ends in it already; may be empty
    std::wstring root;       ///< Web: the folder that the user picked for the page
};

/// Where it goes. `folder` ends in a separator, or is empty for the current folder of the process.
struct FilePlace {
    FileFault fault = FileFault::kNone;
    std::wstring folder;
    std::wstring name;
    std::size_t rootLength = 0;  ///< Web: as much of `folder` is the picked one; each further part is checked
};

FilePlace PlaceFile(const FileWish& wish);

/// Whether a text can be the name of one file or folder, and nothing else.
FileFault CheckName(std::wstring_view name) noexcept;

/// The part up to and with the last separator, and the rest.
std::pair<std::wstring, std::wstring> SplitPath(std::wstring_view path);

/// "clip.avi" and 2: "clip (2).avi". Shortened where the name would get too long.
std::wstring NumberedName(std::wstring_view name, unsigned number);

/// Whether `folder` is `root` or lies below it; both whole paths. Letters count without case.
bool IsWithin(std::wstring_view folder, std::wstring_view root) noexcept;

}  // namespace util
