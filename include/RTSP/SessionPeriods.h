#pragma once

#include <cstdint>

namespace norix {

/// By what a session is watched and kept alive; microseconds. The host may change the first; tests shorten
/// them all.
struct SessionPeriods {
    std::int64_t connectCheck = 5'000'000;     // PLAY has to have succeeded
    std::int64_t nextTry = 500'000;            // after a server that could not be reached
    std::int64_t disconnectCheck = 5'000'000;  // each medium has to have delivered something
    std::int64_t keepAlive = 5'000'000;        // until the server states its session's time-out
    std::int64_t keyFrameCheck = 100'000;      // whether anybody wishes a key frame
    std::int64_t keyFrameRequest = 1'000'000;  // from one request for a key frame to the next
    std::int64_t durationMargin = 2'000'000;   // added to a session that states its length
};

}  // namespace norix
