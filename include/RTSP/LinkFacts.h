#pragma once

// What our own RTP sources know of their link beyond the library's interface; sources of the real library
// know none of it. Templates, because only then what isn't there needs no declaration.

#include <cstdint>

namespace norix {

struct LinkFacts {
    std::uint64_t packets = 0;
    std::int64_t lost = 0;
    std::uint64_t foreign = 0;  // packets of others, dropped
    double jitterMs = 0;
    double windowMs = 0;  // how long missing packets are waited for now
    double heldMs = 0;    // how long packets have lately waited for others at most
};

template <class Source>
LinkFacts LinkFactsOf(Source& source) {
    LinkFacts facts;
    if constexpr (requires { source.reorderDelay(); }) {
        constexpr double kPerMicrosecond = 1e-3;
        const auto& stats = source.receptionStats();
        const auto delay = source.reorderDelay();
        facts.packets = stats.received();
        facts.lost = stats.lost();
        facts.foreign = stats.foreign();
        facts.jitterMs = stats.jitterSeconds() * 1e3;
        facts.windowMs = static_cast<double>(delay.window) * kPerMicrosecond;
        facts.heldMs = static_cast<double>(delay.held) * kPerMicrosecond;
    }
    return facts;
}

/// Whether something is missing between the frame before and the one delivered last.
template <class Source>
bool DamagedBefore(const Source& source) {
    if constexpr (requires { source.damagedBefore(); }) return source.damagedBefore();
    return false;
}

}  // namespace norix
