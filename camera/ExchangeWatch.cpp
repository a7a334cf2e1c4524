#include "camera/ExchangeWatch.h"

#include <algorithm>
#include <utility>

namespace norix {
namespace {

// So that the system's own time-outs, where they work, come first and say what happened.
constexpr std::uint32_t kSlack = 100;

std::uint32_t LimitOf(ExchangeWatch::Phase phase) {
    using Phase = ExchangeWatch::Phase;
    switch (phase) {
        case Phase::Lookup:
        case Phase::Connect:
        case Phase::Send:
            return kPhaseLimit + kSlack;
        case Phase::Secure:
            return kSecureLimit;
        default:
            return kTotalLimit;  // each wait has its own time-out
    }
}

std::uint32_t Left(std::uint32_t limit, std::uint32_t passed) {
    return passed < limit ? limit - passed : 0;
}

}  // namespace

void ExchangeWatch::Enter(Phase phase) {
    {
        const std::lock_guard lock(m_mutex);
        m_phase = phase;
        m_phaseBegin = GetTickCount();
    }
    m_changed.Set();
}

void ExchangeWatch::Finish() {
    m_finished.store(true);
    m_changed.Set();
}

bool ExchangeWatch::WaitForFinish() const {
    while (!m_finished.load()) {
        const std::uint32_t milliseconds = Patience();
        if (milliseconds == 0) return false;
        // A new phase may have less time than the one before.
        m_changed.Wait(milliseconds);
    }
    return true;
}

void ExchangeWatch::SetReply(HttpReply reply) {
    const std::lock_guard lock(m_mutex);
    m_reply = std::move(reply);
}

std::uint32_t ExchangeWatch::Patience() const {
    const std::lock_guard lock(m_mutex);
    const DWORD now = GetTickCount();
    return std::min(Left(LimitOf(m_phase), now - m_phaseBegin), Left(kTotalLimit, now - m_begin));
}

void ExchangeWatch::Abandon() {
    m_abandoned.store(true);
    CloseLent();
}

void ExchangeWatch::CloseLent() {
    if (const HINTERNET request = m_lent.exchange(nullptr)) InternetCloseHandle(request);
}

HttpReply ExchangeWatch::TakeReply() {
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_reply, {});
}

}  // namespace norix
