#include "media/FrameEventReporter.h"

namespace norix {

void FrameEventReporter::Report(const ParsedFrameInfo& frame, ControlWindow& window) {
    if (!frame.hasInformation) return;
    const FrameEvents& events = frame.events;
    if (events.hasDigitalIo && m_digitalIo != frame.info.digitalIo) {
        // A state that could not be told is told with the next frame.
        if (window.PostEvent(WM_OnDIOStatus, 0, events.digitalInputs, events.digitalOutputs))
            m_digitalIo = frame.info.digitalIo;
    }
    for (const auto& alert : events.motionAlerts) {
        window.PostEvent(WM_OnMDAlert, alert.windowId, alert.windowId, alert.percentage);
    }
    for (const auto& event : events.analytics) {
        window.PostEvent(WM_OnIVAEvent, event.index, event.index, event.functionType);
    }
    for (const auto& event : events.general) {
        const auto subject = static_cast<std::uint32_t>(event.type << 8 | event.index);
        window.PostEvent(WM_OnGeneralEvent, subject, event.type, event.index << 8 | event.status);
    }
}

}  // namespace norix
