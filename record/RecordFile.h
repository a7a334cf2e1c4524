#pragma once

// Where a recording's bytes go: the edge between what is written and the system that writes it. The system's
// side is in RecordFileWin32.h; tests put one in its place that fails where they tell it to.

#include <cstdint>
#include <memory>
#include <span>

namespace norix {

using RecordBytes = std::span<const std::uint8_t>;

enum class FileResult {
    Ok,
    Failed,    // the system refused, or wrote only a part
    DiskFull,  // the same, for want of room
    NoFolder,  // of Create only: the folder is not there
};

/// One file that is being written. One thread. Every call may block for as long as the disk or share does.
/// Closes itself when destroyed.
class RecordFile {
  public:
    virtual ~RecordFile() = default;

    /// Writes all the bytes at this position; beyond the end the file grows. After anything but Ok it is not
    /// known how much was written.
    virtual FileResult Write(std::uint64_t position, RecordBytes bytes) = 0;
    /// What was written survives a loss of power.
    virtual FileResult Flush() = 0;
    /// Once, the last call.
    virtual FileResult Close() = 0;
    /// Instead of Close: the file goes away, as nothing is in it. Errors are ignored.
    virtual void Discard() = 0;
};

}  // namespace norix
