#pragma once

// The requests' texts. Pure.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "camera/onvif/KsOnvif.h"

namespace norix::onvif {

inline constexpr std::string_view kDeviceNamespace = "http://www.onvif.org/ver10/device/wsdl";
inline constexpr std::string_view kMediaNamespace = "http://www.onvif.org/ver10/media/wsdl";
inline constexpr std::string_view kPtzNamespace = "http://www.onvif.org/ver20/ptz/wsdl";

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
/// `category`: "Media", "PTZ".
std::string GetCapabilitiesBody(std::string_view category);
std::string GetProfilesBody();
/// Empty for a transport that isn't one.
std::string GetStreamUriBody(std::string_view profileToken, std::uint32_t transport);

/// How fast, in hundredths of all that the camera can: to the right, upwards, nearer. What is not there goes
/// on as it does.
struct PtzVelocity {
    struct Turn {
        int pan = 0;
        int tilt = 0;
    };
    std::optional<Turn> turn;
    std::optional<int> zoom;
};
/// In the spaces of velocity that every camera knows; `named`: says so, where the camera has others of its
/// own.
std::string ContinuousMoveBody(std::string_view profileToken, const PtzVelocity& velocity, bool named);
std::string StopBody(std::string_view profileToken, bool turn, bool zoom);
std::string GetPresetsBody(std::string_view profileToken);
std::string GotoPresetBody(std::string_view profileToken, std::string_view presetToken);
/// Without a token a new preset comes about, without a name the camera finds one.
std::string SetPresetBody(std::string_view profileToken, std::string_view name, std::string_view presetToken);

}  // namespace norix::onvif
