// The automation date: days since 30 December 1899, the time of day in the fraction. Before that day the fraction still
// counts forward from midnight: -1.75 is 29 December 1899, 18:00.
#include "common/statusOfException.h"
#include "platform/text/calendar.h"
#include "platform/text/datetime.h"

#include <kvdocmgr/oletypes.h>

#include <cmath>
#include <string_view>

namespace {

constexpr std::int64_t dayZero = kvdm::daysOf(1899, 12, 30);
constexpr std::int64_t firstDay = kvdm::daysOf(100, 1, 1) - dayZero;
constexpr std::int64_t lastDay = kvdm::daysOf(9999, 12, 31) - dayZero;
static_assert(firstDay == -657434 && lastDay == 2958465);

constexpr std::int64_t secondsPerDay = 86'400;

constexpr ULONG timeValueOnly = 1;   // VAR_TIMEVALUEONLY
constexpr ULONG dateValueOnly = 2;   // VAR_DATEVALUEONLY
constexpr ULONG useNls = 0x10000000; // LOCALE_USE_NLS: the two above do not count

// True with days since day zero and seconds of the day, rounded to the nearest second.
bool split(DATE date, std::int64_t& day, std::int64_t& second) noexcept
{
    if (!(date > static_cast<double>(firstDay - 1) && date < static_cast<double>(lastDay + 1)))
        return false; // not a number falls out here as well
    const double whole = std::trunc(date);
    day = static_cast<std::int64_t>(whole);
    second = std::llround(std::fabs(date - whole) * static_cast<double>(secondsPerDay));
    if (second == secondsPerDay) {
        second = 0;
        ++day;
    }
    return day <= lastDay;
}

} // namespace

extern "C"
{

    // Fields out of their range roll on, as on the platform: day 0 is the last of the month before, 31 February is in March.
    // Milliseconds do not count. Years below 30 are those of 2000, below 100 those of 1900.
    INT SystemTimeToVariantTime(SYSTEMTIME* time, DATE* date) noexcept
    {
        if (!time || !date || time->wMonth > 12 || time->wDay > 31 || time->wYear > 9999)
            return 0;
        std::int64_t year = time->wYear < 30 ? time->wYear + 2000 : time->wYear < 100 ? time->wYear + 1900 : time->wYear;
        unsigned month = time->wMonth;
        if (month == 0) {
            month = 12;
            --year;
        }
        const std::int64_t seconds = (time->wHour * 60LL + time->wMinute) * 60 + time->wSecond;
        const std::int64_t day = kvdm::daysOf(year, month, time->wDay) - dayZero + seconds / secondsPerDay;
        if (day < firstDay || day > lastDay)
            return 0;
        const double fraction = static_cast<double>(seconds % secondsPerDay) / static_cast<double>(secondsPerDay);
        *date = day < 0 ? static_cast<double>(day) - fraction : static_cast<double>(day) + fraction;
        return 1;
    }

    INT VariantTimeToSystemTime(DATE date, SYSTEMTIME* time) noexcept
    {
        std::int64_t day = 0, second = 0;
        if (!time || !split(date, day, second))
            return 0;
        const kvdm::CivilDate civil = kvdm::civilDateOf(day + dayZero);
        *time = {static_cast<WORD>(civil.year),
                 static_cast<WORD>(civil.month),
                 static_cast<WORD>(kvdm::dayOfWeek(day + dayZero)),
                 static_cast<WORD>(civil.day),
                 static_cast<WORD>(second / 3600),
                 static_cast<WORD>(second / 60 % 60),
                 static_cast<WORD>(second % 60),
                 0};
        return 1;
    }

    // A value without a time of day is written as a date, one without a date as a time. That holds under VAR_TIMEVALUEONLY too:
    // the time-only text of a date without a time of day is empty, and callers tell such dates by it. Day zero alone has its
    // midnight written, "12:00:00 AM", since nothing else would be left of it.
    HRESULT VarBstrFromDate(DATE date, LCID locale, ULONG flags, BSTR* out) noexcept
    {
        SYSTEMTIME time;
        if (!out)
            return E_INVALIDARG;
        *out = nullptr;
        if (!VariantTimeToSystemTime(date, &time))
            return E_INVALIDARG;
        if (flags & useNls)
            flags = 0;
        const bool hasDate = std::trunc(date) != 0.0;
        const bool hasTime = time.wHour || time.wMinute || time.wSecond;
        const bool writesDate = !(flags & timeValueOnly) && (hasDate || (flags & dateValueOnly));
        const bool writesTime = !(flags & dateValueOnly) && (hasTime || !hasDate);
        return kvdm::automationCall([&]() -> HRESULT {
            std::u16string text;
            if (writesDate)
                text = kvdm::shortDateText(time, locale);
            if (writesTime) {
                if (!text.empty())
                    text += u' ';
                text += kvdm::timeText(time, locale);
            }
            *out = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
            return *out ? S_OK : E_OUTOFMEMORY;
        });
    }

    HRESULT VarDateFromStr(LPCOLESTR text, LCID locale, ULONG flags, DATE* out) noexcept
    {
        if (!out)
            return E_INVALIDARG;
        *out = 0;
        if (!text)
            return DISP_E_TYPEMISMATCH;
        return kvdm::automationCall([&]() -> HRESULT {
            std::optional<SYSTEMTIME> time = kvdm::parseDateText(std::u16string_view(text), locale);
            DATE date = 0;
            if (!time || !SystemTimeToVariantTime(&*time, &date))
                return DISP_E_TYPEMISMATCH;
            const double whole = std::trunc(date);
            if (!(flags & useNls) && (flags & timeValueOnly))
                date = std::fabs(date - whole);
            else if (!(flags & useNls) && (flags & dateValueOnly))
                date = whole;
            *out = date;
            return S_OK;
        });
    }

} // extern "C"
