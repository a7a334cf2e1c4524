#include "util/LogSetup.h"

#include <new>

#include "util/Log.h"
#include "util/Settings.h"

namespace util {

void ReadLogSwitches() noexcept {
    Switches().output.Set(Settings::EnableDebugOutput());
    Switches().file.Set(Settings::EnableDebugLogFile());
}

void ReadLogDetails() noexcept {
    if (Switches().output) {
        Switches().threadId.Set(Settings::ShowThreadId());
        Switches().fps.Set(Settings::ShowFPS());
        Switches().ptsDiff.Set(Settings::ShowPTSDiff());
        Switches().frameTimeInfo.Set(Settings::ShowFrameTimeInfo());
        Switches().timeSync.Set(Settings::ShowTimeSync());
        Switches().timeDiff.Set(Settings::ShowTimeDiff());
    }
    if (!Switches().file) return;
    try {
        OpenLogFile(Settings::DebugLogFilePath().c_str());
    } catch (const std::bad_alloc&) {
        OpenLogFile(nullptr);
    }
}

}  // namespace util
