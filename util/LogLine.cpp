#include "util/LogLine.h"

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <string>

namespace util {
namespace {

constexpr size_t kLineEndRoom = 3;  // CR, LF and the terminator

// Formats into `capacity` characters. The C libraries differ in what they return for a cut text, but all of
// them leave its beginning in the buffer.
void FormatInto(char* buffer, size_t capacity, const char* format, va_list arguments) noexcept {
    std::vsnprintf(buffer, capacity, format, arguments);
}

void FormatInto(wchar_t* buffer, size_t capacity, const wchar_t* format, va_list arguments) noexcept {
    std::vswprintf(buffer, capacity, format, arguments);
}

template <class Char>
std::basic_string_view<Char> FileName(const Char* path) noexcept {
    constexpr Char kSeparators[] = {'\\', '/', 0};
    const std::basic_string_view<Char> name(path);
    const size_t separator = name.find_last_of(kSeparators);
    return separator == name.npos ? name : name.substr(separator + 1);
}

}  // namespace

template <class Char>
void LogLine<Char>::Begin() noexcept {
    constexpr Char kTag[] = {'[', 'N', 'o', 'r', 'i', 'x', 'S', 'D', 'K', ']', 0};
    m_length = 0;
    Append(kTag);
}

template <class Char>
void LogLine<Char>::Begin(int threadId) noexcept {
    constexpr Char kOpen[] = {'[', 'T', 0};
    constexpr Char kClose[] = {']', ' ', 0};
    Begin();
    Append(kOpen);
    AppendNumber(threadId, 5);
    Append(kClose);
}

template <class Char>
void LogLine<Char>::Text(const Char* format, va_list arguments) noexcept {
    static_assert(kLogTextCapacity + 64 <= kLogLineCapacity, "the text fits behind any tag and thread id");
    Char* const text = m_chars.data() + m_length;
    text[0] = 0;
    FormatInto(text, kLogTextCapacity, format, arguments);
    text[kLogTextCapacity - 1] = 0;
    m_length += std::char_traits<Char>::length(text);
}

template <class Char>
void LogLine<Char>::Location(const Char* file, int line, const Char* function) noexcept {
    constexpr Char kOpen[] = {' ', '[', 0};
    constexpr Char kLine[] = {'(', 0};
    constexpr Char kFunction[] = {')', ' ', 0};
    constexpr Char kClose[] = {'(', ')', ']', 0};
    Append(kOpen);
    Append(FileName(file));
    Append(kLine);
    AppendNumber(line, 1);
    Append(kFunction);
    Append(function);
    Append(kClose);
}

template <class Char>
void LogLine<Char>::End() noexcept {
    m_chars[m_length++] = '\r';
    m_chars[m_length++] = '\n';
    m_chars[m_length] = 0;
}

template <class Char>
void LogLine<Char>::Append(View text) noexcept {
    const size_t count = std::min(text.size(), kLogLineCapacity - kLineEndRoom - m_length);
    std::copy_n(text.data(), count, m_chars.data() + m_length);
    m_length += count;
}

template <class Char>
void LogLine<Char>::AppendNumber(int number, int minDigits) noexcept {
    char digits[24];
    const int count = std::snprintf(digits, sizeof digits, "%0*d", minDigits, number);
    Char converted[sizeof digits];
    std::copy_n(digits, count, converted);
    Append({converted, static_cast<size_t>(count)});
}

template class LogLine<char>;
template class LogLine<wchar_t>;

LogRecordPrefix::LogRecordPrefix(uint32_t length, bool wide) noexcept {
    if (wide) {
        Put(0xFF, 1);
        Put(0xFFFE, 2);
    }
    if (length < 0xFF) {
        Put(length, 1);
        return;
    }
    Put(0xFF, 1);
    if (length < 0xFFFE) {
        Put(length, 2);
        return;
    }
    Put(0xFFFF, 2);
    Put(length, 4);
}

void LogRecordPrefix::Put(uint32_t value, int byteCount) noexcept {
    for (int i = 0; i < byteCount; ++i) {
        bytes[size++] = static_cast<uint8_t>(value >> (8 * i));
    }
}

LogRecord::LogRecord(std::string_view line) noexcept {
    line = line.substr(0, kLogLineCapacity);
    PutPrefix(LogRecordPrefix(static_cast<uint32_t>(line.size()), false));
    std::copy(line.begin(), line.end(), m_bytes.begin() + m_size);
    m_size += line.size();
}

LogRecord::LogRecord(std::wstring_view line) noexcept {
    line = line.substr(0, kLogLineCapacity);
    PutPrefix(LogRecordPrefix(static_cast<uint32_t>(line.size()), true));
    for (const wchar_t unit : line) {
        m_bytes[m_size++] = static_cast<uint8_t>(unit);
        m_bytes[m_size++] = static_cast<uint8_t>(unit >> 8);
    }
}

void LogRecord::PutPrefix(const LogRecordPrefix& prefix) noexcept {
    std::copy_n(prefix.bytes.begin(), prefix.size, m_bytes.begin());
    m_size = prefix.size;
}

}  // namespace util
