#include "media/FrameEventReporter.h"

namespace norix {

void FrameEventReporter::Report(const ParsedFrameInfo& frame, const ControlWindow& window) {
    if (!frame.hasInformation) return;
    const FrameEvents& events = frame.events;
    if (events.hasDigitalIo && m_digitalIo != frame.info.digitalIo) {
        m_digitalIo = frame.info.digitalIo;
        window.Post(WM_OnDIOStatus, events.digitalInputs, events.digitalOutputs);
    }
    for (const auto& alert : events.motionAlerts) {
        window.Post(WM_OnMDAlert, alert.windowId, alert.percentage);
    }
    for (const auto& event : events.analytics) {
        window.Post(WM_OnIVAEvent, event.index, event.functionType);
    }
    for (const auto& event : events.general) {
        window.Post(WM_OnGeneralEvent, event.type, event.index << 8 | event.status);
    }
}

}  // namespace norix
