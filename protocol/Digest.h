#pragma once

// MD5 (RFC 1321), SHA-256 and SHA-1 (FIPS 180-4), in the form in which authentication needs them: the first
// two as hexadecimal text, the last one as its 20 bytes.

#include <string>
#include <string_view>

namespace protocol {

std::string md5Hex(std::string_view data);
std::string sha256Hex(std::string_view data);
std::string sha1(std::string_view data);

}  // namespace protocol
