#pragma once

#include <string>

namespace norix {

/// A user name and password with which somebody signs in to a camera. UTF-8.
struct SignIn {
    std::string user;
    std::string password;

    bool operator==(const SignIn&) const = default;
};

}  // namespace norix
