#pragma once

// Time in microseconds: one clock that never jumps, for intervals; and the wall clock, for presentation
// times.

#include <chrono>
#include <cstdint>

#include "live/env/Types.h"

namespace live {

inline constexpr int64_t kMicrosecondsPerSecond = 1'000'000;

inline int64_t steadyMicroseconds() {
    using namespace std::chrono;
    return duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count();
}

inline int64_t wallMicroseconds() {
    using namespace std::chrono;
    return duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
}

inline timeval toTimeval(int64_t microseconds) {
    timeval t;
    t.tv_sec = static_cast<decltype(t.tv_sec)>(microseconds / kMicrosecondsPerSecond);
    t.tv_usec = static_cast<decltype(t.tv_usec)>(microseconds % kMicrosecondsPerSecond);
    return t;
}

/// From `a` to `b`; also right where seconds have 32 bits and have wrapped, as from 2038 on.
inline int64_t microsecondsBetween(const timeval& a, const timeval& b) {
    const auto seconds = static_cast<std::int32_t>(static_cast<std::uint32_t>(b.tv_sec) -
                                                   static_cast<std::uint32_t>(a.tv_sec));
    return seconds * kMicrosecondsPerSecond + b.tv_usec - a.tv_usec;
}

}  // namespace live
