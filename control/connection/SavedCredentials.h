#pragma once

#include <windows.h>

#include <optional>
#include <string>

namespace norix {

/// A user name and password with which somebody signs in to a camera.
struct SignIn {
    std::wstring user;
    std::wstring password;

    bool operator==(const SignIn&) const = default;
};

/// The sign-ins that the current user's connections have used, one per server (compared without case).
///
/// They are kept below the user's own registry key, encrypted by the system with a key that only this user on
/// this machine has, and bound to the server's name. Any thread.
class SavedCredentials {
  public:
    /// Nothing when none was saved, or when what is there can't be decrypted.
    static std::optional<SignIn> Load(const std::wstring& server);
    /// False when the system refuses; nothing is saved then.
    static bool Save(const std::wstring& server, const SignIn& signIn);
};

}  // namespace norix
