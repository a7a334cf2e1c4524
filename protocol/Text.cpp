#include "protocol/Text.h"

#include <algorithm>
#include <array>

namespace protocol {
namespace {

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
char upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

constexpr char kBase64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<signed char, 256> kBase64Values = [] {
    std::array<signed char, 256> values{};
    values.fill(-1);
    for (int i = 0; i < 64; ++i)
        values[static_cast<unsigned char>(kBase64[i])] = static_cast<signed char>(i);
    return values;
}();

}  // namespace

int hexDigit(char c) {
    if (isDigit(c)) return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

std::string_view trim(std::string_view text) {
    while (!text.empty() && isSpace(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return lower(x) == lower(y); });
}

bool startsWithIgnoringCase(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() && equalsIgnoringCase(text.substr(0, prefix.size()), prefix);
}

std::string toLower(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), lower);
    return result;
}

std::string toUpper(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), upper);
    return result;
}

std::string_view take(std::string_view& rest, char separator) {
    const auto end = std::min(rest.find(separator), rest.size());
    const std::string_view taken = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return taken;
}

std::string_view takeLine(std::string_view& rest) {
    std::string_view line = take(rest, '\n');
    if (line.ends_with('\r')) line.remove_suffix(1);
    return line;
}

std::string_view takeOutsideQuotes(std::string_view& rest, char separator) {
    bool quoted = false;
    std::size_t end = 0;
    for (; end < rest.size(); ++end) {
        if (quoted && rest[end] == '\\' && end + 1 < rest.size()) {
            ++end;
        } else if (rest[end] == '"') {
            quoted = !quoted;
        } else if (!quoted && rest[end] == separator) {
            break;
        }
    }
    const std::string_view taken = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return taken;
}

std::optional<std::uint32_t> parseNumber(std::string_view text, std::uint32_t limit) {
    if (text.empty()) return std::nullopt;
    std::uint64_t value = 0;
    for (const char c : text) {
        if (!isDigit(c)) return std::nullopt;
        value = value * 10 + static_cast<unsigned>(c - '0');
        if (value > limit) return std::nullopt;
    }
    return static_cast<std::uint32_t>(value);
}

std::optional<std::uint32_t> parseHex(std::string_view text) {
    if (text.empty() || text.size() > 8) return std::nullopt;
    std::uint32_t value = 0;
    for (const char c : text) {
        const int digit = hexDigit(c);
        if (digit < 0) return std::nullopt;
        value = value << 4 | static_cast<unsigned>(digit);
    }
    return value;
}

std::optional<double> parseSeconds(std::string_view text) {
    const std::string_view whole = take(text, '.');
    const auto seconds = parseNumber(whole);
    if (!seconds) return std::nullopt;
    double value = *seconds;
    double unit = 0.1;
    for (const char c : text) {
        if (!isDigit(c)) return std::nullopt;
        value += unit * (c - '0');
        unit /= 10;
    }
    return value;
}

std::string formatSeconds(double seconds) {
    constexpr double kLongest = 1e9;
    const auto milliseconds = static_cast<std::uint64_t>(std::clamp(seconds, 0.0, kLongest) * 1000 + 0.5);
    std::string fraction = std::to_string(milliseconds % 1000);
    fraction.insert(0, 3 - fraction.size(), '0');
    return std::to_string(milliseconds / 1000) + "." + fraction;
}

std::string percentEncode(std::string_view text, std::string_view reserved) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string encoded;
    encoded.reserve(text.size());
    for (const char c : text) {
        if (c > ' ' && c < 0x7F && reserved.find(c) == std::string_view::npos) {
            encoded += c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        encoded += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
    }
    return encoded;
}

std::string percentDecode(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size() && hexDigit(text[i + 1]) >= 0 &&
            hexDigit(text[i + 2]) >= 0) {
            result += static_cast<char>(hexDigit(text[i + 1]) << 4 | hexDigit(text[i + 2]));
            i += 2;
        } else {
            result += text[i];
        }
    }
    return result;
}

std::string encodeBase64(std::string_view bytes) {
    std::string result;
    result.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t n = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            group = group << 8 | (k < n ? static_cast<unsigned char>(bytes[i + k]) : 0u);
        }
        for (std::size_t k = 0; k < 4; ++k)
            result += k <= n ? kBase64[group >> (18 - 6 * k) & 63] : '=';
    }
    return result;
}

std::vector<unsigned char> decodeBase64(std::string_view text) {
    std::vector<unsigned char> result;
    result.reserve(text.size() / 4 * 3 + 3);
    std::uint32_t bits = 0;
    int count = 0;
    for (const char c : text) {
        const int value = kBase64Values[static_cast<unsigned char>(c)];
        if (value < 0) break;
        bits = bits << 6 | static_cast<unsigned>(value);
        count += 6;
        if (count >= 8) {
            count -= 8;
            result.push_back(static_cast<unsigned char>(bits >> count));
        }
    }
    return result;
}

std::string toHex(const unsigned char* bytes, std::size_t size) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string result;
    result.reserve(size * 2);
    for (std::size_t i = 0; i < size; ++i) {
        result += kDigits[bytes[i] >> 4];
        result += kDigits[bytes[i] & 15];
    }
    return result;
}

std::vector<unsigned char> fromHex(std::string_view text) {
    std::vector<unsigned char> bytes;
    bytes.reserve(text.size() / 2);
    for (std::size_t at = 0; at + 1 < text.size(); at += 2) {
        const int high = hexDigit(text[at]);
        const int low = hexDigit(text[at + 1]);
        if (high < 0 || low < 0) return {};
        bytes.push_back(static_cast<unsigned char>(high << 4 | low));
    }
    return bytes;
}

}  // namespace protocol
