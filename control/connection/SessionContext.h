#pragma once

#include <memory>

#include "media/CtrlParam.h"
#include "render/present/PictureView.h"

namespace norix {

/// What a control's connections share: made once with the control and kept for its life, and beyond that by
/// threads of connections that had to be abandoned.
struct SessionContext {
    CCtrlParam param;

    /// How the host wants the picture to look. The control sets it, each connection's decoder shows it so.
    const std::shared_ptr<PictureView> view = std::make_shared<PictureView>();

    /// Written by the window thread, read by the receiving threads when they ask for a key frame.
    Shared<long> channel{1};
    Shared<long> stream{1};
};

/// What the RTSP session driver calls, on its thread. Code 1: the connection status `value` is reported. Code
/// 2: a key frame is wanted. Both are posted to the control's window. Any other code does nothing. Returns
/// the code. `session` is a SessionContext and may be null.
int RTSPCallback(int code, unsigned value, void* session);

}  // namespace norix
