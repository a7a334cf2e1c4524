#pragma once

// The file version in a module's own version resource.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace util {

struct FileVersion {
    uint16_t major = 0;
    uint16_t minor = 0;
    uint16_t build = 0;
    uint16_t revision = 0;

    std::string Text() const;  // "%d.%d.%d.%d"
    bool operator==(const FileVersion&) const = default;
};

/// From the bytes of a version resource (VS_VERSIONINFO); nullopt when they aren't one. Pure.
std::optional<FileVersion> ParseVersionResource(std::span<const uint8_t> resource) noexcept;

}  // namespace util

#ifdef _WIN32
#include <windows.h>

namespace util {

/// Of a loaded module, from its mapped image, not its file; nullopt when it has no version resource.
std::optional<FileVersion> ModuleVersion(HMODULE module) noexcept;

}  // namespace util
#endif
