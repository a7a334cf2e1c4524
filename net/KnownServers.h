#pragma once

// What is remembered of servers, so that nobody on the way can talk us into less than they are known to take.

#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>

#include "protocol/Challenge.h"
#include "protocol/Origin.h"

namespace net {

/// One for the process. What has to last longer is kept by a store, one short text per name. Any thread.
class KnownServers {
  public:
    /// Where texts are kept beyond the process, per user. Called with no lock held, from any thread.
    class Store {
      public:
        virtual ~Store() = default;
        virtual std::optional<std::string> load(const std::string& name) = 0;
        virtual void save(const std::string& name, const std::string& text) = 0;
    };

    static KnownServers& get();

    /// The strongest challenge in the WWW-Authenticate fields that `server` may be answered: no Basic where
    /// Digest was taken before (by HTTPS: also by the host's HTTP, which may redirect there), also by what a
    /// camera named then (see namedBy), nor in clear to a host that is asked by HTTPS. Nothing without one.
    std::optional<protocol::Challenge> choose(const protocol::Origin& server,
                                              std::span<const std::string> fields);

    /// The server has accepted an answer of this kind.
    void accepted(const protocol::Origin& server, protocol::Challenge::Kind kind);

    /// The server at `camera` has said that `place` is its own: another port of its web server, or its
    /// streams'. Whoever answers for a camera can name any port, and none of them is known to have taken
    /// Digest; so what the camera's web server and its streams took counts there. Of another host, which only
    /// the camera has named, it gets no Basic at all. Holds for the process.
    void namedBy(const protocol::Origin& place, const protocol::Origin& camera);

    /// The host is asked by HTTPS. `plainAllowed`: the user lets Basic go to it in clear all the same.
    void askedSecurely(const std::string& host, bool plainAllowed);
    /// Whether askedSecurely was called for the host, without leave for what goes in clear.
    bool wantsSecurity(const std::string& host);

    /// Whether this is the certificate (its fingerprint, as text) that was accepted for the server before;
    /// the first one that is shown for it is.
    bool isPinned(const protocol::Origin& server, const std::string& fingerprint);
    bool hasPin(const protocol::Origin& server);

    /// A null store keeps nothing. It lives as long as it is set.
    void setStore(Store* store);
    /// Empties the memory of the process; what is stored stays.
    void forget();

  private:
    const char* objection(const protocol::Origin& server);
    std::set<protocol::Origin> namersOf(const protocol::Origin& place);
    std::optional<std::string> recall(const std::string& name);
    void keep(const std::string& name, const std::string& text);

    std::mutex m_lock;                           // guards what follows; held while nobody is called
    std::map<std::string, std::string> m_texts;  // by name: what was learnt or loaded
    std::set<std::string> m_secureHosts;
    std::map<protocol::Origin, std::set<protocol::Origin>> m_namers;  // cameras that have named a place
    Store* m_store = nullptr;
};

}  // namespace net
