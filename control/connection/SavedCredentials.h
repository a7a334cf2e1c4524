#pragma once

#include <optional>

#include "control/connection/SignIn.h"
#include "protocol/Origin.h"

namespace norix {

/// The sign-ins that the current user's connections have used, one per origin: scheme, host and port.
///
/// They are kept below the user's own registry key, encrypted by the system with a key that only this user on
/// this machine has, and bound to the origin. Earlier versions saved one per server, which counts for its
/// ports 80 (HTTP) and 554 (RTSP). Any thread.
class SavedCredentials {
  public:
    /// Nothing when none was saved, or when what is there can't be decrypted.
    static std::optional<SignIn> Load(const protocol::Origin& origin);
    /// False when the system refuses; nothing is saved then.
    static bool Save(const protocol::Origin& origin, const SignIn& signIn);
};

}  // namespace norix
