#pragma once

// Brings the log's switches in line with the registry. Window thread. Nothing throws.

namespace util {

/// When a control is constructed: debugger output and log file on or off.
void ReadLogSwitches() noexcept;

/// At the start of each Connect: with debugger output on, what is shown; with the log file on, its path, and
/// the file starts anew. What is off isn't read.
void ReadLogDetails() noexcept;

}  // namespace util
