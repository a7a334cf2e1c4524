#include "live/sdp/SdpDescription.h"

#include <algorithm>

#include "protocol/Text.h"

namespace live::sdp {
namespace {

using namespace protocol;

constexpr std::size_t kMaxText = 256 * 1024;
constexpr std::uint32_t kMaxClockRate = 10'000'000;
constexpr std::uint32_t kMaxChannels = 64;
constexpr std::uint32_t kMaxSide = 65535;
constexpr double kMaxFrameRate = 1000;

// RFC 3551, table 4 and 5, as far as cameras use them.
struct StaticFormat {
    unsigned payloadType;
    const char* codec;
    unsigned clockRate;
};
constexpr StaticFormat kStaticFormats[] = {{0, "PCMU", 8000},   {8, "PCMA", 8000},  {14, "MPA", 90000},
                                           {26, "JPEG", 90000}, {32, "MPV", 90000}, {33, "MP2T", 90000}};

// "IN IP4 address[/ttl[/count]]"
std::string parseConnection(std::string_view value) {
    take(value, ' ');
    if (!equalsIgnoringCase(take(value, ' '), "IP4")) return {};
    return std::string(trim(take(value, '/')));
}

std::optional<double> parseNptTime(std::string_view value) {
    // hh:mm:ss.fraction
    if (value.find(':') == std::string_view::npos) return parseSeconds(value);
    const auto hours = parseNumber(take(value, ':'));
    const auto minutes = parseNumber(take(value, ':'), 59);
    const auto seconds = parseSeconds(value);
    if (!hours || !minutes || !seconds) return std::nullopt;
    return *hours * 3600.0 + *minutes * 60.0 + *seconds;
}

void parseRtpMap(std::string_view value, Media& media) {
    value = trim(value);
    if (parseNumber(trim(take(value, ' '))) != media.payloadType) return;
    value = trim(value);
    const std::string_view codec = take(value, '/');
    const auto rate = parseNumber(trim(take(value, '/')), kMaxClockRate);
    const auto channels = parseNumber(trim(value), kMaxChannels);
    if (codec.empty() || !rate || *rate == 0) return;
    media.codec = toUpper(codec);
    media.clockRate = *rate;
    if (channels && *channels > 0) media.channels = *channels;
}

void parseFormatParameters(std::string_view value, Media& media) {
    value = trim(value);
    if (parseNumber(trim(take(value, ' '))) != media.payloadType) return;
    while (!value.empty() && media.attributes.size() < kMaxAttributes) {
        std::string_view parameter = trim(takeOutsideQuotes(value, ';'));
        const std::string name = toLower(trim(take(parameter, '=')));
        if (!name.empty()) media.attributes.emplace_back(name, trim(parameter));
    }
}

void setSize(std::string_view width, std::string_view height, Media& media) {
    const auto w = parseNumber(trim(width), kMaxSide);
    const auto h = parseNumber(trim(height), kMaxSide);
    if (w && h) media.width = *w, media.height = *h;
}

// "incl IN IP4 group source"; nothing unless it names a source.
std::string parseSourceFilter(std::string_view value) {
    value = trim(value);
    const bool included = equalsIgnoringCase(take(value, ' '), "incl");
    take(value, ' ');
    const bool ip4 = equalsIgnoringCase(take(value, ' '), "IP4");
    take(value, ' ');
    return included && ip4 ? std::string(trim(take(value, ' '))) : std::string();
}

void parseMediaAttribute(std::string_view name, std::string_view value, Media& media) {
    if (equalsIgnoringCase(name, "rtpmap")) {
        parseRtpMap(value, media);
    } else if (equalsIgnoringCase(name, "fmtp")) {
        parseFormatParameters(value, media);
    } else if (equalsIgnoringCase(name, "control")) {
        media.control = trim(value);
    } else if (equalsIgnoringCase(name, "range")) {
        media.range = parseRange(value);
    } else if (equalsIgnoringCase(name, "framesize")) {
        take(value, ' ');
        const std::string_view width = take(value, '-');
        setSize(width, value, media);
    } else if (equalsIgnoringCase(name, "x-dimensions")) {
        const std::string_view width = take(value, ',');
        setSize(width, value, media);
    } else if (equalsIgnoringCase(name, "framerate") || equalsIgnoringCase(name, "x-framerate")) {
        media.framesPerSecond = std::min(parseSeconds(trim(value)).value_or(0), kMaxFrameRate);
    } else if (equalsIgnoringCase(name, "source-filter")) {
        media.source = parseSourceFilter(value);
    } else if (equalsIgnoringCase(name, "sendonly") || equalsIgnoringCase(name, "inactive")) {
        // The other way (a camera's loudspeaker), or none at all.
        if (media.problem.empty()) media.problem = "Nothing is to be received (a=" + toLower(name) + ")";
    }
}

void parseSessionAttribute(std::string_view name, std::string_view value, Description& session,
                           std::string& source) {
    if (equalsIgnoringCase(name, "source-filter")) {
        source = parseSourceFilter(value);
    } else if (equalsIgnoringCase(name, "control")) {
        session.control = trim(value);
    } else if (equalsIgnoringCase(name, "range")) {
        session.range = parseRange(value);
    } else if (equalsIgnoringCase(name, "type")) {
        session.type = trim(value);
    }
}

// "medium port[/count] protocol format ..."
bool parseMedia(std::string_view value, Media& media) {
    media.medium = toLower(take(value, ' '));
    std::string_view port = take(value, ' ');
    const auto number = parseNumber(take(port, '/'), 65535);
    const std::string_view protocol = take(value, ' ');
    value = trim(value);
    const std::string_view format = take(value, ' ');
    if (media.medium.empty() || !number || protocol.empty()) return false;
    media.port = static_cast<std::uint16_t>(*number);
    // RFC 3551 and 4585, also with "/TCP" or "/UDP"; what is encrypted is another protocol.
    std::string_view rest = protocol;
    const bool rtp =
        equalsIgnoringCase(take(rest, '/'), "RTP") &&
        (equalsIgnoringCase(take(rest, '/'), "AVP") || startsWithIgnoringCase(protocol, "RTP/AVPF"));
    media.protocol = rtp ? "RTP" : std::string(protocol);
    const auto payloadType = parseNumber(format, 127);
    if (rtp && !payloadType) return false;
    media.payloadType = payloadType.value_or(0);
    for (const StaticFormat& known : kStaticFormats) {
        if (rtp && known.payloadType == media.payloadType)
            media.codec = known.codec, media.clockRate = known.clockRate;
    }
    return true;
}

}  // namespace

std::optional<PlayRange> parseRange(std::string_view text) {
    text = trim(text);
    if (text.find('=') == std::string_view::npos) return std::nullopt;
    const std::string_view unit = trim(take(text, '='));
    std::string_view end = trim(take(text, ';'));
    const std::string_view start = trim(take(end, '-'));
    end = trim(end);
    PlayRange range;
    if (equalsIgnoringCase(unit, "clock")) {
        if (start.empty()) return std::nullopt;
        range.absoluteStart = start;
        range.absoluteEnd = end;
        return range;
    }
    if (!equalsIgnoringCase(unit, "npt")) return std::nullopt;
    if (!start.empty() && !equalsIgnoringCase(start, "now")) {
        const auto seconds = parseNptTime(start);
        if (!seconds) return std::nullopt;
        range.start = *seconds;
    }
    if (!end.empty()) {
        const auto seconds = parseNptTime(end);
        if (!seconds) return std::nullopt;
        range.end = *seconds;
    }
    return range;
}

std::optional<Description> parseSdp(std::string_view text, std::string& error) {
    if (text.size() > kMaxText) {
        error = "SDP description is too long";
        return std::nullopt;
    }
    Description session;
    std::string connection;
    std::string source;
    bool sawLine = false;
    bool beyond = false;  // in a medium that is one too many
    while (!text.empty()) {
        const std::string_view line = takeLine(text);
        if (trim(line).empty()) continue;
        if (line.size() < 2 || line[1] != '=') {
            if (sawLine) continue;
            error = "Invalid SDP line: " + std::string(line.substr(0, 80));
            return std::nullopt;
        }
        sawLine = true;
        if (line[0] == 'm') beyond = session.media.size() == kMaxMedia;
        if (beyond) continue;
        std::string_view value = trim(line.substr(2));
        Media* const media = session.media.empty() ? nullptr : &session.media.back();
        switch (line[0]) {
            case 'm':
                session.media.emplace_back();
                session.media.back().connection = connection;
                session.media.back().source = source;
                if (!parseMedia(value, session.media.back()))
                    session.media.back().problem = "Bad SDP \"m=\" line: " + std::string(line.substr(0, 80));
                break;
            case 'c':
                (media ? media->connection : connection) = parseConnection(value);
                break;
            case 's':
                if (!media) session.name = value;
                break;
            case 'a': {
                const std::string_view name = take(value, ':');
                if (media) {
                    parseMediaAttribute(name, value, *media);
                } else {
                    parseSessionAttribute(name, value, session, source);
                }
                break;
            }
            default:
                break;
        }
    }
    if (!sawLine) {
        error = "SDP description is empty";
        return std::nullopt;
    }
    return session;
}

}  // namespace live::sdp
