#include "include/HTTP/ReplyHead.h"

#include <limits>

#include "protocol/Text.h"

namespace norix::http {
namespace {

using protocol::equalsIgnoringCase;

constexpr std::size_t kMaxChallenges = 8;

// "HTTP/1.0 200 OK"
std::optional<unsigned> ParseStatus(std::string_view line) {
    if (!line.starts_with("HTTP/1.")) return std::nullopt;
    protocol::take(line, ' ');
    line = protocol::trim(line);
    const auto status = protocol::parseNumber(protocol::take(line, ' '), 999);
    if (!status || *status < 100) return std::nullopt;
    return *status;
}

std::optional<std::uint64_t> ParseLength(std::string_view text) {
    if (text.empty() || text.size() > 18) return std::nullopt;
    std::uint64_t length = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') return std::nullopt;
        length = length * 10 + static_cast<unsigned>(c - '0');
    }
    return length;
}

void SetOnce(std::string& field, std::string_view value) {
    if (field.empty()) field = value;
}

void TakeField(std::string_view name, std::string_view value, ReplyHead& head) {
    if (equalsIgnoringCase(name, "Content-Type")) {
        SetOnce(head.contentType, value);
    } else if (equalsIgnoringCase(name, "Content-Length")) {
        if (!head.contentLength) head.contentLength = ParseLength(value);
    } else if (equalsIgnoringCase(name, "Transfer-Encoding")) {
        if (equalsIgnoringCase(value, "chunked")) {
            head.chunked = true;
        } else if (!equalsIgnoringCase(value, "identity")) {
            head.encoded = true;
        }
    } else if (equalsIgnoringCase(name, "Content-Encoding")) {
        if (!value.empty() && !equalsIgnoringCase(value, "identity")) head.encoded = true;
    } else if (equalsIgnoringCase(name, "Location")) {
        SetOnce(head.location, value);
    } else if (equalsIgnoringCase(name, "x-sessioncookie")) {
        SetOnce(head.sessionCookie, value);
    } else if (equalsIgnoringCase(name, "WWW-Authenticate")) {
        if (head.challenges.size() < kMaxChallenges) head.challenges.emplace_back(value);
    }
}

}  // namespace

std::optional<ReplyHead> ParseHead(std::string_view text) {
    ReplyHead head;
    const auto status = ParseStatus(protocol::takeLine(text));
    if (!status) return std::nullopt;
    head.status = *status;
    while (!text.empty()) {
        std::string_view value = protocol::takeLine(text);
        const std::string_view name = protocol::trim(protocol::take(value, ':'));
        TakeField(name, protocol::trim(value), head);
    }
    return head;
}

HeadReader::State HeadReader::Feed(Bytes& bytes) {
    while (!bytes.empty()) {
        if (++m_taken > kHeadLimit) return State::Bad;
        const char c = static_cast<char>(bytes.front());
        bytes = bytes.subspan(1);
        m_text += c;
        if (c != '\n') continue;
        const std::string_view text = m_text;
        // Told from something else by its first line already: that may be endless.
        if (text.find('\n') + 1 == text.size() && !ParseStatus(text)) return State::Bad;
        if (!text.ends_with("\n\r\n") && !text.ends_with("\n\n")) continue;
        const auto head = ParseHead(text);
        if (!head) return State::Bad;
        m_text.clear();
        constexpr unsigned kFinal = 200;
        if (head->status < kFinal) continue;
        m_head = *head;
        return State::Done;
    }
    return State::More;
}

}  // namespace norix::http
