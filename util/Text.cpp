#include "util/Text.h"

#include <climits>
#include <stdexcept>

namespace util {
namespace {

template <class Char>
int Length(std::basic_string_view<Char> text) {
    if (text.size() > INT_MAX) throw std::length_error("text too long to convert");
    return static_cast<int>(text.size());
}

std::wstring ToWide(UINT codePage, std::string_view text) {
    const int length = Length(text);
    std::wstring wide(MultiByteToWideChar(codePage, 0, text.data(), length, nullptr, 0), L'\0');
    MultiByteToWideChar(codePage, 0, text.data(), length, wide.data(), Length<wchar_t>(wide));
    return wide;
}

}  // namespace

std::wstring Utf8ToWide(std::string_view text) {
    return ToWide(CP_UTF8, text);
}

std::string WideToUtf8(std::wstring_view text) {
    const int length = Length(text);
    std::string narrow(WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr),
                       '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), length, narrow.data(), Length<char>(narrow), nullptr,
                        nullptr);
    return narrow;
}

std::wstring AnsiToWide(std::string_view text) {
    return ToWide(CP_ACP, text);
}

std::wstring_view BstrView(BSTR text) noexcept {
    return text ? std::wstring_view(text, SysStringLen(text)) : std::wstring_view();
}

UniqueBstr MakeBstr(std::wstring_view text) noexcept {
    if (text.size() > INT_MAX / sizeof(OLECHAR)) return {};
    return UniqueBstr(SysAllocStringLen(text.data(), static_cast<UINT>(text.size())));
}

}  // namespace util
