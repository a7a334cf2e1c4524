#pragma once

// The camera's parameters as it takes and gives them: "key=value" in queries and in the lines of replies.
// Pure; any thread.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace norix {

enum class CgiType : std::uint16_t { Integer = 3, Text = 8 };  // numbered as in VARIANTs

/// One parameter and where its value lives. The destination is not owned and outlives the table; its value is
/// sent by queries and replaced by replies.
template <class Char>
class BasicCgiParam {
  public:
    using Text = std::basic_string<Char>;

    BasicCgiParam(std::string key, std::int32_t& destination)
        : m_key(std::move(key)), m_number(&destination) {}
    BasicCgiParam(std::string key, Text& destination) : m_key(std::move(key)), m_text(&destination) {}

    const std::string& Key() const { return m_key; }
    CgiType Type() const { return m_number ? CgiType::Integer : CgiType::Text; }
    std::int32_t* Number() const { return m_number; }  // null for texts
    Text* String() const { return m_text; }            // null for integers

  private:
    std::string m_key;
    std::int32_t* m_number = nullptr;
    Text* m_text = nullptr;
};

using CgiParam = BasicCgiParam<char>;      // bytes as they go over the network
using CgiParamW = BasicCgiParam<wchar_t>;  // for parameters that hold national texts

/// Appends "key=value" of every entry, with "&" between them. In values, everything that could end the value,
/// or that an address may not hold, is percent-encoded; plain values stand as they are.
void AppendQuery(std::string& query, std::span<const CgiParam> table);
/// Texts are sent in that code page.
void AppendQuery(std::string& query, std::span<const CgiParamW> table, unsigned codePage);

/// A value as AppendQuery writes it. A CR at its end came with a reply's line and does not go back.
std::string EncodeQueryValue(std::string_view value);

/// Takes the values of a reply over into the destinations of the first `count` entries. Lines end with LF; a
/// CR before it belongs to the value. Lines without "=", unknown keys and the value "Not Exist" are skipped.
/// A text that is no number counts as 0, a number beyond 32 bits as the nearest one.
void ParseCGIParams(std::string_view reply, const CgiParam* table, std::size_t count);
void ParseCGIParamsW(std::wstring_view reply, const CgiParamW* table, std::size_t count);

/// A reply that begins with this failed.
inline constexpr std::string_view kErrorReply = "Error";
/// The value of a parameter that the camera does not have.
inline constexpr std::string_view kMissingValue = "Not Exist";

/// What stands between the first "=" and the first line end after it; empty when there is no "=". For replies
/// that hold a single value.
std::string_view SingleValue(std::string_view reply);

}  // namespace norix
