#include "camera/CgiParams.h"

#include <algorithm>
#include <limits>

#include "camera/Charset.h"
#include "util/Log.h"
#include "util/Redact.h"

#include "protocol/Text.h"

namespace norix {
namespace {

// What has a second meaning in a form or a query.
constexpr std::string_view kReserved = "%&=+#\"<>";

template <class Char>
bool IsDigit(Char c) {
    return c >= '0' && c <= '9';
}

// The number that a text begins with.
template <class Char>
std::int32_t LeadingNumber(std::basic_string_view<Char> text) {
    using Limits = std::numeric_limits<std::int32_t>;
    std::size_t at = 0;
    while (at < text.size() && (text[at] == ' ' || text[at] == '\t'))
        ++at;
    const bool negative = at < text.size() && text[at] == '-';
    if (at < text.size() && (text[at] == '-' || text[at] == '+')) ++at;
    std::int64_t value = 0;
    for (; at < text.size() && IsDigit(text[at]) && value <= Limits::max(); ++at) {
        value = value * 10 + (text[at] - '0');
    }
    return static_cast<std::int32_t>(
        std::clamp<std::int64_t>(negative ? -value : value, Limits::min(), Limits::max()));
}

template <class Char>
bool EqualsAscii(std::basic_string_view<Char> text, std::string_view ascii) {
    return std::equal(text.begin(), text.end(), ascii.begin(), ascii.end(), [](Char a, char b) {
        return static_cast<std::uint32_t>(a) == static_cast<unsigned char>(b);
    });
}

// The parameter is missing in the camera; a CR doesn't make it exist.
template <class Char>
bool IsMissing(std::basic_string_view<Char> value) {
    if (!value.empty() && value.back() == '\r') value.remove_suffix(1);
    return EqualsAscii(value, kMissingValue);
}

void LogReplyLine(std::string_view line) {
    NORIX_LOG("CNorixSDKCtrl::ParseCGIParams", 0, "CNorixSDKCtrl::ParseCGIParams() %s",
              util::RedactSecrets(line).c_str());
}

void LogReplyLine(std::wstring_view line) {
    if (!util::LogEnabled()) return;
    std::string narrow;
    for (const wchar_t c : line)
        narrow += c < 0x80 ? static_cast<char>(c) : '?';
    LogReplyLine(std::string_view(narrow));
}

template <class Char>
void ParseLine(std::basic_string_view<Char> line, std::span<const BasicCgiParam<Char>> table) {
    const std::size_t separator = line.find(Char('='));
    if (separator == line.npos) return;
    const auto key = line.substr(0, separator);
    const auto value = line.substr(separator + 1);
    if (IsMissing(value)) return;
    for (const BasicCgiParam<Char>& param : table) {
        if (!EqualsAscii(key, param.Key())) continue;
        if (param.Type() == CgiType::Integer) {
            *param.Number() = LeadingNumber(value);
        } else {
            *param.String() = value;
        }
        return;
    }
}

template <class Char>
void ParseReply(std::basic_string_view<Char> reply, std::span<const BasicCgiParam<Char>> table) {
    while (!reply.empty()) {
        const std::size_t end = std::min(reply.find(Char('\n')), reply.size());
        const auto line = reply.substr(0, end);
        reply.remove_prefix(std::min(end + 1, reply.size()));
        if (line.empty()) continue;
        LogReplyLine(line);
        ParseLine(line, table);
    }
}

template <class Param, class Encode>
void AppendEntries(std::string& query, std::span<const Param> table, const Encode& encode) {
    bool first = true;
    for (const Param& param : table) {
        if (!first) query += '&';
        first = false;
        query += param.Key() + '=';
        if (param.Type() == CgiType::Integer) {
            query += std::to_string(*param.Number());
        } else {
            query += EncodeQueryValue(encode(*param.String()));
        }
    }
}

}  // namespace

std::string EncodeQueryValue(std::string_view value) {
    if (value.ends_with('\r')) value.remove_suffix(1);
    return protocol::percentEncode(value, kReserved);
}

void AppendQuery(std::string& query, std::span<const CgiParam> table) {
    AppendEntries(query, table, [](const std::string& text) -> const std::string& { return text; });
}

void AppendQuery(std::string& query, std::span<const CgiParamW> table, unsigned codePage) {
    AppendEntries(query, table, [codePage](const std::wstring& text) { return WideToBytes(text, codePage); });
}

void ParseCGIParams(std::string_view reply, const CgiParam* table, std::size_t count) {
    ParseReply<char>(reply, {table, count});
}

void ParseCGIParamsW(std::wstring_view reply, const CgiParamW* table, std::size_t count) {
    ParseReply<wchar_t>(reply, {table, count});
}

std::string_view SingleValue(std::string_view reply) {
    const std::size_t separator = reply.find('=');
    if (separator == std::string_view::npos) return {};
    reply.remove_prefix(separator + 1);
    return reply.substr(0, reply.find_first_of("\r\n"));
}

}  // namespace norix
