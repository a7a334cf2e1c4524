#pragma once

// What the property page shows: which members, as what kind of field, and within which bounds. Pure.

#include <array>
#include <optional>
#include <string>

#include "control/Enumerations.h"
#include "control/resource.h"
#include "ui/strings.h"

namespace norix {

struct PageField {
    enum class Kind {
        Text,
        Secret,  ///< never read back; empty leaves it as it is
        Number,
        Protocol,
        Presenter,
        Flag,
    };
    const wchar_t* member;
    int id;
    unsigned label;
    Kind kind;
    long least = 0;
    long most = 0;
};

inline constexpr std::array<PageField, 11> kPageFields = {{
    {L"ServerIP", IDC_PAGE_ADDRESS, IDS_PAGE_ADDRESS, PageField::Kind::Text},
    {L"HttpPort", IDC_PAGE_HTTP_PORT, IDS_PAGE_HTTP_PORT, PageField::Kind::Number, 1, 65535},
    {L"StreamUri", IDC_PAGE_STREAM_URI, IDS_PAGE_STREAM_URI, PageField::Kind::Text},
    {L"username", IDC_PAGE_USER, IDS_PAGE_USER, PageField::Kind::Text},
    {L"password", IDC_PAGE_PASSWORD, IDS_PAGE_PASSWORD, PageField::Kind::Secret},
    {L"VideoProtocol", IDC_PAGE_PROTOCOL, IDS_PAGE_PROTOCOL, PageField::Kind::Protocol},
    {L"CHIndex", IDC_PAGE_CHANNEL, IDS_PAGE_CHANNEL, PageField::Kind::Number, 1, 64},
    {L"StreamIndex", IDC_PAGE_STREAM, IDS_PAGE_STREAM, PageField::Kind::Number, 1, 16},
    {L"ForceGDI", IDC_PAGE_PRESENTER, IDS_PAGE_PRESENTER, PageField::Kind::Presenter},
    {L"ConnectionTimeout", IDC_PAGE_TIMEOUT, IDS_PAGE_TIMEOUT, PageField::Kind::Number, 1000, 600000},
    {L"AutoReconnect", IDC_PAGE_RECONNECT, IDS_PAGE_RECONNECT, PageField::Kind::Flag},
}};

/// The field of a control; null for other controls.
const PageField* FieldOf(int id);

/// A number field's text; nothing where it is none, or out of the field's bounds.
std::optional<long> ParseField(const PageField& field, const std::wstring& text);

/// Protocols in the order of the page's list.
inline constexpr std::array<short, 6> kPageProtocols = {ecpUDP,       ecpTCP,           ecpHTTP,
                                                        ecpMulticast, ecpMulticastPush, ecpNone};
/// The position of a protocol in it; the first one's for what is no protocol.
int ProtocolPosition(long protocol);

}  // namespace norix
