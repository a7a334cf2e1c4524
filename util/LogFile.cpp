#include "util/LogFile.h"

#include <exception>
#include <mutex>
#include <string_view>
#include <tuple>

#include "util/FileOpener.h"

namespace util {

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
    try {
        FileWish wish;
        std::tie(wish.folder, wish.name) = SplitPath(m_path);
        OpenedFile opened = OpenForWriting(wish, Taken::kReplace);
        if (opened) m_file = opened.file.Release();
    } catch (const std::exception&) {
        // No memory: the next line tries again.
    }
}

}  // namespace util
