#pragma once

#include <windows.h>

#include <mutex>
#include <string>
#include <vector>

#include "util/Handles.h"

// Switches the control's debug output on for controls that are made from now on, and takes its lines, with
// the moment at which each was written.
class LogTap {
  public:
    LogTap();
    ~LogTap();
    LogTap(const LogTap&) = delete;
    LogTap& operator=(const LogTap&) = delete;

    struct Line {
        double atMs;
        std::string text;
    };
    std::vector<Line> Take();

  private:
    static LONG CALLBACK OnException(EXCEPTION_POINTERS* exception);
    void Switch(const wchar_t* name, DWORD value);

    static LogTap* current_;
    PVOID handler_ = nullptr;
    std::mutex lock_;
    std::vector<Line> lines_;  // guarded by lock_
};
