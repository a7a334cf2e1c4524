#pragma once

namespace codec {

/// Sends the messages of FFmpeg's libraries to SetLogHook's hook and WatchErrors' flags, from now on. Cheap
/// to repeat. Internal to codec/.
void InstallLogCallback();

}  // namespace codec
