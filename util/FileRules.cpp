#include "util/FileRules.h"

#include <algorithm>
#include <array>
#include <cwctype>

namespace util {
namespace {

constexpr std::size_t kLongestName = 255;      // of NTFS and FAT
constexpr std::size_t kLongestExtension = 32;  // what is longer behind a dot is no extension
constexpr std::size_t kLongestPath = 32000;    // a little below the system's 32767 characters

bool IsSeparator(wchar_t c) noexcept {
    return c == L'\\' || c == L'/';
}

bool IsLetter(wchar_t c) noexcept {
    return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z');
}

wchar_t Fold(wchar_t c) noexcept {
    if (IsSeparator(c)) return L'\\';
    return static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(c)));
}

bool SameText(std::wstring_view a, std::wstring_view b) noexcept {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](wchar_t x, wchar_t y) { return Fold(x) == Fold(y); });
}

bool IsBadCharacter(wchar_t c) noexcept {
    constexpr std::wstring_view kBad = L"<>\"|?*\x7F";
    return static_cast<std::char_traits<wchar_t>::int_type>(c) < 32 || kBad.find(c) != kBad.npos;
}

/// The system takes these for devices in any folder and whatever follows the first dot. The raised digits
/// count as digits there.
bool IsDeviceName(std::wstring_view name) noexcept {
    std::wstring_view stem = name.substr(0, name.find(L'.'));
    while (!stem.empty() && stem.back() == L' ')
        stem.remove_suffix(1);
    constexpr std::array<std::wstring_view, 7> kNames = {L"con",    L"prn",     L"aux",   L"nul",
                                                         L"conin$", L"conout$", L"clock$"};
    if (std::any_of(kNames.begin(), kNames.end(), [&](std::wstring_view n) { return SameText(stem, n); }))
        return true;
    if (stem.size() != 4 || (!SameText(stem.substr(0, 3), L"com") && !SameText(stem.substr(0, 3), L"lpt")))
        return false;
    return std::wstring_view(L"0123456789\u00B9\u00B2\u00B3").find(stem[3]) != std::wstring_view::npos;
}

/// Takes the next part off a path, without the separators around it.
std::wstring_view TakePart(std::wstring_view& path) noexcept {
    while (!path.empty() && IsSeparator(path.front()))
        path.remove_prefix(1);
    const auto end = std::find_if(path.begin(), path.end(), IsSeparator);
    const auto length = static_cast<std::size_t>(end - path.begin());
    const std::wstring_view part = path.substr(0, length);
    path.remove_prefix(length);
    return part;
}

/// What stands in front of a path's parts: "C:", "C:\", "\\", or nothing. "\\.\" counts as "\\".
std::size_t PrefixLength(std::wstring_view path) noexcept {
    if (path.size() >= 2 && IsLetter(path[0]) && path[1] == L':')
        return path.size() > 2 && IsSeparator(path[2]) ? 3 : 2;
    std::size_t length = 0;
    while (length < path.size() && length < 2 && IsSeparator(path[length]))
        ++length;
    return length;
}

/// "\\?\C:\" and "\\?\UNC\" are how a program names paths of more than 260 characters.
std::size_t LongPrefixLength(std::wstring_view path) noexcept {
    if (path.substr(0, 4) != L"\\\\?\\") return 0;
    const std::wstring_view rest = path.substr(4);
    if (rest.size() >= 3 && IsLetter(rest[0]) && rest[1] == L':' && rest[2] == L'\\') return 7;
    return SameText(rest.substr(0, 4), L"UNC\\") ? 8 : 0;
}

/// A program may name any folder, also by a way up: it could open the file by itself. What is refused is what
/// no folder is.
FileFault CheckFolderOfProgram(std::wstring_view folder) noexcept {
    std::size_t prefix = LongPrefixLength(folder);
    if (prefix == 0) prefix = PrefixLength(folder);
    std::wstring_view rest = folder.substr(prefix);
    const bool twoSeparators = prefix == 2 && IsSeparator(folder[0]);
    bool first = true;
    while (!rest.empty()) {
        const std::wstring_view part = TakePart(rest);
        if (part.empty()) break;
        // "\\.\" and "\\?\": the namespaces of devices.
        if (first && twoSeparators && (part == L"." || part == L"?")) return FileFault::kDevice;
        first = false;
        if (part == L"." || part == L"..") continue;
        const FileFault fault = CheckName(part);
        if (fault != FileFault::kNone && fault != FileFault::kTrailing) return fault;
    }
    return FileFault::kNone;
}

bool IsWholePath(std::wstring_view path) noexcept {
    const std::size_t prefix = PrefixLength(path);
    return prefix == 3 || (prefix == 2 && IsSeparator(path[0]));
}

std::wstring WithSeparator(std::wstring_view folder) {
    std::wstring text(folder);
    // "C:" alone is that drive's current folder.
    const bool open = text.empty() || IsSeparator(text.back()) || (text.size() == 2 && text[1] == L':');
    if (!open) text += L'\\';
    return text;
}

