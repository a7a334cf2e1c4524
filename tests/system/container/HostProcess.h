#pragma once

#include <string>
#include <vector>

// One run of the host program: its exit code, what it printed, and its log line by line without the times.
struct HostRun {
    int exitCode = -1;
    std::string output;
    std::vector<std::string> log;

    // The log's lines of one kind ("event", "error"), without that word.
    std::vector<std::string> Of(const std::string& kind) const;
};

// Runs NorixHost.exe from the build folder with a log file of its own. Throws std::runtime_error when it does
// not start, or does not end within a minute.
HostRun RunHost(const std::vector<std::wstring>& arguments);

// The same without asking for a log.
HostRun RunHostWithoutLog(const std::vector<std::wstring>& arguments);
