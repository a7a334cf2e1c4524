#pragma once

#include <algorithm>
#include <iterator>
#include <string_view>

#include "protocol/Text.h"

namespace norix {

/// What a command's parameter is.
enum class PtzUse {
    Nothing,  // the command stops something
    Tilt,     // the speed of one axis...
    Pan,
    Zoom,
    TiltAndPan,  // or of two
    Preset,      // a preset's number
};

struct PtzMove {
    std::string_view name;
    PtzUse use;
    // To the right, upwards, nearer: 1; back: -1. Of a stop: which axes it is for.
    int pan;
    int tilt;
    int zoom;
};

/// The commands that move a camera. docs/automation.md has a table that scripts/gen-automation-doc.py makes
/// of these lines.
inline constexpr PtzMove kPtzMoves[] = {
    {"up", PtzUse::Tilt, 0, 1, 0},                // tilts up until a stop
    {"down", PtzUse::Tilt, 0, -1, 0},             // tilts down
    {"left", PtzUse::Pan, -1, 0, 0},              // pans to the left
    {"right", PtzUse::Pan, 1, 0, 0},              // pans to the right
    {"upleft", PtzUse::TiltAndPan, -1, 1, 0},     // both at once
    {"upright", PtzUse::TiltAndPan, 1, 1, 0},     // both at once
    {"downleft", PtzUse::TiltAndPan, -1, -1, 0},  // both at once
    {"downright", PtzUse::TiltAndPan, 1, -1, 0},  // both at once
    {"zin", PtzUse::Zoom, 0, 0, 1},               // zooms in until a stop
    {"zout", PtzUse::Zoom, 0, 0, -1},             // zooms out
    {"stop", PtzUse::Nothing, 1, 1, 1},           // stops everything
    {"pstop", PtzUse::Nothing, 1, 0, 0},          // stops panning
    {"tstop", PtzUse::Nothing, 0, 1, 0},          // stops tilting
    {"zstop", PtzUse::Nothing, 0, 0, 1},          // stops zooming
    {"gopreset", PtzUse::Preset, 0, 0, 0},        // goes to a preset
};

/// The command of this name, in whatever case it is written; null when there is none.
inline const PtzMove* FindPtzMove(std::string_view command) {
    const auto* const found = std::find_if(
        std::begin(kPtzMoves), std::end(kPtzMoves),
        [command](const PtzMove& move) { return protocol::equalsIgnoringCase(move.name, command); });
    return found == std::end(kPtzMoves) ? nullptr : found;
}

}  // namespace norix
