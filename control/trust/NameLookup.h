#pragma once

#include <optional>
#include <string>

#include "control/trust/Trust.h"

namespace norix {

/// The first address that the system knows for a name, IPv4 before IPv6. Nothing where there is none within
/// a second. Window thread, which answers sent messages meanwhile.
std::optional<NumericAddress> LookUp(const std::string& name);

}  // namespace norix
