#pragma once

#include "media/CtrlParam.h"

namespace norix {

/// What a control's connections share: made once with the control and kept for its life. The receivers, the
/// decoder and the audio player of a connection hang off it.
struct SessionContext {
    CCtrlParam param;

    /// Written by the window thread, read by the receiving threads when they ask for a key frame.
    Shared<long> channel{1};
    Shared<long> stream{1};
};

}  // namespace norix
