#pragma once

namespace norix {

/// What the video area shows while nothing plays.
enum class StatusPicture { None, Disconnect, ConnectFail };

}  // namespace norix
