// Days of the Gregorian calendar, carried back before its beginning as the platform does it.
#pragma once

#include <cstdint>

namespace kvdm {

struct CivilDate
{
    std::int64_t year;
    unsigned month; // 1 to 12
    unsigned day;   // 1 to 31

    friend constexpr bool operator==(const CivilDate&, const CivilDate&) = default;
};

constexpr bool isLeapYear(std::int64_t year) noexcept
{
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

constexpr unsigned daysInMonth(std::int64_t year, unsigned month) noexcept
{
    return month == 2 ? (isLeapYear(year) ? 29 : 28) : month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
}

// Days since 1 January 1970. A day beyond the month counts on into the next, day 0 is the last of the month before.
constexpr std::int64_t daysOf(std::int64_t year, unsigned month, std::int64_t day) noexcept
{
    const std::int64_t shifted = year - (month <= 2); // years begin in March, so that the leap day is the last
    const std::int64_t era = (shifted >= 0 ? shifted : shifted - 399) / 400;
    const std::int64_t yearOfEra = shifted - era * 400;
    const std::int64_t dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    return era * 146097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - 719468;
}

constexpr CivilDate civilDateOf(std::int64_t days) noexcept
{
    const std::int64_t shifted = days + 719468;
    const std::int64_t era = (shifted >= 0 ? shifted : shifted - 146096) / 146097;
    const auto dayOfEra = static_cast<unsigned>(shifted - era * 146097);
    const unsigned yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const unsigned month = (5 * dayOfYear + 2) / 153;
    return {yearOfEra + era * 400 + (month >= 10), month < 10 ? month + 3 : month - 9, dayOfYear - (153 * month + 2) / 5 + 1};
}

// 0 for Sunday.
constexpr unsigned dayOfWeek(std::int64_t days) noexcept
{
    return static_cast<unsigned>(((days + 4) % 7 + 7) % 7);
}

static_assert(daysOf(1970, 1, 1) == 0 && daysOf(1601, 1, 1) == -134774 && daysOf(1899, 12, 30) == -25569);
static_assert(civilDateOf(-134774) == CivilDate{1601, 1, 1} && dayOfWeek(daysOf(2026, 11, 21)) == 6);

} // namespace kvdm
