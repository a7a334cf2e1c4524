#include "Values.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cwchar>
#include <optional>

namespace {

constexpr size_t kShownBytes = 16;

std::wstring DescribeBytes(SAFEARRAY* array) {
    LONG lower = 0;
    LONG upper = -1;
    SafeArrayGetLBound(array, 1, &lower);
    SafeArrayGetUBound(array, 1, &upper);
    const auto length = static_cast<size_t>(upper - lower + 1);
    auto text = L"bytes[" + std::to_wstring(length) + L"]";

    void* data = nullptr;
    if (FAILED(SafeArrayAccessData(array, &data))) return text;
    const auto* bytes = static_cast<const BYTE*>(data);
    for (size_t i = 0; i < std::min(length, kShownBytes); ++i) {
        wchar_t hex[4];
        std::swprintf(hex, std::size(hex), L" %02x", bytes[i]);
        text += hex;
    }
    SafeArrayUnaccessData(array);
    if (length > kShownBytes) text += L" ...";
    return text;
}

std::wstring DescribeReference(const VARIANT& value) {
    // VariantCopyInd would copy whole frames just to show sixteen bytes of them.
    switch (value.vt & ~VT_BYREF) {
        case VT_VARIANT:
            return value.pvarVal ? Describe(*value.pvarVal) : L"null";
        case VT_ARRAY | VT_UI1:
            return value.pparray && *value.pparray ? DescribeBytes(*value.pparray) : L"null";
        default:
            break;
    }
    _variant_t copy;
    if (FAILED(VariantCopyInd(&copy, const_cast<VARIANT*>(&value)))) return L"(unreadable reference)";
    return Describe(copy);
}

std::optional<_variant_t> ParseNumber(const std::wstring& text) {
    if (text.empty()) return std::nullopt;
    wchar_t* end = nullptr;
    const bool hex = text.starts_with(L"0x") || text.starts_with(L"0X");
    if (hex || text.find_first_not_of(L"+-0123456789") == std::wstring::npos) {
        errno = 0;
        const long long number = std::wcstoll(text.c_str(), &end, hex ? 16 : 10);
        if (*end != L'\0' || errno == ERANGE || number < LONG_MIN || number > ULONG_MAX) return std::nullopt;
        return _variant_t(static_cast<long>(number), VT_I4);
    }
    if (text.find_first_not_of(L"+-.eE0123456789") != std::wstring::npos) return std::nullopt;
    const double number = std::wcstod(text.c_str(), &end);
    if (*end != L'\0' || end == text.c_str()) return std::nullopt;
    return _variant_t(number, VT_R8);
}

}  // namespace

std::wstring Describe(const VARIANT& value) {
    if (value.vt & VT_BYREF) return DescribeReference(value);
    switch (value.vt) {
        case VT_EMPTY:
            return L"empty";
        case VT_NULL:
            return L"null";
        case VT_BSTR:
            return L"\"" + std::wstring(value.bstrVal ? value.bstrVal : L"", SysStringLen(value.bstrVal)) +
                   L"\"";
        case VT_BOOL:
            return value.boolVal != VARIANT_FALSE ? L"true" : L"false";
        case VT_ARRAY | VT_UI1:
            return value.parray ? DescribeBytes(value.parray) : L"null";
        case VT_DISPATCH:
        case VT_UNKNOWN:
            return value.punkVal ? L"object" : L"nothing";
        default:
            break;
    }
    // The invariant locale keeps the decimal point a point, whatever the user's settings.
    _variant_t text;
    if (FAILED(VariantChangeTypeEx(&text, const_cast<VARIANT*>(&value), LOCALE_INVARIANT, 0, VT_BSTR))) {
        return L"(" + TypeName(value.vt) + L")";
    }
    return {text.bstrVal, SysStringLen(text.bstrVal)};
}

_variant_t ParseValue(std::wstring_view text, VARTYPE wanted) {
    const bool quoted =
        text.size() >= 2 && text.front() == text.back() && (text.front() == L'"' || text.front() == L'\'');
    if (quoted) return _variant_t(std::wstring(text.substr(1, text.size() - 2)).c_str());

    const std::wstring plain(text);
    if (wanted != VT_BSTR) {
        if (EqualsIgnoringCase(plain, L"true")) return _variant_t(true);
        if (EqualsIgnoringCase(plain, L"false")) return _variant_t(false);
        if (auto number = ParseNumber(plain)) return *number;
    }
    return _variant_t(plain.c_str());
}

std::wstring TypeName(VARTYPE type) {
    std::wstring suffix;
    if (type & VT_BYREF) suffix = L"*";
    if (type & VT_ARRAY) suffix = L"[]" + suffix;
    switch (type & VT_TYPEMASK) {
        case VT_VOID:
            return L"void" + suffix;
        case VT_I2:
            return L"short" + suffix;
        case VT_I4:
        case VT_INT:
            return L"long" + suffix;
        case VT_R4:
            return L"float" + suffix;
        case VT_R8:
            return L"double" + suffix;
        case VT_BOOL:
            return L"bool" + suffix;
        case VT_BSTR:
            return L"string" + suffix;
        case VT_VARIANT:
            return L"variant" + suffix;
        case VT_DISPATCH:
        case VT_UNKNOWN:
            return L"object" + suffix;
        case VT_UI1:
            return L"byte" + suffix;
        default:
            return L"type" + std::to_wstring(type & VT_TYPEMASK) + suffix;
    }
}

std::string ToUtf8(std::wstring_view text) {
    const int length = static_cast<int>(text.size());
    const int bytes = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<size_t>(bytes), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), length, utf8.data(), bytes, nullptr, nullptr);
    return utf8;
}

bool EqualsIgnoringCase(std::wstring_view left, std::wstring_view right) {
    return CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                                static_cast<int>(right.size()), TRUE) == CSTR_EQUAL;
}
