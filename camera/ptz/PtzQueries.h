#pragma once

// Pan, tilt, zoom and presets as the camera's web server is asked for them. Pure; any thread.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace norix {

/// The request (GET) that carries a command out on a channel, counted from 1. `parameter` goes into it as it
/// is: a speed, or a preset's number. Nothing for what is no command, in whatever case it is written.
std::optional<std::string> PtzQuery(std::string_view command, std::int16_t parameter, std::int32_t channel);

/// The request (GET) that makes the present position a preset. The name stands in it as given, but for what
/// no request line can hold: line ends are left out, blanks and bytes above 7E written as "%XX".
std::string SavePresetQuery(std::string_view name, std::int16_t index);

/// The request (POST) for the names of the presets 1 to 25.
std::string PresetNamesQuery();
/// The values in its reply, in the reply's order, each followed by "#". What stands behind the last line end
/// does not count.
std::string PresetNames(std::string_view reply);

}  // namespace norix
