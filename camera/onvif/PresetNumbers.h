#pragma once

// ONVIF's presets have tokens, the control's have numbers. Pure.

#include <map>
#include <string>
#include <vector>

#include "camera/onvif/SoapReply.h"

namespace norix::onvif {

/// The presets by their numbers, from 1 on. Those that were saved under a number have that one: `saved` is
/// their tokens by it. Where all tokens are numbers themselves, these count for the others; else a preset's
/// number is its place in the list, or the next one that is free.
std::map<int, Preset> NumberPresets(const std::vector<Preset>& presets,
                                    const std::map<int, std::string>& saved);

/// The names of the numbers 1 to 25, as far as there are presets, each followed by "#".
std::string PresetNames(const std::map<int, Preset>& numbered);

}  // namespace norix::onvif
