#pragma once

#include <string>

namespace norix {

/// A local date and time, as file names show it.
struct SnapshotTime {
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int millisecond = 0;
};

/// The name of a snapshot's file, without extension: the host's own, the time, or both when `withTime`.
std::wstring SnapshotFileName(const std::wstring& name, bool withTime, const SnapshotTime& time);

/// Where the picture goes: the folder, a separator, the name and ".jpg". Nothing is checked or tidied.
std::wstring SnapshotPath(const std::wstring& folder, const std::wstring& name);

}  // namespace norix
