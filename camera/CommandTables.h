#pragma once

// Which parameters belong to which of the control's questions, in the order in which they are sent. The
// tables point into the records they are made for. Pure; any thread.

#include <cstdint>
#include <string>
#include <vector>

#include "camera/CameraRecords.h"
#include "camera/CgiParams.h"
#include "camera/CodecList.h"

namespace norix {

std::vector<CgiParam> SystemInformationTable(SystemInformation& info);

struct CameraPorts {
    std::int32_t rtsp = 0;
    std::int32_t http = 0;
    std::int32_t https = 0;
};
std::vector<CgiParam> PortTable(CameraPorts& ports);

/// By what a parameter's full name is made up.
struct KeyRules {
    bool perVideoSource = false;   // settings are kept per video source
    bool severalChannels = false;  // keys hold the channel's number
    bool codecListKnown = false;   // the frame rate's key holds stream and codec
    StreamSelection selection;
};
std::vector<CgiParamW> VideoSettingsTable(const KeyRules& rules, VideoSettings& settings,
                                          std::wstring& codepage);
std::vector<CgiParam> MotionTable(const KeyRules& rules, MotionSettings& settings);

}  // namespace norix
