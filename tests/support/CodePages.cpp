#include "camera/Charset.h"

namespace norix {

std::wstring BytesToWide(std::string_view bytes, unsigned) {
    std::wstring wide;
    wide.reserve(bytes.size());
    for (const char c : bytes)
        wide += static_cast<unsigned char>(c) < 0x80 ? static_cast<wchar_t>(c) : L'\xFFFD';
    return wide;
}

std::string WideToBytes(std::wstring_view text, unsigned) {
    std::string bytes;
    bytes.reserve(text.size());
    for (const wchar_t c : text)
        bytes += c < 0x80 ? static_cast<char>(c) : '?';
    return bytes;
}

}  // namespace norix
