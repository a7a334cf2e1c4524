#pragma once

// How recordings are named. Pure.

#include <cstdint>
#include <string>
#include <string_view>

namespace norix {

/// A moment in local time, laid out like the system's SYSTEMTIME.
struct LocalTime {
    std::uint16_t year = 1601;
    std::uint16_t month = 1;      // 1 to 12
    std::uint16_t dayOfWeek = 0;  // 0 = Sunday
    std::uint16_t day = 1;
    std::uint16_t hour = 0;
    std::uint16_t minute = 0;
    std::uint16_t second = 0;
    std::uint16_t milliseconds = 0;
};

/// year_month_day_hour_minute_second_milliseconds, two digits each but for the year.
std::wstring AutomaticName(const LocalTime& time);

/// Replaces the codes of the C library's strftime (C99, in its "C" locale, without time zones) and %L,
/// milliseconds. What is no such code stays as it stands, and so does a % at the end.
std::wstring ExpandNameFormat(std::wstring_view format, const LocalTime& time);

/// The text with '_' for every character that a file's name can't have.
std::wstring WithoutBadCharacters(std::wstring_view name);

}  // namespace norix
