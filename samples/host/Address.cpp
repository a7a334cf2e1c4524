#include "Address.h"

#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <string>
#include <string_view>

#include "Values.h"

namespace {

constexpr std::wstring_view kRtsp = L"rtsp://";

// %40 and the like, in which user names and passwords may be written. Only ASCII is decoded.
std::wstring Unescape(std::wstring_view text) {
    std::wstring plain;
    for (size_t i = 0; i < text.size(); ++i) {
        wchar_t* end = nullptr;
        const std::wstring digits(text.substr(i + 1, 2));
        const long code = text[i] == L'%' && digits.size() == 2 ? std::wcstol(digits.c_str(), &end, 16) : 0;
        if (code > 0 && code < 0x80 && *end == L'\0') {
            plain += static_cast<wchar_t>(code);
            i += 2;
        } else {
            plain += text[i];
        }
    }
    return plain;
}

void SplitHostAndPort(std::wstring_view text, std::wstring& host, long& port) {
    const auto colon = text.rfind(L':');
    const auto bracket = text.rfind(L']');
    const bool bareIpv6 = bracket == std::wstring_view::npos && text.find(L':') != colon;
    const bool hasPort = colon != std::wstring_view::npos && !bareIpv6 &&
                         (bracket == std::wstring_view::npos || colon > bracket);
    host = text.substr(0, hasPort ? colon : text.size());
    if (hasPort) port = std::wcstol(std::wstring(text.substr(colon + 1)).c_str(), nullptr, 10);
}

}  // namespace

std::wstring Address::Shown() const {
    if (!streamUri.empty()) return streamUri;
    return port ? host + L":" + std::to_wstring(port) : host;
}

Address ParseAddress(const std::wstring& text) {
    Address address;
    const bool stream = EqualsIgnoringCase(std::wstring_view(text).substr(0, kRtsp.size()), kRtsp);
    const std::wstring_view rest = std::wstring_view(text).substr(stream ? kRtsp.size() : 0);
    const auto path = std::min(rest.find_first_of(L"/?"), rest.size());
    auto authority = rest.substr(0, path);
    if (const auto at = authority.rfind(L'@'); at != std::wstring_view::npos) {
        const auto credentials = authority.substr(0, at);
        const auto colon = credentials.find(L':');
        address.user = Unescape(credentials.substr(0, colon));
        if (colon != std::wstring_view::npos) address.password = Unescape(credentials.substr(colon + 1));
        authority.remove_prefix(at + 1);
    }
    long port = 0;
    SplitHostAndPort(authority, address.host, port);
    if (stream) {
        // The port stays part of the stream's address.
        address.streamUri.append(kRtsp).append(authority).append(rest.substr(path));
    } else {
        address.port = port;
    }
    return address;
}
