#pragma once

#include <string_view>

namespace norix {

/// What a command's parameter is.
enum class PtzUse {
    Nothing,
    Tilt,  // the speed of one axis...
    Pan,
    Zoom,
    TiltAndPan,  // or of two
    Preset,      // a preset's number
};

struct PtzMove {
    std::string_view name;
    PtzUse use;
};

/// The commands that move a camera. docs/automation.md has a table that scripts/gen-automation-doc.py makes
/// of these lines.
inline constexpr PtzMove kPtzMoves[] = {
    {"up", PtzUse::Tilt},               // tilts up until a stop
    {"down", PtzUse::Tilt},             // tilts down
    {"left", PtzUse::Pan},              // pans to the left
    {"right", PtzUse::Pan},             // pans to the right
    {"upleft", PtzUse::TiltAndPan},     // both at once
    {"upright", PtzUse::TiltAndPan},    // both at once
    {"downleft", PtzUse::TiltAndPan},   // both at once
    {"downright", PtzUse::TiltAndPan},  // both at once
    {"zin", PtzUse::Zoom},              // zooms in until a stop
    {"zout", PtzUse::Zoom},             // zooms out
    {"stop", PtzUse::Nothing},          // stops everything
    {"pstop", PtzUse::Nothing},         // stops panning
    {"tstop", PtzUse::Nothing},         // stops tilting
    {"zstop", PtzUse::Nothing},         // stops zooming
    {"gopreset", PtzUse::Preset},       // goes to a preset
};

}  // namespace norix
