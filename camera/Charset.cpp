#include "camera/Charset.h"

#include <algorithm>

#include "protocol/Text.h"

namespace norix {
namespace {

constexpr std::size_t kLongestName = 64;

std::string_view Unquote(std::string_view text) {
    if (text.starts_with('"')) text.remove_prefix(1);
    return text.substr(0, text.find('"'));
}

}  // namespace

unsigned CodePageOf(std::string_view charset) {
    return protocol::equalsIgnoringCase(protocol::trim(charset), "gb2312") ? kCodePageGb2312 : kCodePageAscii;
}

std::optional<std::string> FindCharset(std::string_view headers) {
    constexpr std::string_view kContentType = "content-type";
    constexpr std::string_view kCharset = "charset";
    while (!headers.empty()) {
        const std::string_view line = protocol::takeLine(headers);
        if (!protocol::startsWithIgnoringCase(line, kContentType)) continue;
        std::size_t at = protocol::toLower(line).find(kCharset);
        if (at == std::string::npos) return std::nullopt;
        at = line.find('=', at);
        if (at == std::string_view::npos) return std::nullopt;
        std::string_view value = line.substr(at + 1);
        value = Unquote(protocol::trim(protocol::take(value, ';')));
        return std::string(value.substr(0, kLongestName));
    }
    return std::nullopt;
}

}  // namespace norix
