#pragma once

// In which code page a camera's texts are. Any thread.

#include <optional>
#include <string>
#include <string_view>

namespace norix {

inline constexpr unsigned kCodePageSystem = 0;
inline constexpr unsigned kCodePageGb2312 = 936;
inline constexpr unsigned kCodePageAscii = 20127;
inline constexpr unsigned kCodePageUtf8 = 65001;

/// The code page that a charset's name stands for. Pure.
unsigned CodePageOf(std::string_view charset);

/// The charset that the "Content-Type" line of a reply's headers names; nothing when there is no such line or
/// the first one names none. At most 64 characters. Pure.
std::optional<std::string> FindCharset(std::string_view headers);

/// Conversions by the system; what can't be converted is replaced, never an error. Builds for other systems
/// than Windows know ASCII only.
std::wstring BytesToWide(std::string_view bytes, unsigned codePage);
std::string WideToBytes(std::wstring_view text, unsigned codePage);

}  // namespace norix
