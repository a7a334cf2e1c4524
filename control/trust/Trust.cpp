#include "control/trust/Trust.h"

#include <algorithm>

#include "protocol/Origin.h"
#include "protocol/Text.h"
#include "protocol/Url.h"

namespace norix {

namespace {

constexpr std::uint32_t kZoneTrusted = 2;
constexpr char kUnknownPage[] = "unknown page";
constexpr unsigned kIpv4Offset = 12;  // of an IPv4 address within ::ffff:a.b.c.d
constexpr unsigned kAddressBits = 128;

struct Block {
    std::array<std::uint8_t, 16> begin;
    unsigned bits;
};

constexpr NumericAddress Ipv4(std::uint8_t a, std::uint8_t b, std::uint8_t c, std::uint8_t d) {
    return {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, a, b, c, d};
}
constexpr Block Ipv4Block(std::uint8_t a, std::uint8_t b, unsigned bits) {
    return {Ipv4(a, b, 0, 0), 8 * kIpv4Offset + bits};
}

// IANA's special-purpose registries, as far as they name what is near.
constexpr Block kInside[] = {
    Ipv4Block(0, 0, 8),
    Ipv4Block(10, 0, 8),
    Ipv4Block(100, 64, 10),
    Ipv4Block(127, 0, 8),
    Ipv4Block(169, 254, 16),
    Ipv4Block(172, 16, 12),
    Ipv4Block(192, 168, 16),
    Ipv4Block(198, 18, 15),
    Ipv4Block(224, 0, 4),
    Ipv4Block(240, 0, 4),
    {{}, 8 * kIpv4Offset},        // :: and ::1, and IPv4 in an outdated form
    {{0, 0x64, 0xFF, 0x9B}, 32},  // translated IPv4, which may be of any network
    {{0x20, 0x02}, 16},           // the same, tunnelled
    {{0xFC}, 7},                  // unique local
    {{0xFE, 0x80}, 10},           // link local
    {{0xFE, 0xC0}, 10},           // site local
    {{0xFF}, 8},                  // multicast
};

bool IsIn(const NumericAddress& address, const NumericAddress& network, unsigned bits) {
    const unsigned whole = bits / 8;
    if (!std::equal(address.begin(), address.begin() + whole, network.begin())) return false;
    const unsigned rest = bits % 8;
    if (rest == 0) return true;
    const auto mask = static_cast<std::uint8_t>(0xFF << (8 - rest));
    return ((address[whole] ^ network[whole]) & mask) == 0;
}

std::optional<NumericAddress> ParseIpv4(std::string_view text) {
    NumericAddress address = Ipv4(0, 0, 0, 0);
    for (unsigned i = 0; i < 4; ++i) {
        const bool last = i == 3;
        if (!last && text.find('.') == std::string_view::npos) return std::nullopt;
        const std::string_view part = last ? text : protocol::take(text, '.');
        // A leading zero means octal to some and nothing to others.
        if (part.size() > 1 && part[0] == '0') return std::nullopt;
        const auto number = protocol::parseNumber(part, 255);
        if (!number) return std::nullopt;
        address[kIpv4Offset + i] = static_cast<std::uint8_t>(*number);
    }
    return address;
}

/// One side of "::": groups of 16 bits, the last two of them perhaps as dotted decimals.
bool ParseGroups(std::string_view text, std::vector<std::uint8_t>& bytes) {
    if (text.empty()) return true;
    while (true) {
        const bool last = text.find(':') == std::string_view::npos;
        const std::string_view group = last ? text : protocol::take(text, ':');
        if (last && group.find('.') != std::string_view::npos) {
            const auto tail = ParseIpv4(group);
            if (!tail) return false;
            bytes.insert(bytes.end(), tail->begin() + kIpv4Offset, tail->end());
            return true;
        }
        const auto number = group.size() <= 4 ? protocol::parseHex(group) : std::nullopt;
        if (!number) return false;
        bytes.push_back(static_cast<std::uint8_t>(*number >> 8));
        bytes.push_back(static_cast<std::uint8_t>(*number & 0xFF));
        if (last) return true;
    }
}

/// Or a digit.
bool IsLetter(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

/// No name ends in a number: systems read such texts as addresses, in many spellings ("0x7f.1",
/// "2130706433").
bool EndsInNumber(std::string_view host) {
    const std::string_view last = host.substr(host.rfind('.') + 1);
    const bool hex = protocol::startsWithIgnoringCase(last, "0x");
    return hex || (!last.empty() && last.find_first_not_of("0123456789") == std::string_view::npos);
}

std::optional<NumericAddress> ParseIpv6(std::string_view text) {
    constexpr std::size_t kLongestScope = 15;
    if (const std::size_t percent = text.find('%'); percent != std::string_view::npos) {
        const std::string_view scope = text.substr(percent + 1);  // which names a network card
        if (scope.empty() || scope.size() > kLongestScope ||
            !std::all_of(scope.begin(), scope.end(), IsLetter))
            return std::nullopt;
        text = text.substr(0, percent);
    }
    const std::size_t gap = text.find("::");
    std::vector<std::uint8_t> head;
    std::vector<std::uint8_t> tail;
    if (!ParseGroups(text.substr(0, gap), head)) return std::nullopt;
    if (gap != std::string_view::npos && !ParseGroups(text.substr(gap + 2), tail)) return std::nullopt;
    NumericAddress address = {};
    const std::size_t size = head.size() + tail.size();
    if (gap == std::string_view::npos ? size != address.size() : size > address.size() - 2)
        return std::nullopt;
    std::copy(head.begin(), head.end(), address.begin());
    std::copy_backward(tail.begin(), tail.end(), address.end());
    return address;
}

bool IsBelow(std::string_view host, std::string_view parent) {
    return host.size() > parent.size() && host.ends_with(parent) &&
           host[host.size() - parent.size() - 1] == '.';
}

}  // namespace

util::TrustLevel DecideLevel(const HostFacts& facts) {
    using util::TrustLevel;
    if (!facts.hasPage && !facts.hasManager && !facts.zone)
        return facts.untrustedCaller ? TrustLevel::kWeb : TrustLevel::kTrusted;
    // Only pages of servers: what else has an address (file:, res:, mhtml:) has the zone of this machine.
    const auto url = protocol::parseUrl(facts.page);
    if (facts.hasPage && (!url || url->scheme == "rtsp")) return TrustLevel::kWeb;
    return facts.zone && *facts.zone <= kZoneTrusted ? TrustLevel::kTrusted : TrustLevel::kWeb;
}

PageIdentity IdentifyPage(std::string_view address) {
    if (address.empty()) return {kUnknownPage, {}};
    if (const auto url = protocol::parseUrl(address)) {
        const protocol::Origin origin = protocol::originOf(*url);
        return {protocol::toText(origin), origin.host};
    }
    return {std::string(address.substr(0, address.find_first_of("?#"))), {}};
}

bool IsKnownAgain(const PageIdentity& page) {
    if (!page.host.empty()) return true;
    constexpr std::string_view kFile = "file:";
    const std::string_view name = page.origin;
    const bool drive = name.size() > 3 && name[1] == ':' && (name[2] == '\\' || name[2] == '/');
    return drive || (protocol::startsWithIgnoringCase(name, kFile) &&
                     name.find_first_not_of("/\\", kFile.size()) != std::string_view::npos);
}

std::optional<NumericAddress> ParseAddress(std::string_view text) {
    return text.find(':') == std::string_view::npos ? ParseIpv4(text) : ParseIpv6(text);
}

std::string ToText(const NumericAddress& address) {
    std::string text;
    if (IsIn(address, Ipv4(0, 0, 0, 0), 8 * kIpv4Offset)) {
        for (unsigned i = kIpv4Offset; i < address.size(); ++i)
            text += (i == kIpv4Offset ? "" : ".") + std::to_string(address[i]);
        return text;
    }
    for (unsigned i = 0; i < address.size(); i += 2) {
        if (i != 0) text += ':';
        text += protocol::toHex(&address[i], 2);
    }
    return text;
}

bool IsMulticast(const NumericAddress& address) {
    return address[0] == 0xFF || IsIn(address, Ipv4(224, 0, 0, 0), 8 * kIpv4Offset + 4);
}

bool IsInside(const NumericAddress& address) {
    return std::any_of(std::begin(kInside), std::end(kInside),
                       [&](const Block& block) { return IsIn(address, block.begin, block.bits); });
}

TargetList::TargetList(std::string_view text) {
    constexpr std::string_view kSeparators = " \t\r\n,;";
    while (!text.empty()) {
        const std::size_t end = std::min(text.find_first_of(kSeparators), text.size());
        std::string_view entry = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (entry.empty()) continue;
        if (entry == "*") {
            m_everything = true;
            continue;
        }
        const std::string host = protocol::plainHost(protocol::take(entry, '/'));
        if (const auto address = ParseAddress(host)) {
            const bool ipv4 = host.find(':') == std::string::npos;
            const unsigned offset = ipv4 ? 8 * kIpv4Offset : 0;
            const auto bits = entry.empty() ? std::optional<std::uint32_t>(kAddressBits - offset)
                                            : protocol::parseNumber(entry, kAddressBits - offset);
            if (bits) m_networks.push_back({*address, offset + *bits});
        } else if (!host.empty() && entry.empty()) {
            m_names.push_back(host);
        }
    }
}

bool TargetList::Contains(std::string_view host) const {
    if (m_everything) return true;
    if (const auto address = ParseAddress(host)) return Contains(*address);
    return std::any_of(m_names.begin(), m_names.end(), [&](std::string_view name) {
        return name.starts_with("*.") ? IsBelow(host, name.substr(2)) : host == name;
    });
}

bool TargetList::Contains(const NumericAddress& address) const {
    return m_everything || std::any_of(m_networks.begin(), m_networks.end(), [&](const Network& network) {
               return IsIn(address, network.address, network.bits);
           });
}

Verdict JudgeTarget(const PageIdentity& page, std::string_view target, const TargetList& allowed,
                    std::optional<bool> answered) {
    if (target.empty()) return Verdict::kRefused;
    if (target == page.host || allowed.Contains(target)) return Verdict::kAllowed;
    if (!answered) return Verdict::kAsk;
    return *answered ? Verdict::kAllowed : Verdict::kRefused;
}

bool IsCovered(const PageIdentity& page, std::string_view target, const NumericAddress& address,
               const TargetList& allowed) {
    if (EndsInNumber(target) && !ParseAddress(target)) return false;
    if (!IsInside(address) || allowed.Contains(address)) return true;
    // A numeric target is what was decided about; so is a name without a dot, which is one of the inside.
    if (ParseAddress(target)) return true;
    return target.find('.') == std::string_view::npos && target != page.host;
}

}  // namespace norix
