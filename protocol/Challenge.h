#pragma once

// What a server asks for with 401, and the answer to it: Digest (RFC 7616: MD5, SHA-256, qop auth, and
// without qop as RFC 2069 has it) and Basic (RFC 7617). Pure.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace protocol {

struct Challenge {
    /// In the order of preference.
    enum class Kind { Basic, DigestMd5, DigestSha256 };
    Kind kind = Kind::Basic;
    std::string realm;
    std::string nonce;
    std::string opaque;
    std::string algorithm;    // as the server wrote it
    bool sessionKey = false;  // the "-sess" algorithms
    bool qopAuth = false;
    bool stale = false;
};

/// All challenges of one WWW-Authenticate header that can be answered.
std::vector<Challenge> parseChallenges(std::string_view header);

/// With passwordIsMd5, the password is the MD5 (in hexadecimal) of "user:realm:password".
struct Credentials {
    std::string user;
    std::string password;
    bool passwordIsMd5 = false;
};

struct DigestUse {
    std::string method;
    std::string uri;
    unsigned count = 1;  // of requests with this nonce
    std::string clientNonce;
};

/// The value of the Authorization header.
std::string authorize(const Challenge& challenge, const Credentials& who, const DigestUse& use);

}  // namespace protocol
