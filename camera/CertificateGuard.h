#pragma once

#include <windows.h>

#include <wininet.h>

#include <utility>

#include "protocol/Origin.h"

namespace norix {

/// Holds the certificate that a server shows, and that nobody vouches for, against the one that was accepted
/// for it before; the first is accepted (net/KnownServers.h). One request's, on the thread that sends it.
class CertificateGuard {
  public:
    enum class Verdict { NotSeen, Accepted, Refused };

    explicit CertificateGuard(protocol::Origin server) : m_server(std::move(server)) {}

    /// Looks at the connection of a request, if it has one by now. What was seen once stands.
    Verdict Look(HINTERNET request) noexcept;

  private:
    const protocol::Origin m_server;
    Verdict m_verdict = Verdict::NotSeen;
};

}  // namespace norix
