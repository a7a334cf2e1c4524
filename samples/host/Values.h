#pragma once

#include <windows.h>

#include <comutil.h>

#include <string>
#include <string_view>

// Automation values as text and back: what the event list shows and what the command line accepts.

/// Readable form of a value. References are followed, strings are quoted, byte arrays appear as their length
/// and first bytes.
std::wstring Describe(const VARIANT& value);

/// Reads a value from text. 'single' or "double" quotes make a string; otherwise true and false, decimal and
/// 0x numbers become what they look like, unless a string is wanted. Anything else is a string.
_variant_t ParseValue(std::wstring_view text, VARTYPE wanted = VT_EMPTY);

/// The automation name of a type ("string", "long", "variant").
std::wstring TypeName(VARTYPE type);

std::string ToUtf8(std::wstring_view text);

bool EqualsIgnoringCase(std::wstring_view left, std::wstring_view right);
