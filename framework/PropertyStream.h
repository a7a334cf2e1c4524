#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace framework {

/// A persisted property: its name and its value.
struct PropertyValue {
    std::u16string name;
    std::variant<bool, std::int16_t, std::int32_t, double, std::u16string> value;
};

/// What a persisted control holds.
struct PropertySet {
    std::int32_t extentX = 0;  ///< HIMETRIC (0.01 mm)
    std::int32_t extentY = 0;  ///< HIMETRIC
    std::vector<PropertyValue> values;
};

/// Size of the fixed part that says how many bytes follow it.
inline constexpr std::size_t kPropertyHeaderSize = 12;
/// No control needs more; a longer claim is taken for a damaged stream.
inline constexpr std::uint32_t kMaxPropertyBytes = 1u << 20;

/// Header and body. All numbers are little-endian. The header is the magic "NXPS", the format version (1)
/// and the byte length of the body. The body holds the extent (two int32), the number of values (uint32)
/// and each value: name, a tag byte (the variant's index), and the value. Texts are counted (uint32, in
/// UTF-16 units). Values are found by name, so that a newer control's unknown ones can be passed over.
/// Empty when the body would be longer than kMaxPropertyBytes.
std::vector<std::uint8_t> EncodeProperties(const PropertySet& properties);

/// The body length stated in a header of kPropertyHeaderSize bytes; nothing for anything else.
std::optional<std::uint32_t> DecodePropertyHeader(std::span<const std::uint8_t> header);

/// The content of a body; nothing when it is cut, inconsistent or has bytes left over.
std::optional<PropertySet> DecodePropertyBody(std::span<const std::uint8_t> body);

}  // namespace framework
