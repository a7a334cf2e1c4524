#include "control/connection/SessionContext.h"

#include <cstdint>

#include "include/RTSP/ConnectionTypes.h"
#include "util/Log.h"

namespace norix {

int RTSPCallback(int code, unsigned value, void* session) {
    auto* const context = static_cast<SessionContext*>(session);
    const WindowHandle window = context == nullptr ? nullptr : context->param.window.Get();
    const auto number = static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(window));
    if (code == kCallbackStatus) {
        if (window != nullptr) context->param.window.Report(static_cast<EConnectStatus>(value));
        NORIX_LOG("RTSPCallback", 1, "PostMessage(0x%08x, WM_OnConnectStatus, %d)", number, value);
    } else if (code == kCallbackForceKeyFrame) {
        if (window != nullptr) {
            context->param.window.Post(WM_OnForceI, static_cast<std::uintptr_t>(context->channel.Get()),
                                       context->stream.Get());
        }
        NORIX_LOG("RTSPCallback", 1, "PostMessage(0x%08x, WM_OnForceI)", number);
    }
    return code;
}

}  // namespace norix
