#include <windows.h>

#include <algorithm>

#include "camera/Charset.h"

namespace norix {
namespace {

// Longer than anything a camera may say; far below the limits of the system's calls.
constexpr std::size_t kLongest = 1u << 24;

}  // namespace

static_assert(kCodePageSystem == CP_ACP);

std::wstring BytesToWide(std::string_view bytes, unsigned codePage) {
    const int size = static_cast<int>(std::min(bytes.size(), kLongest));
    if (size == 0) return {};
    // A system without the code page still shows what is ASCII.
    if (!IsValidCodePage(codePage)) codePage = CP_ACP;
    std::wstring wide(static_cast<std::size_t>(
                          std::max(MultiByteToWideChar(codePage, 0, bytes.data(), size, nullptr, 0), 0)),
                      L'\0');
    MultiByteToWideChar(codePage, 0, bytes.data(), size, wide.data(), static_cast<int>(wide.size()));
    return wide;
}

std::string WideToBytes(std::wstring_view text, unsigned codePage) {
    const int size = static_cast<int>(std::min(text.size(), kLongest));
    if (size == 0) return {};
    if (!IsValidCodePage(codePage)) codePage = CP_ACP;
    const DWORD flags = codePage == kCodePageUtf8 ? 0 : WC_NO_BEST_FIT_CHARS;  // all that UTF-8 permits
    const auto convert = [&](char* to, int room) {
        return WideCharToMultiByte(codePage, flags, text.data(), size, to, room, nullptr, nullptr);
    };
    std::string bytes(static_cast<std::size_t>(std::max(convert(nullptr, 0), 0)), '\0');
    convert(bytes.data(), static_cast<int>(bytes.size()));
    return bytes;
}

}  // namespace norix