FileFault PlaceForPage(const FileWish& wish, FilePlace& place) {
    if (!IsWholePath(wish.root)) return FileFault::kNotGranted;
    place.folder = WithSeparator(wish.root);
    place.rootLength = place.folder.size();
    std::wstring_view rest = wish.folder;
    if (IsWithin(rest, wish.root)) {
        rest.remove_prefix(std::min(rest.size(), place.folder.size()));
    } else if (PrefixLength(rest) != 0) {
        return FileFault::kOutside;
    }
    while (!rest.empty()) {
        const std::wstring_view part = TakePart(rest);
        if (part.empty()) break;
        if (const FileFault fault = CheckName(part); fault != FileFault::kNone) return fault;
        place.folder.append(part) += L'\\';
    }
    return FileFault::kNone;
}

}  // namespace

const char* Describe(FileFault fault) noexcept {
    switch (fault) {
        case FileFault::kNone:
            return "no fault";
        case FileFault::kNoName:
            return "there is no file name";
        case FileFault::kBadCharacter:
            return "a character that no file name may hold";
        case FileFault::kStream:
            return "a colon, which names an alternate stream";
        case FileFault::kDevice:
            return "the name of a device";
        case FileFault::kWayUp:
            return "a way up to another folder";
        case FileFault::kSeparator:
            return "a folder within the file name";
        case FileFault::kTrailing:
            return "a dot or blank at the end of a name";
        case FileFault::kTooLong:
            return "the name is too long";
        case FileFault::kNotGranted:
            return "no folder was picked for this page";
        case FileFault::kOutside:
            return "outside of the folder that was picked for this page";
        case FileFault::kNoFolder:
            return "there is no such folder";
        case FileFault::kNoDiskFile:
            return "no file on a disk";
        case FileFault::kLink:
            return "a link to another file";
        case FileFault::kTaken:
            return "the name is taken";
        case FileFault::kSystem:
            break;
    }
    return "the system refuses";
}

FileFault CheckName(std::wstring_view name) noexcept {
    if (name.empty()) return FileFault::kNoName;
    if (name.size() > kLongestName) return FileFault::kTooLong;
    if (name == L"." || name == L"..") return FileFault::kWayUp;
    if (std::any_of(name.begin(), name.end(), IsBadCharacter)) return FileFault::kBadCharacter;
    if (std::any_of(name.begin(), name.end(), IsSeparator)) return FileFault::kSeparator;
    if (name.find(L':') != std::wstring_view::npos) return FileFault::kStream;
    if (IsDeviceName(name)) return FileFault::kDevice;
    if (name.back() == L'.' || name.back() == L' ') return FileFault::kTrailing;
    return FileFault::kNone;
}

FilePlace PlaceFile(const FileWish& wish) {
    FilePlace place;
    place.name = wish.name;
    const bool forced =
        wish.name.size() > wish.extension.size() &&
        SameText(std::wstring_view(wish.name).substr(wish.name.size() - wish.extension.size()),
                 wish.extension);
    if (!wish.name.empty() && !forced) place.name += wish.extension;
    place.fault = CheckName(place.name);
    if (place.fault != FileFault::kNone) return place;
    if (wish.level == TrustLevel::kWeb) {
        place.fault = PlaceForPage(wish, place);
    } else {
        place.fault = CheckFolderOfProgram(wish.folder);
        place.folder = WithSeparator(wish.folder);
    }
    if (place.fault == FileFault::kNone && place.folder.size() + place.name.size() > kLongestPath)
        place.fault = FileFault::kTooLong;
    return place;
}

std::pair<std::wstring, std::wstring> SplitPath(std::wstring_view path) {
    std::size_t at = path.size();
    while (at > 0 && !IsSeparator(path[at - 1]))
        --at;
    if (at == 0 && PrefixLength(path) == 2) at = 2;
    return {std::wstring(path.substr(0, at)), std::wstring(path.substr(at))};
}

std::wstring NumberedName(std::wstring_view name, unsigned number) {
    const std::wstring suffix = L" (" + std::to_wstring(number) + L")";
    const std::size_t dot = name.rfind(L'.');
    const bool hasExtension =
        dot != std::wstring_view::npos && dot != 0 && name.size() - dot <= kLongestExtension;
    const std::wstring_view extension = hasExtension ? name.substr(dot) : std::wstring_view();
    const std::wstring_view stem = name.substr(
        0, std::min(name.size() - extension.size(), kLongestName - suffix.size() - extension.size()));
    return std::wstring(stem).append(suffix).append(extension);
}

bool IsWithin(std::wstring_view folder, std::wstring_view root) noexcept {
    while (!root.empty() && IsSeparator(root.back()))
        root.remove_suffix(1);
    if (root.empty() || folder.size() < root.size()) return false;
    if (!SameText(folder.substr(0, root.size()), root)) return false;
    return folder.size() == root.size() || IsSeparator(folder[root.size()]);
}

}  // namespace util
