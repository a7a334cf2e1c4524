#pragma once

// The one way to open a file for writing whose folder or name comes from a host, a page or a setting:
// recordings, snapshots, the log.

#include <windows.h>

#include <string>

#include "util/FileRules.h"
#include "util/Handles.h"

namespace util {

/// What becomes of a file that has the name already.
enum class Taken {
    kReplace,  ///< it is emptied. For a page the same as kNumber: no page writes over anything
    kNumber,   ///< the new one is called "name (2).ext", "name (3).ext" ...
    kRefuse,
};

struct OpenedFile {
    UniqueFile file;    ///< empty, for writing, read by others meanwhile; nothing where `fault` says why not
    std::wstring path;  ///< as it was opened, or as far as it was known
    FileFault fault = FileFault::kNone;
    DWORD error = ERROR_SUCCESS;  ///< the system's, where it gave one

    explicit operator bool() const noexcept { return static_cast<bool>(file); }
};

/// Opens the file by PlaceFile's rules, and only if it is one: a file on a disk (or a share), with this one
/// name, no link to another. The folder must be there. For a page no part of the folder below the picked one
/// may be a link either, and the file is marked as one that came from the Internet.
///
/// Blocks as long as the disk or share does; never asks the user for a disk. Any thread. Logs nothing.
/// Throws std::bad_alloc.
OpenedFile OpenForWriting(const FileWish& wish, Taken taken);

}  // namespace util
