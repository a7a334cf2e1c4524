#pragma once

#include <windows.h>

#include <wininet.h>

#include <atomic>
#include <cstdint>
#include <mutex>

#include "camera/CertificateGuard.h"
#include "camera/HttpTransport.h"
#include "util/Handles.h"

namespace norix {

/// The times of docs/camera-interface.md, in milliseconds.
inline constexpr std::uint32_t kPhaseLimit = 1000;
inline constexpr std::uint32_t kSecureLimit = 3000;
inline constexpr std::uint32_t kTotalLimit = 5000;

/// What the thread that asks a server and the one that waits for it know of each other. Shared by both; the
/// last one destroys it. WinInet keeps its own connect time-out on Windows, but not everywhere, and knows no
/// limit for looking up names or for a reply as a whole: those are kept by watching in which phase it is.
class ExchangeWatch {
  public:
    enum class Phase { Start, Lookup, Connect, Secure, Send, Receive, Body };

    // ---- The asking thread

    void Enter(Phase phase);
    bool Abandoned() const { return m_abandoned.load(); }

    /// While lent, the request may be closed by the waiting thread to end the call that is under way.
    void LendRequest(HINTERNET request) { m_lent.store(request); }
    /// Closes a request that is lent, to end the call that is under way: nothing more is sent.
    void CloseLent();
    /// False when the request is closed already.
    bool TakeBackRequest() { return m_lent.exchange(nullptr) != nullptr; }

    /// Who looks at the server's certificate before a request goes out; null for nobody. Outlives its use.
    void SetGuard(CertificateGuard* guard) { m_guard = guard; }
    CertificateGuard* Guard() const { return m_guard; }

    /// The reply as far as there is one.
    void SetReply(HttpReply reply);
    /// There will be no more of it.
    void Finish();

    // ---- The waiting thread

    /// Waits for the asking thread to finish; false when it exceeded a limit.
    bool WaitForFinish() const;
    /// Ends the call that may be under way as far as the system allows, and all that would come after it.
    void Abandon();
    HttpReply TakeReply();

  private:
    /// Milliseconds left to the asking thread.
    std::uint32_t Patience() const;

    util::Event m_changed{util::Event::Kind::kAutoReset};  // phase or end
    std::atomic<bool> m_finished{false};
    std::atomic<bool> m_abandoned{false};
    std::atomic<HINTERNET> m_lent{nullptr};
    const DWORD m_begin = GetTickCount();
    CertificateGuard* m_guard = nullptr;  // the asking thread's

    mutable std::mutex m_mutex;  // guards what follows
    Phase m_phase = Phase::Start;
    DWORD m_phaseBegin = m_begin;
    HttpReply m_reply;
};

}  // namespace norix
