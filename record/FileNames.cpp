#include "record/FileNames.h"

#include <array>
#include <cwchar>
#include <optional>

namespace norix {
namespace {

constexpr std::array<std::wstring_view, 7> kDays = {L"Sunday",   L"Monday", L"Tuesday", L"Wednesday",
                                                    L"Thursday", L"Friday", L"Saturday"};
constexpr std::array<std::wstring_view, 12> kMonths = {L"January",   L"February", L"March",    L"April",
                                                       L"May",       L"June",     L"July",     L"August",
                                                       L"September", L"October",  L"November", L"December"};
constexpr std::size_t kShort = 3;

std::wstring Digits(int value, std::size_t width, wchar_t fill = L'0') {
    std::wstring text = std::to_wstring(value);
    if (text.size() < width) text.insert(0, width - text.size(), fill);
    return text;
}

template <std::size_t N>
std::wstring_view NameOf(const std::array<std::wstring_view, N>& names, int index) {
    return index >= 0 && index < static_cast<int>(N) ? names[static_cast<std::size_t>(index)] : L"";
}

bool IsLeap(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

// 0 for the first of January.
int DayOfYear(const LocalTime& time) {
    static constexpr int kBefore[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    const int month = time.month >= 1 && time.month <= 12 ? time.month : 1;
    return kBefore[month - 1] + time.day - 1 + (month > 2 && IsLeap(time.year) ? 1 : 0);
}

struct IsoWeek {
    int year;
    int week;
};

// ISO 8601: a week belongs to the year that its Thursday is in.
IsoWeek IsoWeekOf(const LocalTime& time) {
    const int monday = (time.dayOfWeek + 6) % 7;  // days since Monday
    const int thursday = DayOfYear(time) - monday + 3;
    int year = time.year;
    int day = thursday;
    const auto length = [](int y) { return IsLeap(y) ? 366 : 365; };
    if (day < 0) {
        --year;
        day += length(year);
    } else if (day >= length(year)) {
        day -= length(year);
        ++year;
    }
    return {year, day / 7 + 1};
}

std::optional<std::wstring> Expand(wchar_t code, const LocalTime& time) {
    const auto all = [&](std::wstring_view format) { return ExpandNameFormat(format, time); };
    const int hour12 = time.hour % 12 == 0 ? 12 : time.hour % 12;
    switch (code) {
        case L'a':
            return std::wstring(NameOf(kDays, time.dayOfWeek).substr(0, kShort));
        case L'A':
            return std::wstring(NameOf(kDays, time.dayOfWeek));
        case L'b':
        case L'h':
            return std::wstring(NameOf(kMonths, time.month - 1).substr(0, kShort));
        case L'B':
            return std::wstring(NameOf(kMonths, time.month - 1));
        case L'c':
            return all(L"%a %b %e %H:%M:%S %Y");
        case L'C':
            return Digits(time.year / 100, 2);
        case L'd':
            return Digits(time.day, 2);
        case L'D':
        case L'x':
            return all(L"%m/%d/%y");
        case L'e':
            return Digits(time.day, 2, L' ');
        case L'F':
            return all(L"%Y-%m-%d");
        case L'g':
            return Digits(IsoWeekOf(time).year % 100, 2);
        case L'G':
            return Digits(IsoWeekOf(time).year, 4);
        case L'H':
            return Digits(time.hour, 2);
        case L'I':
            return Digits(hour12, 2);
        case L'j':
            return Digits(DayOfYear(time) + 1, 3);
        case L'L':
            return Digits(time.milliseconds, 3);
        case L'm':
            return Digits(time.month, 2);
        case L'M':
            return Digits(time.minute, 2);
        case L'n':
            return L"\n";
        case L'p':
            return time.hour < 12 ? L"AM" : L"PM";
        case L'r':
            return all(L"%I:%M:%S %p");
        case L'R':
            return all(L"%H:%M");
        case L'S':
            return Digits(time.second, 2);
        case L't':
            return L"\t";
        case L'T':
        case L'X':
            return all(L"%H:%M:%S");
        case L'u':
            return Digits(time.dayOfWeek == 0 ? 7 : time.dayOfWeek, 1);
        case L'U':
            return Digits((DayOfYear(time) + 7 - time.dayOfWeek) / 7, 2);
        case L'V':
            return Digits(IsoWeekOf(time).week, 2);
        case L'w':
            return Digits(time.dayOfWeek, 1);
        case L'W':
            return Digits((DayOfYear(time) + 7 - (time.dayOfWeek + 6) % 7) / 7, 2);
        case L'y':
            return Digits(time.year % 100, 2);
        case L'Y':
            return Digits(time.year, 1);
        case L'%':
            return L"%";
        default:
            return std::nullopt;
    }
}

}  // namespace

std::wstring AutomaticName(const LocalTime& time) {
    std::wstring name = std::to_wstring(time.year);
    for (const int part : {time.month, time.day, time.hour, time.minute, time.second, time.milliseconds})
        name += L'_' + Digits(part, 2);
    return name;
}

std::wstring ExpandNameFormat(std::wstring_view format, const LocalTime& time) {
    std::wstring name;
    for (std::size_t i = 0; i < format.size(); ++i) {
        if (format[i] == L'%' && i + 1 < format.size()) {
            if (const auto text = Expand(format[i + 1], time)) {
                name += *text;
                ++i;
                continue;
            }
        }
        name += format[i];
    }
    return name;
}

std::wstring WithoutBadCharacters(std::wstring_view name) {
    constexpr std::wstring_view kBad = L"<>:\"/\\|?*";
    std::wstring clean(name);
    for (wchar_t& c : clean) {
        if (c < L' ' || kBad.find(c) != std::wstring_view::npos) c = L'_';
    }
    return clean;
}

}  // namespace norix
