#include "control/connection/SignIns.h"

#include <algorithm>

namespace norix {

const SignIns::Bound* SignIns::Find(const protocol::Origin& origin) const {
    const auto found = std::find_if(m_bound.begin(), m_bound.end(),
                                    [&](const Bound& bound) { return bound.origin == origin; });
    return found == m_bound.end() ? nullptr : &*found;
}

void SignIns::Bind(const protocol::Origin& origin, SignIn signIn, Source source) {
    std::erase_if(m_bound, [&](const Bound& bound) { return bound.origin == origin; });
    m_bound.push_back({origin, std::move(signIn), source});
}

SignIn SignIns::TakeOver(const protocol::Origin& from, const protocol::Origin& to) {
    if (const Bound* bound = Find(from))
        Bind(to, bound->signIn, bound->source == Source::kInAddress ? Source::kInAddress : Source::kFound);
    return For(from);
}

void SignIns::ForgetFound() {
    std::erase_if(m_bound, [](const Bound& bound) {
        return bound.source != Source::kTyped && bound.source != Source::kTypedOnce;
    });
}

void SignIns::OnHostChange() {
    m_bound.clear();
    m_hostsAreTyped = false;
}

// Wherever it goes on to: the camera's other ports sign in as one does there.
bool SignIns::MayKeep(const SignIn& signIn) const {
    return std::none_of(m_bound.begin(), m_bound.end(), [&](const Bound& bound) {
        return bound.source == Source::kTypedOnce && bound.signIn == signIn;
    });
}

SignIn SignIns::For(const protocol::Origin& origin) const {
    if (const Bound* bound = Find(origin)) return bound->signIn;
    return m_hostsAreTyped ? SignIn() : m_hosts;
}

void SignIns::Told(const protocol::Origin& origin, SignIn signIn) {
    std::erase_if(m_told, [&](const Telling& telling) { return telling.origin == origin; });
    const Bound* const bound = Find(origin);
    m_told.push_back({origin, std::move(signIn), bound && bound->source != Source::kInAddress});
}

std::vector<protocol::Origin> SignIns::Wanting(const protocol::Origin& camera) const {
    std::vector<protocol::Origin> wanting = m_refusing;
    for (const Telling& telling : m_told)
        wanting.push_back(telling.origin);
    if (wanting.empty()) return {camera};
    const std::string host = wanting.back().host;
    std::erase_if(wanting, [&](const protocol::Origin& origin) { return origin.host != host; });
    return wanting;
}

}  // namespace norix
