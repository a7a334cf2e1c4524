#pragma once

// What a session reports.

namespace norix {

/// code 1: the connection's status has become `value`, an EConnectStatus; code 2: the camera should be asked
/// for a key frame, since a pushed stream has started in the middle of a group of pictures, or frames are
/// being skipped up to the next one. Not more often than once a second. Called on the session's thread: it
/// must return soon and must not stop the session. The result is ignored.
using RTSPStatusCallback = int(int code, unsigned value, void* userData);
inline constexpr int kCallbackStatus = 1;
inline constexpr int kCallbackForceKeyFrame = 2;

}  // namespace norix
