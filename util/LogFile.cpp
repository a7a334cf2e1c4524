#include "util/LogFile.h"

#include <mutex>
#include <string_view>

namespace util {
namespace {

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

}  // namespace

void LogFile::Open(const wchar_t* path) noexcept {
    std::wstring_view name = path ? path : kDefaultLogFilePath;
    if (name.size() >= kPathCapacity) name = {};
    const std::lock_guard lock(m_lock);
    m_path[name.copy(m_path, name.size())] = 0;
    CloseLocked();
    CreateLocked();
}

void LogFile::Close() noexcept {
    const std::lock_guard lock(m_lock);
    CloseLocked();
}

void LogFile::Write(const LogRecord& record) noexcept {
    const std::lock_guard lock(m_lock);
    if (!m_file) {
        CreateLocked();
        return;
    }
    const auto size = static_cast<DWORD>(record.Size());
    DWORD written = 0;
    if (WriteFile(m_file, record.Data(), size, &written, nullptr) && written == size) return;
    SetFilePointer(m_file, -static_cast<LONG>(written), nullptr, FILE_CURRENT);
    SetEndOfFile(m_file);
}

void LogFile::CloseLocked() noexcept {
    if (!m_file) return;
    CloseHandle(m_file);
    m_file = nullptr;
}

void LogFile::CreateLocked() noexcept {
    const NoErrorBoxes quiet;
    const HANDLE file = CreateFileW(m_path, GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file != INVALID_HANDLE_VALUE) m_file = file;
}

}  // namespace util
