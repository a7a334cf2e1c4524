#pragma once

// Where the per-camera client values live.

#include <string>
#include <string_view>

namespace util {

/// "Software\Norix\<model>\CH<channel>", relative to the current user's hive.
///
/// The model is any text of the host. Backslashes in it separate subkeys, as everywhere in the registry;
/// leading, trailing and doubled ones are dropped, and so is what follows a zero. An empty model gives
/// "Software\Norix\CH<channel>". The registry knows no way up (".." is a key name like any other), so every
/// path stays below "Software\Norix". The channel is written as it is, negative ones too ("CH-1"). A path
/// part longer than the registry allows (255 characters) is refused by the registry itself.
std::wstring ClientKeyPath(std::wstring_view model, int channel);

}  // namespace util
