#pragma once

#include <windows.h>

#include <oleidl.h>

#include "control/trust/Trust.h"

namespace norix {

/// What the site shows of the host that it belongs to; null for a control without a container. Calls the
/// container. Window thread.
HostFacts ReadHost(IOleClientSite* site, bool untrustedCaller);

}  // namespace norix
