#pragma once

// How a log line reads and how a record of the log file is laid out. Pure: no system calls, no allocation.

#include <array>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace util {

/// Characters of the buffer a caller's text is formatted into, terminator included: longer texts are cut.
inline constexpr size_t kLogTextCapacity = 2048;
/// Characters of a whole line, terminator included: the text and room for the tag, thread id and location.
inline constexpr size_t kLogLineCapacity = kLogTextCapacity + 512;

/// A line under construction: "[NorixSDK][T00042] text [File.cpp(12) Class::Method()]\r\n". Call Begin, Text,
/// Location (optional) and End, in this order. A location that doesn't fit is cut; the CR LF never is.
/// Char is char or wchar_t.
template <class Char>
class LogLine {
  public:
    using View = std::basic_string_view<Char>;

    void Begin() noexcept;
    void Begin(int threadId) noexcept;
    void Text(const Char* format, va_list arguments) noexcept;
    void Location(const Char* file, int line, const Char* function) noexcept;
    void End() noexcept;

    View Str() const noexcept { return {m_chars.data(), m_length}; }
    const Char* CStr() const noexcept { return m_chars.data(); }  // after End

  private:
    void Append(View text) noexcept;
    void AppendNumber(int number, int minDigits) noexcept;

    std::array<Char, kLogLineCapacity> m_chars;
    size_t m_length = 0;
};

extern template class LogLine<char>;
extern template class LogLine<wchar_t>;

/// What precedes the characters in a record. Narrow: the length n as one byte if n < 255; else the byte 0xFF
/// and n as 16 bits if n < 0xFFFE; else 0xFF, 0xFFFF and n as 32 bits. Wide: first 0xFF and the 16-bit marker
/// 0xFFFE, then the length in the same way. All little-endian.
struct LogRecordPrefix {
    LogRecordPrefix(uint32_t length, bool wide) noexcept;
    std::array<uint8_t, 10> bytes;
    size_t size = 0;

  private:
    void Put(uint32_t value, int byteCount) noexcept;
};

/// One line as the log file holds it: the prefix and then the characters, wide ones as 16-bit units.
class LogRecord {
  public:
    explicit LogRecord(std::string_view line) noexcept;
    explicit LogRecord(std::wstring_view line) noexcept;

    const uint8_t* Data() const noexcept { return m_bytes.data(); }
    size_t Size() const noexcept { return m_size; }

  private:
    void PutPrefix(const LogRecordPrefix& prefix) noexcept;

    std::array<uint8_t, 10 + 2 * kLogLineCapacity> m_bytes;
    size_t m_size = 0;
};

}  // namespace util
