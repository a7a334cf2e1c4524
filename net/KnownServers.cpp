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

// What a camera streams by, wherever it has said that this is.
std::string serviceName(const protocol::Origin& camera, const std::string& scheme) {
    return "sign-in " + scheme + " of " + protocol::toText(camera);
}

bool isWeb(const protocol::Origin& server) {
    return server.scheme != "rtsp";
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
    const char* const reason = objection(server);
    if (!reason) return best;
    NORIX_LOG("KnownServers::choose", 1, "%s asks for a password in clear and gets none: %s",
              protocol::toText(server).c_str(), reason);
    return std::nullopt;
}

// To Basic; null where there is none.
const char* KnownServers::objection(const protocol::Origin& server) {
    static constexpr char kBefore[] = "it took Digest before";
    // Whoever redirects a plain request to HTTPS has not proved to be the server: what that one took counts.
    const bool upgraded = server == protocol::makeOrigin("https", server.host, protocol::kHttpsPort);
    if (recall(signInName(server)) == kDigest ||
        (upgraded && recall(signInName(protocol::makeOrigin("http", server.host, 80))) == kDigest)) {
        return kBefore;
    }
    for (const protocol::Origin& camera : namersOf(server)) {
        if (camera.host != server.host) return "only a camera elsewhere has named it";
        if (recall(serviceName(camera, server.scheme)) == kDigest ||
            (isWeb(server) && recall(signInName(camera)) == kDigest)) {
            return kBefore;
        }
    }
    if (server.scheme != "https" && wantsSecurity(server.host))
        return "its host is asked by HTTPS, and this connection is not encrypted";
    return nullptr;
}

void KnownServers::accepted(const protocol::Origin& server, protocol::Challenge::Kind kind) {
    if (kind == protocol::Challenge::Kind::Basic) return;
    const auto note = [this](const std::string& name) {
        if (recall(name) != kDigest) keep(name, kDigest);
    };
    note(signInName(server));
    for (const protocol::Origin& camera : namersOf(server))
        if (camera.host == server.host) note(serviceName(camera, server.scheme));
}

void KnownServers::namedBy(const protocol::Origin& place, const protocol::Origin& camera) {
    if (place == camera || !place || !camera) return;
    const std::lock_guard lock(m_lock);
    if (m_namers.size() >= kMaxTexts && !m_namers.contains(place)) return;
    std::set<protocol::Origin> namers{camera};
    // A port that was named by one that was named before.
    if (const auto before = m_namers.find(camera); before != m_namers.end())
        namers.insert(before->second.begin(), before->second.end());
    namers.erase(place);
    m_namers[place].merge(namers);
}

std::set<protocol::Origin> KnownServers::namersOf(const protocol::Origin& place) {
    const std::lock_guard lock(m_lock);
    const auto found = m_namers.find(place);
    return found == m_namers.end() ? std::set<protocol::Origin>() : found->second;
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
    m_namers.clear();
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
