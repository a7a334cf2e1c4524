#include "camera/CertificateGuard.h"

#include <wincrypt.h>

#include <exception>
#include <memory>
#include <string_view>

#include "net/KnownServers.h"
#include "protocol/Digest.h"
#include "util/Log.h"

namespace norix {
namespace {

// wininet.h of Windows 7; mingw's leaves it out.
constexpr DWORD kServerCertChainContext = 105;

struct FreeChain {
    void operator()(const CERT_CHAIN_CONTEXT* chain) const { CertFreeCertificateChain(chain); }
};
using Chain = std::unique_ptr<const CERT_CHAIN_CONTEXT, FreeChain>;

const CERT_CONTEXT* ServersOwn(const CERT_CHAIN_CONTEXT& chain) {
    if (chain.cChain == 0 || chain.rgpChain[0]->cElement == 0) return nullptr;
    return chain.rgpChain[0]->rgpElement[0]->pCertContext;
}

}  // namespace

CertificateGuard::Verdict CertificateGuard::Look(HINTERNET request) noexcept {
    if (m_verdict != Verdict::NotSeen) return m_verdict;
    const CERT_CHAIN_CONTEXT* found = nullptr;
    DWORD size = sizeof(const CERT_CHAIN_CONTEXT*);  // NOLINT(bugprone-sizeof-expression): a pointer comes
    if (!InternetQueryOptionW(request, kServerCertChainContext, &found, &size) || !found) return m_verdict;
    const Chain chain(found);
    const CERT_CONTEXT* const certificate = ServersOwn(*chain);
    if (!certificate) return m_verdict;
    try {
        const std::string_view bytes(reinterpret_cast<const char*>(certificate->pbCertEncoded),
                                     certificate->cbCertEncoded);
        const bool known = net::KnownServers::get().isPinned(m_server, protocol::sha256Hex(bytes));
        m_verdict = known ? Verdict::Accepted : Verdict::Refused;
        if (!known) {
            NORIX_LOG("CertificateGuard::Look", 1, "%s shows another certificate than before",
                      protocol::toText(m_server).c_str());
        }
    } catch (const std::exception&) {
        m_verdict = Verdict::Refused;
    }
    return m_verdict;
}

}  // namespace norix
