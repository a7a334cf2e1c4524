#include "live/rtsp/RtspFramer.h"

#include <algorithm>
#include <array>

#include "protocol/Text.h"

namespace live::rtsp {
namespace {

using namespace protocol;

constexpr char kPacketMark = '$';
constexpr std::size_t kMaxStartLine = 4096;

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

constexpr std::size_t kLongestToken = 32;

bool isTokenChar(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == '-';
}

bool isToken(std::string_view text) {
    return !text.empty() && text.size() <= kLongestToken &&
           std::all_of(text.begin(), text.end(), isTokenChar);
}

// Whether a reply may begin here, as far as it has arrived.
bool beginsLikeReply(std::string_view text) {
    for (const std::string_view protocol : {std::string_view("RTSP/"), std::string_view("HTTP/")}) {
        const std::size_t size = std::min(text.size(), protocol.size());
        if (text.substr(0, size) == protocol.substr(0, size)) return true;
    }
    return false;
}

// Whether the status that has to follow "RTSP/1.0 " may be one, as far as it has arrived: told without
// looking for the line's end.
bool mayHaveStatus(std::string_view text) {
    constexpr std::size_t kLongestVersion = 16;
    const std::size_t space = text.substr(0, kLongestVersion).find(' ');
    if (space == std::string_view::npos) return true;
    const std::size_t digit = text.find_first_not_of(' ', space);
    return digit == std::string_view::npos || isDigit(text[digit]);
}

// Whether what has arrived of a first line can become one.
bool canBeStartLine(std::string_view text) {
    std::string_view word = text.substr(0, text.find(' '));
    for (const std::string_view protocol : {std::string_view("RTSP/"), std::string_view("HTTP/")}) {
        if (!startsWithIgnoringCase(word, protocol)) continue;
        word.remove_prefix(protocol.size());
        return word.size() <= 8 &&
               std::all_of(word.begin(), word.end(), [](char c) { return c == '.' || isDigit(c); });
    }
    return isToken(word);
}

// Whether a message may begin here, as far as it has arrived: told by a few characters, since garbage asks
// often.
bool mayBegin(std::string_view text) {
    std::size_t end = 0;
    while (end < text.size() && end <= kLongestToken && isTokenChar(text[end]))
        ++end;
    if (end < text.size() && text[end] == '/')
        return canBeStartLine(text.substr(0, kLongestToken)) && mayHaveStatus(text);
    return end <= kLongestToken && (end == text.size() || (end > 0 && text[end] == ' '));
}

// Where something may begin, or the next line does.
std::size_t nextNotable(std::string_view text, std::size_t at) {
    static constexpr auto kNotable = [] {
        std::array<bool, 256> notable{};
        for (const char c : {kPacketMark, '\n', 'R', 'H'})
            notable[static_cast<unsigned char>(c)] = true;
        return notable;
    }();
    while (at < text.size() && !kNotable[static_cast<unsigned char>(text[at])])
        ++at;
    return at;
}

}  // namespace

void Message::clear() {
    isReply = isHttp = false;
    status = 0;
    reason = method = uri = body = {};
    headers.clear();
}

std::string_view Message::header(std::string_view name) const {
    for (const auto& [known, value] : headers) {
        if (equalsIgnoringCase(known, name)) return value;
    }
    return {};
}

Framer::Item Framer::next(rtp::Bytes received) {
    const std::string_view text(reinterpret_cast<const char*>(received.data()), received.size());
    // Some servers put empty lines between messages.
    const std::size_t start = std::min(text.find_first_not_of("\r\n"), text.size());
    if (start == text.size()) {
        m_offset = 0;
        m_size = start;
        return start > 0 ? Item::Garbage : Item::NeedMore;
    }
    if (text[start] == kPacketMark) return packetAt(received, start);
    const Item item = messageAt(text, start);
    // A packet amid a message: written by another thread of the server while this one wrote the reply.
    return item == Item::Packet ? packetAt(received, m_offset) : item;
}

// Neither packet nor message begins at `start`: up to where one may. A request has to begin a line; replies
// and packets may stand behind anything.
Framer::Item Framer::garbage(std::string_view text, std::size_t start) {
    std::size_t at = start + 1;
    for (; at < text.size(); ++at) {
        const bool lineBegins = text[at - 1] == '\n';
        if (!lineBegins) at = nextNotable(text, at);
        if (at == text.size() || text[at] == kPacketMark) break;
        const bool candidate = lineBegins || beginsLikeReply(text.substr(at));
        if (candidate && mayBegin(text.substr(at))) break;
    }
    m_offset = 0;
    m_size = at;
    return Item::Garbage;
}

Framer::Item Framer::packetAt(rtp::Bytes received, std::size_t at) {
    rtp::ByteReader reader(received.subspan(at));
    reader.skip(1);
    m_channel = reader.u8();
    m_packet = reader.take(reader.u16());
    if (!reader.ok()) return Item::NeedMore;
    m_offset = at;
    m_size = 4 + m_packet.size();
    return Item::Packet;
}

Framer::Item Framer::messageAt(std::string_view text, std::size_t start) {
    m_message.clear();
    std::size_t at = start;
    bool first = true;
    if (beginsLikeReply(text.substr(start)) && !mayHaveStatus(text.substr(start)))
        return garbage(text, start);
    while (true) {
        m_offset = at;
        if (!first && at < text.size() && text[at] == kPacketMark) return Item::Packet;
        // A start line is not looked for beyond its longest: what is behind it would be looked at again.
        const std::size_t end =
            first ? text.substr(0, start + kMaxStartLine + 1).find('\n', at) : text.find('\n', at);
        if (end == std::string_view::npos) {
            if (first && (text.size() - at > kMaxStartLine || !canBeStartLine(text.substr(at))))
                return garbage(text, start);
            return text.size() - start > m_maxMessage ? tooLong() : Item::NeedMore;
        }
        std::string_view line = text.substr(at, end - at);
        if (line.ends_with('\r')) line.remove_suffix(1);
        at = end + 1;
        if (at - start > m_maxMessage) return tooLong();
        if (first) {
            if (!parseStartLine(line)) return garbage(text, start);
            first = false;
            continue;
        }
        if (line.empty()) break;
        if (m_message.headers.size() == kMaxHeaders) return fail("RTSP message has too many headers");
        const std::string_view name = trim(take(line, ':'));
        m_message.headers.emplace_back(name, trim(line));
    }

    std::size_t length = 0;
    // The reply that opens a tunnel is followed by the tunnel, whatever it says.
    const std::string_view stated =
        m_message.isHttp ? std::string_view() : m_message.header("Content-Length");
    if (!stated.empty()) {
        const auto number = parseNumber(stated);
        if (!number) return fail("Bad \"Content-Length:\" header: " + std::string(stated.substr(0, 40)));
        if (*number > m_maxMessage - (at - start)) return tooLong();
        length = *number;
    }
    m_offset = at;
    if (length > 0 && at < text.size() && text[at] == kPacketMark) return Item::Packet;
    if (text.size() - at < length) return Item::NeedMore;
    m_message.body = text.substr(at, length);
    m_offset = 0;
    m_size = at + length;
    return Item::Message;
}

// "RTSP/1.0 200 OK" or "OPTIONS rtsp://... RTSP/1.0"
bool Framer::parseStartLine(std::string_view line) {
    std::string_view rest = line;
    const std::string_view word = take(rest, ' ');
    const bool rtsp = startsWithIgnoringCase(word, "RTSP/");
    const bool http = startsWithIgnoringCase(word, "HTTP/");
    if (rtsp || http) {
        rest = trim(rest);
        const auto status = parseNumber(take(rest, ' '), 999);
        if (!status || *status < 100) return false;
        m_message.isReply = true;
        m_message.isHttp = http;
        m_message.status = *status;
        m_message.reason = trim(rest);
        return true;
    }
    if (!isToken(word)) return false;
    m_message.method = word;
    m_message.uri = take(rest, ' ');
    return startsWithIgnoringCase(trim(rest), "RTSP/");
}

Framer::Item Framer::fail(std::string why) {
    m_error = std::move(why);
    return Item::Error;
}

Framer::Item Framer::tooLong() {
    return fail("RTSP message is longer than the limit of " + std::to_string(m_maxMessage) + " bytes");
}

}  // namespace live::rtsp
