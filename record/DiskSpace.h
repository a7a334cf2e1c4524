#pragma once

#include <string>

namespace norix {

/// Whether the drive of `folder` has less than 100 MiB free for this user. A folder whose drive cannot be
/// asked counts as not full: the recorder reports what is wrong with it when it writes.
bool IsDiskAlmostFull(const std::wstring& folder);

/// The comparison itself, pure: the low 20 bits do not count, and 4 GiB or more always suffice.
bool IsAlmostFull(unsigned long long freeBytes);

}  // namespace norix
