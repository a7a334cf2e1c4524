#pragma once

// RTSP addresses. Pure.

#include <optional>
#include <string>
#include <string_view>

#include "protocol/Url.h"

namespace live::rtsp {

/// An address of the scheme "rtsp"; see protocol::parseUrl.
std::optional<protocol::Url> parseUrl(std::string_view text);

/// Where a control attribute points, from a base address; as servers mean it, which is rarely as RFC 3986 has
/// it: what is relative is appended, behind one slash.
std::string controlUrl(std::string_view base, std::string_view control);

}  // namespace live::rtsp
