#pragma once

// The log file: a sequence of length-prefixed records (see LogLine.h), one per line.
//
// One object for the process, constant-initialised and without a destructor, so that it works from the first
// to the last instruction of the module; Close is what ends it. Every method may be called from any thread; a
// lock keeps records whole. Others may read the file while we write.
//
// Errors: a file that can't be opened, or that is a link to another one, stays closed, and the next record
// tries again. A record that can't be written whole (full disk) is taken back, so that the file always ends
// with a whole record.

#include <windows.h>

#include <algorithm>
#include <iterator>

#include "util/Locks.h"
#include "util/Log.h"
#include "util/LogLine.h"

namespace util {

class LogFile {
  public:
    constexpr LogFile() noexcept { std::copy_n(kDefaultLogFilePath, std::size(kDefaultLogFilePath), m_path); }

    /// Starts an empty file at `path`; nullptr means the default path.
    void Open(const wchar_t* path) noexcept;
    void Close() noexcept;
    /// Appends a record. On a closed file: opens it at the current path, and the record is not written.
    void Write(const LogRecord& record) noexcept;

  private:
    // CreateFileW's limit is far below this; a longer path is refused like one that can't be opened.
    static constexpr size_t kPathCapacity = 1024;

    // Under m_lock.
    void CloseLocked() noexcept;
    void CreateLocked() noexcept;

    SlimLock m_lock;
    wchar_t m_path[kPathCapacity] = {};
    HANDLE m_file = nullptr;  // nullptr: closed
};

}  // namespace util
