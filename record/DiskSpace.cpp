#include "record/DiskSpace.h"

#include <windows.h>

namespace norix {

namespace {
constexpr unsigned long long kMinimumFree = 100ull << 20;
constexpr unsigned long long kMebibyteMask = ~((1ull << 20) - 1);
}  // namespace

bool IsAlmostFull(unsigned long long freeBytes) {
    return (freeBytes >> 32) == 0 && (freeBytes & kMebibyteMask) < kMinimumFree;
}

bool IsDiskAlmostFull(const std::wstring& folder) {
    std::wstring path(MAX_PATH, L'\0');
    DWORD length = GetFullPathNameW(folder.c_str(), static_cast<DWORD>(path.size()), path.data(), nullptr);
    if (length >= path.size()) {
        path.resize(length);
        length = GetFullPathNameW(folder.c_str(), static_cast<DWORD>(path.size()), path.data(), nullptr);
    }
    if (length == 0 || length >= path.size()) return false;
    path.resize(length);
    ULARGE_INTEGER available = {};
    return GetDiskFreeSpaceExW(path.c_str(), &available, nullptr, nullptr) &&
           IsAlmostFull(available.QuadPart);
}

}  // namespace norix
