#pragma once

#include <cstdint>
#include <optional>

#include "media/ControlWindow.h"
#include "media/FrameInfoParser.h"

namespace norix {

/// Turns what frames report into messages for the control's window: every alert and event, and the digital
/// I/O state when it differs from the last one. Video receiving thread only.
class FrameEventReporter {
  public:
    void Report(const ParsedFrameInfo& frame, ControlWindow& window);
    void Reset() { m_digitalIo.reset(); }

  private:
    std::optional<std::uint32_t> m_digitalIo;  // as last reported
};

}  // namespace norix
