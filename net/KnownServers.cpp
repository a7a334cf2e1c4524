#include "net/KnownServers.h"

#include <utility>

#include "util/Log.h"

namespace net {
namespace {

// More servers than these nobody watches; the oldest knowledge is in the store.
constexpr std::size_t kMaxTexts = 1024;

constexpr char kDigest[] = "digest";

std::string signInName(const protocol::Origin& server) {
    return "sign-in " + protocol::toText(server);
}

std::string certificateName(const protocol::Origin& server) {
    return "certificate " + protocol::toText(server);
}

}  // namespace

KnownServers& KnownServers::get() {
    static KnownServers all;
    return all;
}

std::optional<protocol::Challenge> KnownServers::choose(const protocol::Origin& server,
                                                        std::span<const std::string> fields) {
    using Kind = protocol::Challenge::Kind;
    std::optional<protocol::Challenge> best;
    for (const std::string& field : fields) {
        for (protocol::Challenge& challenge : protocol::parseChallenges(field)) {
            if (!best || challenge.kind > best->kind) best = std::move(challenge);
        }
    }
    if (!best || best->kind != Kind::Basic) return best;
    const char* reason = nullptr;
    // Whoever redirects a plain request to HTTPS has not proved to be the server: what that one took counts.
    const bool web = server == protocol::makeOrigin("https", server.host, protocol::kHttpsPort);
    if (recall(signInName(server)) == kDigest ||
        (web && recall(signInName(protocol::makeOrigin("http", server.host, 80))) == kDigest)) {
        reason = "it took Digest before";
    } else if (server.scheme != "https" && wantsSecurity(server.host)) {
        reason = "its host is asked by HTTPS, and this connection is not encrypted";
    }
    if (!reason) return best;
    NORIX_LOG("KnownServers::choose", 1, "%s asks for a password in clear and gets none: %s",
              protocol::toText(server).c_str(), reason);
    return std::nullopt;
}

void KnownServers::accepted(const protocol::Origin& server, protocol::Challenge::Kind kind) {
    if (kind == protocol::Challenge::Kind::Basic) return;
    const std::string name = signInName(server);
    if (recall(name) != kDigest) keep(name, kDigest);
}

void KnownServers::askedSecurely(const std::string& host, bool plainAllowed) {
    const std::lock_guard lock(m_lock);
    if (plainAllowed) {
        m_secureHosts.erase(protocol::plainHost(host));
    } else if (m_secureHosts.size() < kMaxTexts) {
        m_secureHosts.insert(protocol::plainHost(host));
    }
}

bool KnownServers::wantsSecurity(const std::string& host) {
    const std::lock_guard lock(m_lock);
    return m_secureHosts.contains(protocol::plainHost(host));
}

bool KnownServers::isPinned(const protocol::Origin& server, const std::string& fingerprint) {
    const std::string name = certificateName(server);
    if (const auto known = recall(name)) return *known == fingerprint;
    keep(name, fingerprint);
    return true;
}

bool KnownServers::hasPin(const protocol::Origin& server) {
    return recall(certificateName(server)).has_value();
}

void KnownServers::setStore(Store* store) {
    const std::lock_guard lock(m_lock);
    if (m_store == store) return;
    m_store = store;
    m_texts.clear();
}

void KnownServers::forget() {
    const std::lock_guard lock(m_lock);
    m_texts.clear();
    m_secureHosts.clear();
}

// The store counts, which an administrator may have edited: it is asked each time, as the settings are.
std::optional<std::string> KnownServers::recall(const std::string& name) {
    Store* store = nullptr;
    {
        const std::lock_guard lock(m_lock);
        store = m_store;
        if (!store) {
            const auto known = m_texts.find(name);
            return known == m_texts.end() ? std::nullopt : std::optional(known->second);
        }
    }
    return store->load(name);
}

void KnownServers::keep(const std::string& name, const std::string& text) {
    Store* store = nullptr;
    {
        const std::lock_guard lock(m_lock);
        store = m_store;
        if (!store && m_texts.size() < kMaxTexts) m_texts[name] = text;
    }
    if (store) store->save(name, text);
}

}  // namespace net
