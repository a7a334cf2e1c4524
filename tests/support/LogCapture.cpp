#include <atomic>
#include <cerrno>
#include <cstdio>
#include <mutex>
#include <string_view>

#include "tests/support/LogCapture.h"
#include "util/Log.h"
#include "util/LogPlatform.h"

namespace util {
namespace {

std::mutex g_lock;
bool g_capturing = false;          // under g_lock
std::vector<std::string> g_lines;  // under g_lock

constexpr std::string_view kTag = "[NorixSDK]";
constexpr std::string_view kLineEnd = "\r\n";

}  // namespace

LogCapture::LogCapture() {
    const std::lock_guard lock(g_lock);
    g_capturing = true;
    g_lines.clear();
    Switches().output.Set(1);
    Switches().threadId.Set(0);
}

LogCapture::~LogCapture() {
    const std::lock_guard lock(g_lock);
    g_capturing = false;
    Switches().output.Set(0);
    Switches().threadId.Set(1);
}

std::vector<std::string> LogCapture::Lines() const {
    const std::lock_guard lock(g_lock);
    return g_lines;
}

bool LogCapture::Contains(const std::string& part) const {
    for (const std::string& line : Lines()) {
        if (line.find(part) != line.npos) return true;
    }
    return false;
}

void OpenLogFile(const wchar_t*) noexcept {}

void CloseLogFile() noexcept {
    Switches().output.Set(0);
    Switches().file.Set(0);
}

namespace platform {

int CurrentThreadId() noexcept {
    static std::atomic<int> s_last{0};
    thread_local const int t_id = ++s_last;
    return t_id;
}

void WriteLogFile(const LogRecord&) noexcept {}

void WriteDebugger(const char* line) noexcept {
    const std::lock_guard lock(g_lock);
    if (!g_capturing) {
        std::fputs(line, stderr);
        return;
    }
    std::string_view text = line;
    text.remove_prefix(kTag.size());
    text.remove_suffix(kLineEnd.size());
    g_lines.emplace_back(text);
}

void WriteDebugger(const wchar_t* line) noexcept {
    std::string narrow;
    for (; *line; ++line)
        narrow += *line < 0x80 ? static_cast<char>(*line) : '?';
    WriteDebugger(narrow.c_str());
}

uint32_t LastError() noexcept {
    return static_cast<uint32_t>(errno);
}
void SetLastError(uint32_t error) noexcept {
    errno = static_cast<int>(error);
}

}  // namespace platform
}  // namespace util
