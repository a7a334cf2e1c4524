#include "include/HTTP/ContentType.h"

#include "protocol/Text.h"

namespace norix::http {
namespace {

constexpr std::size_t kMaxBoundary = 200;

Content Classify(std::string_view type) {
    using protocol::equalsIgnoringCase;
    using protocol::startsWithIgnoringCase;
    if (startsWithIgnoringCase(type, "multipart/")) return Content::Multipart;
    if (startsWithIgnoringCase(type, "image/")) return Content::Picture;
    if (startsWithIgnoringCase(type, "audio/")) return Content::Sound;
    const bool bytes = type.empty() || startsWithIgnoringCase(type, "video/") ||
                       equalsIgnoringCase(type, "application/octet-stream");
    return bytes ? Content::Bytes : Content::Other;
}

}  // namespace

ContentType ParseContentType(std::string_view text) {
    ContentType result;
    result.content = Classify(protocol::trim(protocol::takeOutsideQuotes(text, ';')));
    while (!text.empty()) {
        std::string_view value = protocol::takeOutsideQuotes(text, ';');
        const std::string_view name = protocol::trim(protocol::take(value, '='));
        if (!protocol::equalsIgnoringCase(name, "boundary")) continue;
        value = protocol::trim(value);
        if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
            value = value.substr(1, value.size() - 2);
        }
        if (value.size() <= kMaxBoundary) result.boundary = value;
    }
    return result;
}

}  // namespace norix::http
