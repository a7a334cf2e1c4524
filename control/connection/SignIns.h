#pragma once

#include <utility>
#include <vector>

#include "control/connection/SignIn.h"
#include "protocol/Origin.h"

namespace norix {

/// Who signs in where. A sign-in that the user typed, or that was saved, belongs to the origins it was typed
/// or saved for and is told to nobody else. One that the host of the control has set goes wherever the host
/// sends the control to. Pure. Window thread.
class SignIns {
  public:
    /// What the host's properties say now.
    void SetHosts(SignIn signIn) { m_hosts = std::move(signIn); }
    /// The properties say what the user typed, not what the host has set; until it sets them itself.
    void MarkHostsAsTyped(bool typed) { m_hostsAreTyped = typed; }

    /// Whether the host signs in by itself.
    bool HostSignsIn() const { return !m_hostsAreTyped && !m_hosts.user.empty(); }

    enum class Source {
        kTyped,      ///< by the user
        kTypedOnce,  ///< by the user, who does not want it to be remembered
        kFound,      ///< saved; looked for anew by each attempt to connect, as the next one
        kInAddress,  ///< which the host has set: nothing of the user's
    };
    /// Binds a sign-in to an origin, in place of one that was bound to it.
    void Bind(const protocol::Origin& origin, SignIn signIn, Source source);
    /// Who signs in at `from` does so at `to` as well, a place that the server there has named.
    SignIn TakeOver(const protocol::Origin& from, const protocol::Origin& to);
    void ForgetFound();
    /// The host has said anew who signs in, or where.
    void OnHostChange();
    bool IsBound(const protocol::Origin& origin) const { return Find(origin) != nullptr; }

    /// Whether a sign-in may be kept for later: not where the user has said otherwise.
    bool MayKeep(const SignIn& signIn) const;

    /// Who signs in at an origin; an empty user when nobody does.
    SignIn For(const protocol::Origin& origin) const;

    // ---- What an attempt to connect has told to whom

    /// Forgets what the one before has told.
    void BeginAttempt() {
        m_told.clear();
        m_refusing.clear();
    }
    void Told(const protocol::Origin& origin, SignIn signIn);
    struct Telling {
        protocol::Origin origin;
        SignIn signIn;
        bool users = false;  ///< not the host's
    };
    const std::vector<Telling>& Tellings() const { return m_told; }
    void RefusedBy(const protocol::Origin& origin) { m_refusing.push_back(origin); }

    /// Whom a sign-in that the user types now is for: all of one host, the stream's where there is one; else
    /// `camera`.
    std::vector<protocol::Origin> Wanting(const protocol::Origin& camera) const;

  private:
    struct Bound {
        protocol::Origin origin;
        SignIn signIn;
        Source source = Source::kFound;
    };
    const Bound* Find(const protocol::Origin& origin) const;

    SignIn m_hosts;
    bool m_hostsAreTyped = false;
    std::vector<Bound> m_bound;
    std::vector<Telling> m_told;
    std::vector<protocol::Origin> m_refusing;
};

}  // namespace norix
