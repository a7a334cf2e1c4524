#include "tests/support/DebuggerCapture.h"

#include <windows.h>

#include <algorithm>
#include <regex>

namespace norix::test {

namespace {

constexpr DWORD kNarrowText = 0x40010006;  // DBG_PRINTEXCEPTION_C
constexpr DWORD kWideText = 0x4001000A;    // DBG_PRINTEXCEPTION_WIDE_C

std::mutex* g_lock = nullptr;
std::vector<std::string>* g_lines = nullptr;

LONG CALLBACK OnException(EXCEPTION_POINTERS* exception) {
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    if ((record.ExceptionCode != kNarrowText && record.ExceptionCode != kWideText) ||
        record.NumberParameters < 2) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    std::string line;
    if (record.ExceptionCode == kNarrowText) {
        line = reinterpret_cast<const char*>(record.ExceptionInformation[1]);
    } else {
        const auto* text = reinterpret_cast<const wchar_t*>(record.ExceptionInformation[1]);
        for (; *text != 0; ++text)
            line += *text < 0x80 ? static_cast<char>(*text) : '?';
    }
    const std::lock_guard lock(*g_lock);
    g_lines->push_back(line);
    return EXCEPTION_CONTINUE_EXECUTION;
}

}  // namespace

DebuggerCapture::DebuggerCapture() {
    g_lock = &m_lock;
    g_lines = &m_lines;
    m_handler = AddVectoredExceptionHandler(1, &OnException);
}

DebuggerCapture::~DebuggerCapture() {
    RemoveVectoredExceptionHandler(m_handler);
}

std::vector<std::string> DebuggerCapture::Lines() const {
    const std::lock_guard lock(m_lock);
    return m_lines;
}

std::vector<std::string> DebuggerCapture::Messages() const {
    static const std::regex kLine(R"(^\[NorixSDK\](\[T\d+\] )?(.*?)( \[\w+\.\w+\(\d+\) [^\]]*\(\)\])?\r\n$)");
    std::vector<std::string> messages;
    for (const std::string& line : Lines()) {
        std::smatch parts;
        messages.push_back(std::regex_match(line, parts, kLine) ? parts[2].str() : "not of the log: " + line);
    }
    return messages;
}

bool DebuggerCapture::Has(const std::string& beginning) const {
    const std::vector<std::string> messages = Messages();
    return std::any_of(messages.begin(), messages.end(),
                       [&](const std::string& message) { return message.starts_with(beginning); });
}

void DebuggerCapture::Clear() {
    const std::lock_guard lock(m_lock);
    m_lines.clear();
}

}  // namespace norix::test
