#include "record/RecordFileWin32.h"

namespace norix {

FileResult FileResultOf(DWORD error) {
    switch (error) {
        case ERROR_SUCCESS:
            return FileResult::Ok;
        case ERROR_DISK_FULL:
        case ERROR_HANDLE_DISK_FULL:
            return FileResult::DiskFull;
        default:
            return FileResult::Failed;
    }
}

FileResult RecordFileWin32::Write(std::uint64_t position, RecordBytes bytes) {
    OVERLAPPED at = {};
    at.Offset = static_cast<DWORD>(position);
    at.OffsetHigh = static_cast<DWORD>(position >> 32);
    DWORD written = 0;
    if (!WriteFile(m_file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, &at))
        return FileResultOf(GetLastError());
    // A disk that takes only a part has no room for the rest.
    return written == bytes.size() ? FileResult::Ok : FileResult::DiskFull;
}

FileResult RecordFileWin32::Flush() {
    return FlushFileBuffers(m_file.Get()) ? FileResult::Ok : FileResultOf(GetLastError());
}

FileResult RecordFileWin32::Close() {
    return CloseHandle(m_file.Release()) ? FileResult::Ok : FileResultOf(GetLastError());
}

void RecordFileWin32::Discard() {
    m_file.Reset();
    DeleteFileW(m_path.c_str());
}

}  // namespace norix
