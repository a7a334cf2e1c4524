#include "camera/onvif/SoapRequest.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "protocol/Digest.h"
#include "protocol/Text.h"

namespace norix::onvif {
namespace {

// Web Services Security, UsernameToken profile 1.0.
#define WSS "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-"
constexpr std::string_view kSecurityNamespace = WSS "wssecurity-secext-1.0.xsd";
constexpr std::string_view kUtilityNamespace = WSS "wssecurity-utility-1.0.xsd";
constexpr std::string_view kDigestType = WSS "username-token-profile-1.0#PasswordDigest";
constexpr std::string_view kBase64Type = WSS "soap-message-security-1.0#Base64Binary";
#undef WSS

constexpr std::string_view kSchemaNamespace = "http://www.onvif.org/ver10/schema";

void Append(std::string& text, std::initializer_list<std::string_view> parts) {
    for (const std::string_view part : parts)
        text += part;
}

std::string Operation(std::string_view nameSpace, std::string_view name, std::string_view content) {
    std::string body;
    Append(body, {"<o:", name, " xmlns:o=\"", nameSpace, "\" xmlns:tt=\"", kSchemaNamespace, "\">", content,
                  "</o:", name, ">"});
    return body;
}

std::string Element(std::string_view name, std::string_view text) {
    std::string element;
    Append(element, {"<o:", name, ">", EscapeXml(text), "</o:", name, ">"});
    return element;
}

// In any locale.
std::string Hundredths(int value) {
    const int size = std::min(std::abs(value), 100);
    std::string text = value < 0 ? "-" : "";
    text += std::to_string(size / 100) + "." + std::to_string(size / 10 % 10) + std::to_string(size % 10);
    return text;
}

}  // namespace

std::string EscapeXml(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (const char c : text) {
        switch (c) {
            case '&':
                result += "&amp;";
                break;
            case '<':
                result += "&lt;";
                break;
            case '>':
                result += "&gt;";
                break;
            case '"':
                result += "&quot;";
                break;
            case '\'':
                result += "&apos;";
                break;
            case '\t':
            case '\n':
            case '\r':
                // Written plainly, a reader may turn them into blanks.
                result += "&#" + std::to_string(static_cast<int>(c)) + ";";
                break;
            default:
                result += static_cast<unsigned char>(c) < ' ' ? '?' : c;
        }
    }
    return result;
}

std::string FormatUtc(std::int64_t seconds) {
    using namespace std::chrono;
    constexpr std::int64_t kEndOf9999 = 253402300799;
    const sys_seconds time{std::chrono::seconds(std::clamp<std::int64_t>(seconds, 0, kEndOf9999))};
    const auto day = floor<days>(time);
    const year_month_day date(day);
    const hh_mm_ss clock(time - day);
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()));
    return text;
}

std::string PasswordDigest(std::string_view nonce, std::string_view created, std::string_view password) {
    std::string secret;
    Append(secret, {nonce, created, password});
    return protocol::encodeBase64(protocol::sha1(secret));
}

std::string SecurityHeader(std::string_view user, std::string_view password, std::string_view nonce,
                           std::string_view created) {
    std::string header;
    Append(header,
           {"<w:Security xmlns:w=\"", kSecurityNamespace, "\" xmlns:u=\"", kUtilityNamespace,
            "\"><w:UsernameToken><w:Username>", EscapeXml(user), "</w:Username><w:Password Type=\"",
            kDigestType, "\">", PasswordDigest(nonce, created, password),
            "</w:Password><w:Nonce EncodingType=\"", kBase64Type, "\">", protocol::encodeBase64(nonce),
            "</w:Nonce><u:Created>", EscapeXml(created), "</u:Created></w:UsernameToken></w:Security>"});
    return header;
}

