#pragma once

// The requests' texts. Pure.

#include <cstdint>
#include <string>
#include <string_view>

#include "camera/onvif/KsOnvif.h"

namespace norix::onvif {

inline constexpr std::string_view kDeviceNamespace = "http://www.onvif.org/ver10/device/wsdl";
inline constexpr std::string_view kMediaNamespace = "http://www.onvif.org/ver10/media/wsdl";

/// As it may stand in element content and attribute values. Characters that no XML text can hold become '?'.
std::string EscapeXml(std::string_view text);

/// "2026-11-21T10:02:12Z"; seconds since 1970, brought into the years 1970 to 9999.
std::string FormatUtc(std::int64_t seconds);

/// Base64 of SHA-1 of nonce, creation time and password.
std::string PasswordDigest(std::string_view nonce, std::string_view created, std::string_view password);

/// A whole <wsse:Security> element.
std::string SecurityHeader(std::string_view user, std::string_view password, std::string_view nonce,
                           std::string_view created);

/// A SOAP 1.2 envelope; both parts are XML already, `header` may be empty.
std::string Envelope(std::string_view header, std::string_view body);

/// The bodies, with namespaces of their own.
std::string GetSystemDateAndTimeBody();
std::string GetServicesBody();
std::string GetCapabilitiesBody();
std::string GetProfilesBody();
/// Empty for a transport that isn't one.
std::string GetStreamUriBody(std::string_view profileToken, std::uint32_t transport);

}  // namespace norix::onvif
