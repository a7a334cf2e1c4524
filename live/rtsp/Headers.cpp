#include "live/rtsp/Headers.h"

#include <algorithm>

#include "protocol/Text.h"

namespace live::rtsp {
namespace {

using namespace protocol;

// "5000-5001", or the first alone.
template <typename T>
std::optional<std::pair<T, T>> parsePair(std::string_view value) {
    constexpr std::uint32_t kLimit = static_cast<T>(-1);
    const auto first = parseNumber(trim(take(value, '-')), kLimit);
    if (!first) return std::nullopt;
    value = trim(value);
    const auto second = value.empty() ? std::min(*first + 1, kLimit) : parseNumber(value, kLimit);
    if (!second) return std::nullopt;
    return std::pair<T, T>(static_cast<T>(*first), static_cast<T>(*second));
}

std::string_view unquoted(std::string_view value) {
    value = trim(value);
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
        value = value.substr(1, value.size() - 2);
    return value;
}

}  // namespace

std::optional<Transport> parseTransport(std::string_view value) {
    value = takeOutsideQuotes(value, ',');
    const std::string protocol = toUpper(trim(take(value, ';')));
    if (!protocol.starts_with("RTP/")) return std::nullopt;
    Transport transport;
    transport.tcp = protocol.ends_with("/TCP");
    while (!value.empty()) {
        std::string_view field = trim(takeOutsideQuotes(value, ';'));
        const std::string name = toLower(trim(take(field, '=')));
        const std::string_view content = unquoted(field);
        bool good = true;
        const auto read = [&]<typename T>(std::optional<T>& into) {
            into = parsePair<typename T::first_type>(content);
            good = into.has_value();
        };
        if (name == "multicast")
            transport.multicast = true;
        else if (name == "destination")
            transport.destination = content;
        else if (name == "source")
            transport.source = content;
        else if (name == "server_port")
            read(transport.serverPort);
        else if (name == "client_port")
            read(transport.clientPort);
        else if (name == "port")
            read(transport.port);
        else if (name == "interleaved")
            read(transport.interleaved);
        else if (name == "ssrc")
            transport.ssrc = parseHex(content);
        if (!good) return std::nullopt;
    }
    if (transport.interleaved) transport.tcp = true;
    return transport;
}

std::optional<SessionHeader> parseSession(std::string_view value) {
    constexpr std::size_t kMaxId = 256;
    constexpr std::uint32_t kLongestTimeout = 24 * 3600;
    SessionHeader session;
    session.id = trim(take(value, ';'));
    const auto printable = [](char c) { return c > ' ' && c < 0x7F; };
    if (session.id.empty() || session.id.size() > kMaxId ||
        !std::all_of(session.id.begin(), session.id.end(), printable)) {
        return std::nullopt;
    }
    while (!value.empty()) {
        std::string_view field = trim(take(value, ';'));
        if (equalsIgnoringCase(trim(take(field, '=')), "timeout")) {
            session.timeout = parseNumber(trim(field), kLongestTimeout).value_or(0);
        }
    }
    return session;
}

std::vector<RtpInfoEntry> parseRtpInfo(std::string_view value) {
    constexpr std::size_t kMaxEntries = 64;
    std::vector<RtpInfoEntry> entries;
    while (!value.empty() && entries.size() < kMaxEntries) {
        std::string_view text = takeOutsideQuotes(value, ',');
        RtpInfoEntry entry;
        while (!text.empty()) {
            std::string_view field = trim(takeOutsideQuotes(text, ';'));
            const std::string name = toLower(trim(take(field, '=')));
            const std::string_view content = unquoted(field);
            if (name == "url") {
                entry.url = content;
            } else if (name == "seq") {
                if (const auto number = parseNumber(content, 65535))
                    entry.sequence = static_cast<std::uint16_t>(*number);
            } else if (name == "rtptime") {
                entry.timestamp = parseNumber(content);
            }
        }
        entries.push_back(std::move(entry));
    }
    return entries;
}

}  // namespace live::rtsp
