#include "platform/text/datetime.h"

#include "platform/text/calendar.h"
#include "platform/text/icu/localeForms.h"
#include "platform/text/icu/userLocale.h"

#include <unicode/uloc.h>

#include <chrono>
#include <ctime>
#include <limits>

namespace kvdm {

namespace {

constexpr std::int64_t ticksPerSecond = 10'000'000;
constexpr std::int64_t ticksPerDay = 86'400 * ticksPerSecond;
constexpr std::int64_t daysTo1601 = daysOf(1601, 1, 1);
constexpr std::int64_t secondsTo1601 = daysTo1601 * 86'400;

constexpr LCID invariantLocale = 0x7F;

std::string localeNameOf(LCID locale)
{
    switch (locale) {
    case 0:      // neutral
    case 0x0C00: // custom default
    case localeSystemDefault:
    case localeUserDefault:
        return userLocaleName("LC_TIME");
    case invariantLocale:
        return "en_US";
    default: {
        char name[ULOC_FULLNAME_CAPACITY];
        UErrorCode status = U_ZERO_ERROR;
        const std::int32_t length = uloc_getLocaleForLCID(locale, name, sizeof name, &status);
        return U_SUCCESS(status) && length > 0 && length < ULOC_FULLNAME_CAPACITY ? std::string(name, static_cast<std::size_t>(length)) : "en_US";
    }
    }
}

bool isDate(const SYSTEMTIME& time) noexcept
{
    return time.wMonth >= 1 && time.wMonth <= 12 && time.wDay >= 1 && time.wDay <= daysInMonth(time.wYear, time.wMonth);
}

bool isTimeOfDay(const SYSTEMTIME& time) noexcept
{
    return time.wHour < 24 && time.wMinute < 60 && time.wSecond < 60 && time.wMilliseconds < 1000;
}

// Seconds by which the local zone is ahead of UTC at this moment.
std::int64_t presentOffset()
{
    ::tzset();
    const std::time_t now = ::time(nullptr);
    std::tm local{};
    return ::localtime_r(&now, &local) ? local.tm_gmtoff : 0;
}

std::optional<FILETIME> shifted(FILETIME time, std::int64_t seconds)
{
    const std::uint64_t ticks = ticksOf(time);
    if (ticks > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
        return std::nullopt;
    std::int64_t moved = 0;
    if (__builtin_add_overflow(static_cast<std::int64_t>(ticks), seconds * ticksPerSecond, &moved) || moved < 0)
        return std::nullopt;
    return fileTimeOf(static_cast<std::uint64_t>(moved));
}

std::u16string textOf(const SYSTEMTIME& time, LCID locale, LocaleForms::Pattern LocaleForms::*pattern)
{
    const LocaleForms& forms = LocaleForms::of(localeNameOf(locale));
    return forms.format(forms.*pattern, time);
}

} // namespace

const LocaleForms& localeFormsOf(LCID locale)
{
    return LocaleForms::of(localeNameOf(locale));
}

std::optional<FILETIME> toLocalFileTime(FILETIME utc)
{
    return shifted(utc, presentOffset());
}

std::optional<FILETIME> toUtcFileTime(FILETIME local)
{
    return shifted(local, -presentOffset());
}

std::optional<SYSTEMTIME> toSystemTime(FILETIME time)
{
    const std::uint64_t ticks = ticksOf(time);
    if (ticks > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
        return std::nullopt;
    const auto days = static_cast<std::int64_t>(ticks / ticksPerDay) + daysTo1601;
    const auto milliseconds = static_cast<std::uint32_t>(ticks % ticksPerDay / 10'000);
    const CivilDate date = civilDateOf(days);
    return SYSTEMTIME{static_cast<WORD>(date.year),
                      static_cast<WORD>(date.month),
                      static_cast<WORD>(dayOfWeek(days)),
                      static_cast<WORD>(date.day),
                      static_cast<WORD>(milliseconds / 3'600'000),
                      static_cast<WORD>(milliseconds / 60'000 % 60),
                      static_cast<WORD>(milliseconds / 1000 % 60),
                      static_cast<WORD>(milliseconds % 1000)};
}

std::optional<FILETIME> toFileTime(const SYSTEMTIME& time)
{
    if (time.wYear < 1601 || time.wYear > 30827 || !isDate(time) || !isTimeOfDay(time))
        return std::nullopt;
    const std::int64_t days = daysOf(time.wYear, time.wMonth, time.wDay) - daysTo1601;
    const std::int64_t milliseconds = ((time.wHour * 60LL + time.wMinute) * 60 + time.wSecond) * 1000 + time.wMilliseconds;
    std::int64_t ticks = 0;
    if (__builtin_mul_overflow(days, ticksPerDay, &ticks) || __builtin_add_overflow(ticks, milliseconds * 10'000, &ticks))
        return std::nullopt;
    return fileTimeOf(static_cast<std::uint64_t>(ticks));
}

std::u16string longDateText(const SYSTEMTIME& time)
{
    return isDate(time) ? textOf(time, localeUserDefault, &LocaleForms::longDate) : std::u16string();
}

std::u16string timeText(const SYSTEMTIME& time, LCID locale)
{
    return isTimeOfDay(time) ? textOf(time, locale, &LocaleForms::time) : std::u16string();
}

std::u16string shortDateText(const SYSTEMTIME& time, LCID locale)
{
    return isDate(time) ? textOf(time, locale, &LocaleForms::shortDate) : std::u16string();
}

// The rule of today counts, not what the zone did in the past: that is all the platform knows of a zone.
bool zoneHasDaylightTime()
{
    ::tzset();
    constexpr std::int64_t month = 30 * 86'400;
    const std::int64_t now = presentSeconds();
    for (int i = 0; i < 12; ++i) {
        const std::time_t at = now + i * month;
        std::tm local{};
        if (::localtime_r(&at, &local) && local.tm_isdst > 0)
            return true;
    }
    return false;
}

FILETIME presentFileTime()
{
    using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, ticksPerSecond>>;
    const auto sinceUnix = std::chrono::duration_cast<Ticks>(std::chrono::system_clock::now().time_since_epoch()).count();
    return fileTimeOf(static_cast<std::uint64_t>(sinceUnix - secondsTo1601 * ticksPerSecond));
}

std::int64_t presentSeconds()
{
    return static_cast<std::int64_t>(::time(nullptr));
}

SYSTEMTIME localCalendar(std::int64_t seconds)
{
    ::tzset();
    const std::time_t at = seconds;
    std::tm local{};
    if (!::localtime_r(&at, &local))
        return {};
    return SYSTEMTIME{static_cast<WORD>(local.tm_year + 1900), static_cast<WORD>(local.tm_mon + 1),
                      static_cast<WORD>(local.tm_wday),        static_cast<WORD>(local.tm_mday),
                      static_cast<WORD>(local.tm_hour),        static_cast<WORD>(local.tm_min),
                      static_cast<WORD>(local.tm_sec),         0};
}

} // namespace kvdm
