#pragma once

#include <optional>
#include <string>

#include "control/connection/SignIn.h"

namespace norix {

/// The sign-ins that the current user's connections have used, one per server (compared without case).
///
/// They are kept below the user's own registry key, encrypted by the system with a key that only this user on
/// this machine has, and bound to the server's name. UTF-8. Any thread.
class SavedCredentials {
  public:
    /// Nothing when none was saved, or when what is there can't be decrypted.
    static std::optional<SignIn> Load(const std::string& server);
    /// False when the system refuses; nothing is saved then.
    static bool Save(const std::string& server, const SignIn& signIn);
};

}  // namespace norix
