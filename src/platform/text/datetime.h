// Times: FILETIME, local time, and their texts in the user's locale. Off Windows the locale comes from the environment
// (LC_ALL, LC_TIME, LANG) and the zone from TZ or the machine; both are read at each call, so that a host may change them.
#pragma once

#include <kvdocmgr/oletypes.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kvdm {

constexpr std::uint64_t ticksOf(FILETIME time) noexcept
{
    return (std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
}
constexpr FILETIME fileTimeOf(std::uint64_t ticks) noexcept
{
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

// Locale identifiers of the platform. Any other is that language's, 0 and the defaults are the user's.
constexpr LCID localeUserDefault = 0x0400;
constexpr LCID localeSystemDefault = 0x0800;

// FileTimeToLocalFileTime and back: the zone's offset of the present moment is applied, as that call does it. Empty when
// the result leaves the range of a FILETIME.
std::optional<FILETIME> toLocalFileTime(FILETIME utc);
std::optional<FILETIME> toUtcFileTime(FILETIME local);

// FileTimeToSystemTime and back; empty for a value that the call refuses (top bit set; no such date).
std::optional<SYSTEMTIME> toSystemTime(FILETIME time);
std::optional<FILETIME> toFileTime(const SYSTEMTIME& time);

// The texts are empty for a date or time of day that does not exist.
// GetDateFormatW(0x0400, DATE_LONGDATE) and GetTimeFormatW(0x0400, 0): "Saturday, November 21, 2026", "3:02:57 AM".
std::u16string longDateText(const SYSTEMTIME& time);
std::u16string timeText(const SYSTEMTIME& time, LCID locale = localeUserDefault);
// The short date with a four-digit year: "11/21/2026".
std::u16string shortDateText(const SYSTEMTIME& time, LCID locale = localeUserDefault);
// Date, time, or both, in the forms that the user's locale writes and the usual others; what VarDateFromStr parses.
// A text without a date has the date 30 December 1899, one without a time has midnight.
std::optional<SYSTEMTIME> parseDateText(std::u16string_view text, LCID locale = localeUserDefault);

// Whether the local zone ever has daylight saving time (the C library's _daylight).
bool zoneHasDaylightTime();

// The present: UTC as FILETIME, and seconds since 1970.
FILETIME presentFileTime();
std::int64_t presentSeconds();
// The calendar of the local zone for seconds since 1970, as the C library's local time has it.
SYSTEMTIME localCalendar(std::int64_t seconds);

} // namespace kvdm
