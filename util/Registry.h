#pragma once

// Single registry values and keys, as the settings are kept.
//
// All keys are those of the 32-bit view. A value counts as missing when its key can't be opened, it isn't
// there, it has another type than asked for, a DWORD of other than four bytes, or a string of more than 32767
// characters. Strings are read as the registry lets anyone write them: up to the first zero, or to the end
// when there is none; half a character at the end is dropped.
//
// Objects belong to one thread. Nothing throws except where CRegistryEx says so (and std::bad_alloc).

#include <windows.h>

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

#include "util/Handles.h"

namespace util {

/// A DWORD value, read once at construction.
class IntReg {
  public:
    IntReg(HKEY hive, const wchar_t* key, const wchar_t* name) noexcept;

    bool Exists() const noexcept { return m_value.has_value(); }
    uint32_t Value() const noexcept { return m_value.value_or(0); }
    const std::optional<uint32_t>& Optional() const noexcept { return m_value; }

  private:
    std::optional<uint32_t> m_value;
};

/// A string value, read at construction.
class StringReg {
  public:
    /// With `create` the key is made when missing and the value can be set; otherwise the key is only read.
    StringReg(HKEY hive, const wchar_t* key, const wchar_t* name, bool create = false);

    bool Exists() const noexcept { return m_value.has_value(); }
    std::wstring Value() const { return m_value.value_or(std::wstring()); }
    /// Writes the value; false when the key was opened for reading or the system refuses.
    bool Set(const std::wstring& text);

  private:
    RegKey m_key;
    std::wstring m_name;
    std::optional<std::wstring> m_value;
};

/// What CRegistryEx::Open throws: a key that can't be created, or its predecessor that can't be closed.
class CRegistryError : public std::runtime_error {
  public:
    CRegistryError() : std::runtime_error("Error! Cannot create registry key!") {}
};

/// A key open for reading and writing (access 0x2001f).
class CRegistryEx {
  public:
    /// Closes the key held before and opens `key`, creating it when missing. Throws CRegistryError.
    void Open(HKEY hive, const wchar_t* key);
    void Close() noexcept { m_key.Reset(); }

    std::optional<uint32_t> ReadDword(const wchar_t* name) const noexcept;
    std::optional<std::wstring> ReadString(const wchar_t* name) const;
    bool WriteDword(const wchar_t* name, uint32_t value) noexcept;
    bool WriteString(const wchar_t* name, const std::wstring& text) noexcept;

  private:
    RegKey m_key;
};

}  // namespace util