std::string Envelope(std::string_view header, std::string_view body) {
    std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<s:Envelope xmlns:s=\"http://www.w3.org/2003/05/soap-envelope\">";
    if (!header.empty()) Append(text, {"<s:Header>", header, "</s:Header>"});
    Append(text, {"<s:Body>", body, "</s:Body></s:Envelope>\n"});
    return text;
}

std::string GetSystemDateAndTimeBody() {
    return Operation(kDeviceNamespace, "GetSystemDateAndTime", "");
}

std::string GetServicesBody() {
    return Operation(kDeviceNamespace, "GetServices", "<o:IncludeCapability>false</o:IncludeCapability>");
}

std::string GetCapabilitiesBody(std::string_view category) {
    return Operation(kDeviceNamespace, "GetCapabilities", Element("Category", category));
}

std::string GetProfilesBody() {
    return Operation(kMediaNamespace, "GetProfiles", "");
}

std::string GetStreamUriBody(std::string_view profileToken, std::uint32_t transport) {
    std::string_view protocol;
    switch (transport) {
        case kKsOnvifUdp:
        case kKsOnvifMulticast:
            protocol = "UDP";
            break;
        case kKsOnvifTcp:
            protocol = "RTSP";
            break;
        case kKsOnvifHttp:
            protocol = "HTTP";
            break;
        default:
            return {};
    }
    std::string content;
    Append(content,
           {"<o:StreamSetup><tt:Stream>", transport == kKsOnvifMulticast ? "RTP-Multicast" : "RTP-Unicast",
            "</tt:Stream><tt:Transport><tt:Protocol>", protocol,
            "</tt:Protocol></tt:Transport></o:StreamSetup><o:ProfileToken>", EscapeXml(profileToken),
            "</o:ProfileToken>"});
    return Operation(kMediaNamespace, "GetStreamUri", content);
}

std::string ContinuousMoveBody(std::string_view profileToken, const PtzVelocity& velocity, bool named) {
    // ONVIF PTZ service specification, section 5.7: from -1 to 1.
    const auto space = [named](std::string_view axes) {
        constexpr std::string_view kSpaces = "http://www.onvif.org/ver10/tptz/";
        std::string attribute;
        if (named) Append(attribute, {" space=\"", kSpaces, axes, "Spaces/VelocityGenericSpace\""});
        return attribute;
    };
    std::string content = Element("ProfileToken", profileToken) + "<o:Velocity>";
    if (velocity.turn) {
        Append(content, {"<tt:PanTilt x=\"", Hundredths(velocity.turn->pan), "\" y=\"",
                         Hundredths(velocity.turn->tilt), "\"", space("PanTilt"), "/>"});
    }
    if (velocity.zoom) {
        Append(content, {"<tt:Zoom x=\"", Hundredths(*velocity.zoom), "\"", space("Zoom"), "/>"});
    }
    return Operation(kPtzNamespace, "ContinuousMove", content + "</o:Velocity>");
}

std::string StopBody(std::string_view profileToken, bool turn, bool zoom) {
    return Operation(kPtzNamespace, "Stop",
                     Element("ProfileToken", profileToken) + Element("PanTilt", turn ? "true" : "false") +
                         Element("Zoom", zoom ? "true" : "false"));
}

std::string GetPresetsBody(std::string_view profileToken) {
    return Operation(kPtzNamespace, "GetPresets", Element("ProfileToken", profileToken));
}

std::string GotoPresetBody(std::string_view profileToken, std::string_view presetToken) {
    return Operation(kPtzNamespace, "GotoPreset",
                     Element("ProfileToken", profileToken) + Element("PresetToken", presetToken));
}

std::string SetPresetBody(std::string_view profileToken, std::string_view name,
                          std::string_view presetToken) {
    std::string content = Element("ProfileToken", profileToken);
    if (!name.empty()) content += Element("PresetName", name);
    if (!presetToken.empty()) content += Element("PresetToken", presetToken);
    return Operation(kPtzNamespace, "SetPreset", content);
}

}  // namespace norix::onvif
