#pragma once

namespace net {

/// From now on what is known of servers (KnownServers.h) is kept in the current user's registry key
/// Software\Norix\KnownServers, a string value per name. Any thread, any number of times.
void rememberServersInRegistry();

}  // namespace net
