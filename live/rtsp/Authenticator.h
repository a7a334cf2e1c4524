#pragma once

#include <string>

#include "live/env/Types.h"

/// Who we say we are. With passwordIsMD5, the password is the MD5 (in hexadecimal) of "user:realm:password".
class Authenticator {
  public:
    Authenticator(char const* username, char const* password, Boolean passwordIsMD5 = False)
        : m_username(username ? username : ""),
          m_password(password ? password : ""),
          m_passwordIsMD5(passwordIsMD5) {}

    char const* username() const { return m_username.c_str(); }
    char const* password() const { return m_password.c_str(); }
    Boolean passwordIsMD5() const { return m_passwordIsMD5; }
    bool operator==(const Authenticator&) const = default;

  private:
    std::string m_username;
    std::string m_password;
    bool m_passwordIsMD5;
};
