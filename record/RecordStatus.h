#pragma once

#include <cstdint>

namespace norix {

/// What a recording reports, in the numbers of the type library's ERecordStatus.
enum class RecordStatus : std::int16_t {
    None = 0,
    Recording = 1,
    DiskFull = 2,
    Started = 3,
    Stopped = 4,
    PathInvalid = 5,
    FileCreateFailed = 6,
    FileWriteFailed = 7,
};

enum class RecordFormat : std::int16_t { Raw = 0, Avi = 1 };

}  // namespace norix
