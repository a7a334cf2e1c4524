#pragma once

// MD5 (RFC 1321) and SHA-256 (FIPS 180-4), as hexadecimal text: all that authentication needs of them.

#include <string>
#include <string_view>

namespace protocol {

std::string md5Hex(std::string_view data);
std::string sha256Hex(std::string_view data);

}  // namespace protocol
