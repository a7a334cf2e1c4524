#pragma once

// Small pure operations on protocol text, all bounded by the view they are given.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace protocol {

std::string_view trim(std::string_view text);
bool equalsIgnoringCase(std::string_view a, std::string_view b);
bool startsWithIgnoringCase(std::string_view text, std::string_view prefix);
std::string toLower(std::string_view text);
std::string toUpper(std::string_view text);

/// Cuts `rest` at the first separator and answers what was in front of it (all of it when there is none).
std::string_view take(std::string_view& rest, char separator);
/// The next line without its end (LF or CRLF).
std::string_view takeLine(std::string_view& rest);
/// The same as take, but separators within "..." do not count.
std::string_view takeOutsideQuotes(std::string_view& rest, char separator);

/// A decimal number that fills the whole text and is at most `limit`.
std::optional<std::uint32_t> parseNumber(std::string_view text, std::uint32_t limit = 0xFFFFFFFFu);
/// A hexadecimal number of up to 8 digits that fills the whole text.
std::optional<std::uint32_t> parseHex(std::string_view text);
/// Seconds with a fraction, not negative, finite; in any locale.
std::optional<double> parseSeconds(std::string_view text);
std::string formatSeconds(double seconds);

/// Blanks, control characters, bytes above 7E and those of `reserved` as "%XX".
std::string percentEncode(std::string_view text, std::string_view reserved);
std::string percentDecode(std::string_view text);
std::string encodeBase64(std::string_view bytes);
/// Stops at the first character that is none of base64's.
std::vector<unsigned char> decodeBase64(std::string_view text);
std::string toHex(const unsigned char* bytes, std::size_t size);
/// Pairs of hexadecimal digits, an odd last one left out; empty when another character is among them.
std::vector<unsigned char> fromHex(std::string_view text);
/// -1 for what is no hexadecimal digit.
int hexDigit(char c);

}  // namespace protocol
