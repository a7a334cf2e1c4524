#pragma once

// Who may do what: whom the control works for, and what a page it stands in may reach. Pure decisions;
// HostReader.h reads the facts, TrustGuard.h asks the user. docs/security.md has the whole.

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "util/TrustLevel.h"

namespace norix {

/// What a host shows of itself.
struct HostFacts {
    bool hasPage = false;          ///< it names a document that holds the control
    std::string page;              ///< that document's address, UTF-8
    bool hasManager = false;       ///< its site has a security manager, as browsers have
    bool untrustedCaller = false;  ///< it has said that strangers' scripts call the control
    /// The system's security zone of the page: 0 this machine, 1 intranet, 2 trusted sites, 3 Internet,
    /// 4 restricted.
    std::optional<std::uint32_t> zone;
};

/// Trusted is a program: no page, no security manager. And a page of the trusted zone or a better one, but
/// for pages that were opened as files: they lie in the best zone and may come from anywhere.
util::TrustLevel DecideLevel(const HostFacts& facts);

/// A page as the user and the registry know it.
struct PageIdentity {
    std::string origin;  ///< "https://host:443"; a file's whole address; "unknown page" where there is none
    std::string host;    ///< in Origin's form; empty: the page has none

    bool operator==(const PageIdentity&) const = default;
};
PageIdentity IdentifyPage(std::string_view address);

/// Whether it is the same page when it comes again: a server's, or the one of a file's whole path. All others
/// (about:, or a file whose path is not shown) share their name with strangers.
bool IsKnownAgain(const PageIdentity& page);

/// A numeric address of either family; IPv4 as ::ffff:a.b.c.d.
using NumericAddress = std::array<std::uint8_t, 16>;

/// The address that a text spells; nothing for names. Dotted decimals and IPv6 only.
std::optional<NumericAddress> ParseAddress(std::string_view text);
std::string ToText(const NumericAddress& address);

/// A group of receivers rather than a host.
bool IsMulticast(const NumericAddress& address);
/// An address of the user's own surroundings, where a name of the Internet has no business: this machine,
/// private networks (RFC 1918, 4193, 6598), links (RFC 3927, 4291), groups, and what is no host at all.
bool IsInside(const NumericAddress& address);

/// A machine-wide list: "cam.example *.plant.example 192.168.4.0/24 [fd00::]/8 *". Separated by blanks,
/// commas or semicolons. A name counts for itself, "*." for what is below, a network for numeric addresses,
/// "*" for everything. Entries that can't be read are left out.
class TargetList {
  public:
    TargetList() = default;
    explicit TargetList(std::string_view text);

    bool Contains(std::string_view host) const;
    bool Contains(const NumericAddress& address) const;

  private:
    struct Network {
        NumericAddress address = {};
        unsigned bits = 0;
    };
    bool m_everything = false;
    std::vector<std::string> m_names;  // with their "*." where they have it
    std::vector<Network> m_networks;
};

/// What was decided for a target before: by the user for this page, or by the administrator.
enum class Verdict { kAllowed, kAsk, kRefused };

/// Whether a page may reach `target` (a host in Origin's form, or a group): its own host and what the
/// administrator allows it may; anything else is the user's answer, and a question where there is none yet.
Verdict JudgeTarget(const PageIdentity& page, std::string_view target, const TargetList& allowed,
                    std::optional<bool> answered);

/// Whether `address`, which the allowed name `target` stands for just now, is covered by what was decided for
/// the name. A name of the Internet that points into the user's surroundings is not: its owner can point it
/// anywhere, at any time. Such an address is judged as a target of its own.
bool IsCovered(const PageIdentity& page, std::string_view target, const NumericAddress& address,
               const TargetList& allowed);

}  // namespace norix
