#pragma once

#include <functional>
#include <optional>
#include <string>

namespace protocol {

/// What to connect to where an address names `host`: the same host, or a numeric address that was checked for
/// it. Nothing: that host must not be reached. An empty function lets everything through. Called on the
/// connection's thread.
using HostRoute = std::function<std::optional<std::string>(const std::string& host)>;

}  // namespace protocol
