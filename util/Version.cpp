#include "util/Version.h"

#include "util/Format.h"

namespace util {
namespace {

// VS_VERSIONINFO: three 16-bit words, the zero-terminated UTF-16 text "VS_VERSION_INFO", padding to 32 bits,
// then VS_FIXEDFILEINFO, which starts with its signature and structure version; the file version's two halves
// follow.
constexpr size_t kFixedInfoOffset = 40;
constexpr size_t kFileVersionHighOffset = kFixedInfoOffset + 8;
constexpr size_t kFileVersionLowOffset = kFixedInfoOffset + 12;
constexpr size_t kFixedInfoSize = 52;
constexpr uint32_t kSignature = 0xFEEF04BD;

uint16_t Word(std::span<const uint8_t> bytes, size_t offset) noexcept {
    return static_cast<uint16_t>(bytes[offset] | bytes[offset + 1] << 8);
}

}  // namespace

std::string FileVersion::Text() const {
    return Format("%d.%d.%d.%d", major, minor, build, revision);
}

std::optional<FileVersion> ParseVersionResource(std::span<const uint8_t> resource) noexcept {
    if (resource.size() < kFixedInfoOffset + kFixedInfoSize) return std::nullopt;
    const uint32_t signature =
        Word(resource, kFixedInfoOffset) | uint32_t{Word(resource, kFixedInfoOffset + 2)} << 16;
    if (signature != kSignature) return std::nullopt;
    return FileVersion{
        .major = Word(resource, kFileVersionHighOffset + 2),
        .minor = Word(resource, kFileVersionHighOffset),
        .build = Word(resource, kFileVersionLowOffset + 2),
        .revision = Word(resource, kFileVersionLowOffset),
    };
}

#ifdef _WIN32

std::optional<FileVersion> ModuleVersion(HMODULE module) noexcept {
    const HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(VS_VERSION_INFO), RT_VERSION);
    if (!found) return std::nullopt;
    const HGLOBAL loaded = LoadResource(module, found);
    if (!loaded) return std::nullopt;
    const auto* const bytes = static_cast<const uint8_t*>(LockResource(loaded));
    return bytes ? ParseVersionResource({bytes, SizeofResource(module, found)}) : std::nullopt;
}

#endif

}  // namespace util
