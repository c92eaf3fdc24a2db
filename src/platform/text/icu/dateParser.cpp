// Dates and times as users type them. The text is cut into numbers, words and separators; a time is taken out where a colon
// or a half of the day shows it; what is left are two or three numbers and perhaps the name of a month, which are tried in
// the locale's order first and in the other usual orders after it, until one of them is a date that exists.
#include "platform/text/calendar.h"
#include "platform/text/casing.h"
#include "platform/text/datetime.h"
#include "platform/text/icu/localeForms.h"

#include <unicode/uchar.h>

#include <algorithm>
#include <vector>

namespace kvdm {

namespace {

constexpr std::size_t longestText = 256;
using WordKind = LocaleForms::WordKind;
using Order = LocaleForms::Order;

enum class Role
{
    none,
    year,
    month,
    day
};

struct Number
{
    unsigned value = 0;
    unsigned digits = 0;
    Role role = Role::none; // told by a sign after it (the ideographs for year, month and day)
    char16_t before = u' '; // what stands between the number before it and this one: a separator, or a blank for anything else
    bool isTime = false;
};

// Anything from 32 on, or written with three digits and more, can only be a year.
bool isYear(const Number& number) noexcept
{
    return number.digits > 2 || number.value > 31;
}

std::optional<SYSTEMTIME> dateOf(const Number& year, unsigned month, unsigned day)
{
    const unsigned full = year.digits > 2 ? year.value : year.value < 30 ? 2000 + year.value : 1900 + year.value;
    if (full < 100 || full > 9999 || month < 1 || month > 12 || day < 1 || day > daysInMonth(full, month))
        return std::nullopt;
    return SYSTEMTIME{static_cast<WORD>(full),
                      static_cast<WORD>(month),
                      static_cast<WORD>(dayOfWeek(daysOf(full, month, day))),
                      static_cast<WORD>(day),
                      0,
                      0,
                      0,
                      0};
}

Number presentYear()
{
    return {localCalendar(presentSeconds()).wYear, 4};
}

class DateParser
{
public:
    explicit DateParser(const LocaleForms& locale) : forms(locale) {}

    std::optional<SYSTEMTIME> parse(std::u16string_view original)
    {
        if (!iCut(original) || !iTakeColonTime())
            return std::nullopt;
        if (!timeSeen)
            iTakePointTime(month ? 2 : 3);
        if (!iTakeHourOfHalf())
            return std::nullopt;
        std::vector<Number> parts;
        for (const Number& number : numbers)
            if (!number.isTime)
                parts.push_back(number);
        if (parts.empty() && !month)
            return timeSeen && !weekdaySeen ? iTimeAlone() : std::nullopt;

        const bool maybeTime = !timeSeen && iMayBePointTime(parts);
        // Two numbers and a point are a time sooner than a date, three are a date sooner than a time.
        if (maybeTime && parts.size() == 2 && forms.dateSeparator != u'.' && iTakeTime(0, 2))
            return iTimeAlone();
        if (const auto date = iDate(parts))
            return iWithTime(*date);
        return maybeTime && iTakeTime(0, parts.size()) ? iTimeAlone() : std::nullopt;
    }

private:
    // ---- cutting -------------------------------------------------------------------------------------------------

    bool iCut(std::u16string_view original)
    {
        if (original.empty() || original.size() > longestText)
            return false;
        text = lowerText(original);
        std::replace_if(
            text.begin(), text.end(), [](char16_t unit) { return u_isspace(unit) || unit == u'\u200E' || unit == u'\u200F' || unit == u'\u061C'; },
            u' ');
        std::size_t at = 0;
        char16_t separator = 0; // pending since the last number or word
        while (at < text.size()) {
            const char16_t unit = text[at];
            if (unit >= u'0' && unit <= u'9') {
                if (!iCutNumber(at, separator))
                    return false;
                separator = 0;
            } else if (unit == u' ') {
                if (separator == 0)
                    separator = u' ';
                ++at;
            } else if (unit == u'/' || unit == u'-' || unit == u'.' || unit == u',' || unit == u'\u060C' || unit == u':') {
                // One separator between two parts; a point or comma may follow anything, as in "21. Nov., 2026".
                const bool light = unit == u'.' || unit == u',' || unit == u'\u060C';
                const bool heavyPending = separator != 0 && separator != u' ' && separator != u'.' && separator != u',';
                if (!anything || heavyPending || (!light && separator == u','))
                    return false;
                separator = unit == u'\u060C' ? u',' : unit;
                ++at;
            } else {
                if (!iCutWord(at))
                    return false;
                separator = u' ';
            }
        }
        return anything && separator != u'/' && separator != u'-' && separator != u':';
    }

    bool iCutNumber(std::size_t& at, char16_t separator)
    {
        Number number;
        for (; at < text.size() && text[at] >= u'0' && text[at] <= u'9'; ++at) {
            if (++number.digits > 4)
                return false;
            number.value = number.value * 10 + (text[at] - u'0');
        }
        number.before = separator ? separator : u' ';
        anything = true;
        if (at < text.size()) {
            constexpr struct
            {
                char16_t sign;
                Role role;
            } signs[] = {{u'\u5E74', Role::year}, {u'\u6708', Role::month}, {u'\u65E5', Role::day},
                         {u'\uB144', Role::year}, {u'\uC6D4', Role::month}, {u'\uC77C', Role::day}};
            for (const auto& each : signs)
                if (text[at] == each.sign)
                    number.role = each.role;
            if (number.role != Role::none)
                ++at;
        }
        numbers.push_back(number);
        return numbers.size() <= 6;
    }

    bool iCutWord(std::size_t& at)
    {
        const std::u16string_view rest = std::u16string_view(text).substr(at);
        for (const LocaleForms::Word& word : forms.words) {
            if (!rest.starts_with(word.text))
                continue;
            // A name ends where its letters end, save in scripts that write without blanks.
            if (word.text.back() < 0x2E80 && rest.size() > word.text.size() && u_isalpha(rest[word.text.size()]))
                continue;
            if (!iTakeWord(word))
                return false;
            at += word.text.size();
            anything = true;
            return true;
        }
        return false;
    }

    bool iTakeWord(const LocaleForms::Word& word)
    {
        switch (word.kind) {
        case WordKind::month:
            if (month)
                return false;
            month = word.value;
            return true;
        case WordKind::weekday: // not compared with the date
            if (weekdaySeen)
                return false;
            weekdaySeen = true;
            return true;
        case WordKind::morning:
        case WordKind::afternoon:
            if (half)
                return false;
            half = word.kind;
            numbersBeforeHalf = numbers.size();
            return true;
        case WordKind::filler:
            return true;
        }
        return false;
    }

    // ---- time of day ---------------------------------------------------------------------------------------------

    // The one run of numbers joined by colons. False for a second run or for numbers that are no time.
    bool iTakeColonTime()
    {
        for (std::size_t i = 1; i < numbers.size(); ++i) {
            if (numbers[i].before != u':')
                continue;
            std::size_t end = i;
            while (end < numbers.size() && numbers[end].before == u':')
                ++end;
            if (timeSeen || !iTakeTime(i - 1, end))
                return false;
            i = end;
        }
        return true;
    }

    // "3 PM": the hour stands before the word.
    bool iTakeHourOfHalf()
    {
        if (!half || timeSeen)
            return true;
        return numbersBeforeHalf > 0 && iTakeTime(numbersBeforeHalf - 1, numbersBeforeHalf);
    }

    // The last run of numbers joined by points, when as many others stand before it as a date needs.
    void iTakePointTime(std::size_t dateNumbers)
    {
        if (forms.timeSeparator == u'.' && numbers.size() > dateNumbers + 1 && numbers[dateNumbers].before == u' ' &&
            iJoinedByPoints(numbers, dateNumbers))
            iTakeTime(dateNumbers, numbers.size());
    }

    static bool iJoinedByPoints(const std::vector<Number>& list, std::size_t first)
    {
        for (std::size_t i = first + 1; i < list.size(); ++i)
            if (list[i].before != u'.')
                return false;
        return true;
    }

    bool iMayBePointTime(const std::vector<Number>& parts) const
    {
        return !month && !weekdaySeen && (parts.size() == 2 || parts.size() == 3) && iJoinedByPoints(parts, 0);
    }

    bool iTakeTime(std::size_t first, std::size_t end)
    {
        if (end - first > 3)
            return false;
        unsigned fields[3] = {0, 0, 0};
        for (std::size_t i = first; i < end; ++i) {
            if (numbers[i].digits > 2 || numbers[i].role != Role::none)
                return false;
            fields[i - first] = numbers[i].value;
        }
        if (fields[0] > 23 || fields[1] > 59 || fields[2] > 59)
            return false;
        if (half == WordKind::morning && fields[0] > 12)
            return false;
        if (half && fields[0] == 12)
            fields[0] = 0;
        if (half == WordKind::afternoon && fields[0] < 12)
            fields[0] += 12;
        for (std::size_t i = first; i < end; ++i)
            numbers[i].isTime = true;
        hour = static_cast<WORD>(fields[0]);
        minute = static_cast<WORD>(fields[1]);
        second = static_cast<WORD>(fields[2]);
        return timeSeen = true;
    }

    std::optional<SYSTEMTIME> iWithTime(SYSTEMTIME date) const
    {
        date.wHour = hour;
        date.wMinute = minute;
        date.wSecond = second;
        return date;
    }

    // A text without a date has the day that the automation date counts from.
    std::optional<SYSTEMTIME> iTimeAlone() const { return iWithTime(SYSTEMTIME{1899, 12, 6, 30, 0, 0, 0, 0}); }

    // ---- date ----------------------------------------------------------------------------------------------------

    std::optional<SYSTEMTIME> iDate(const std::vector<Number>& parts) const
    {
        if (!parts.empty() && parts[0].role != Role::none)
            return iDateOfSigns(parts);
        if (month)
            return iDateOfNamedMonth(parts);
        for (std::size_t i = 1; i < parts.size(); ++i)
            if (parts[i].before == u',')
                return std::nullopt; // a number with thousands, not a date
        if (parts.size() == 2)
            return iDateOfTwo(parts[0], parts[1]);
        return parts.size() == 3 ? iDateOfThree(parts[0], parts[1], parts[2]) : std::nullopt;
    }

    std::optional<SYSTEMTIME> iDateOfSigns(const std::vector<Number>& parts) const
    {
        Number year = presentYear();
        unsigned monthNumber = month, day = 0;
        for (const Number& part : parts) {
            if (part.role == Role::year)
                year = part;
            else if (part.role == Role::month)
                monthNumber = part.value;
            else if (part.role == Role::day)
                day = part.value;
            else
                return std::nullopt;
        }
        return dateOf(year, monthNumber, day);
    }

    // "21 November 2026", "November 21, 2026", "2026 Nov 21", "Nov 21", "Nov 2026".
    std::optional<SYSTEMTIME> iDateOfNamedMonth(const std::vector<Number>& parts) const
    {
        if (parts.size() == 1) {
            if (!isYear(parts[0]))
                if (const auto date = dateOf(presentYear(), month, parts[0].value))
                    return date;
            return dateOf(parts[0], month, 1);
        }
        if (parts.size() != 2)
            return std::nullopt;
        if (!isYear(parts[0]))
            if (const auto date = dateOf(parts[1], month, parts[0].value))
                return date;
        return isYear(parts[1]) ? std::nullopt : dateOf(parts[0], month, parts[1].value);
    }

    // A day of this year, or a month of a year.
    std::optional<SYSTEMTIME> iDateOfTwo(const Number& a, const Number& b) const
    {
        if (isYear(b))
            return isYear(a) ? std::nullopt : dateOf(b, a.value, 1);
        if (isYear(a))
            return dateOf(a, b.value, 1);
        const bool dayFirst = forms.order == Order::dayMonthYear;
        const Number year = presentYear();
        auto date = dateOf(year, dayFirst ? b.value : a.value, dayFirst ? a.value : b.value);
        if (!date)
            date = dateOf(year, dayFirst ? a.value : b.value, dayFirst ? b.value : a.value);
        return date ? date : dateOf(b, a.value, 1);
    }

    std::optional<SYSTEMTIME> iDateOfThree(const Number& a, const Number& b, const Number& c) const
    {
        const auto monthDayYear = [&] { return isYear(a) || isYear(b) ? std::nullopt : dateOf(c, a.value, b.value); };
        const auto dayMonthYear = [&] { return isYear(a) || isYear(b) ? std::nullopt : dateOf(c, b.value, a.value); };
        const auto yearMonthDay = [&] { return isYear(b) || isYear(c) ? std::nullopt : dateOf(a, b.value, c.value); };
        const auto yearDayMonth = [&] { return isYear(b) || isYear(c) ? std::nullopt : dateOf(a, c.value, b.value); };
        std::optional<SYSTEMTIME> date;
        if (isYear(a))
            return (date = yearMonthDay()) ? date : yearDayMonth();
        switch (forms.order) {
        case Order::monthDayYear:
            if (!(date = monthDayYear()) && !(date = dayMonthYear()))
                date = yearMonthDay();
            break;
        case Order::dayMonthYear:
            if (!(date = dayMonthYear()) && !(date = monthDayYear()))
                date = yearMonthDay();
            break;
        case Order::yearMonthDay:
            if (!(date = yearMonthDay()) && !(date = monthDayYear()))
                date = dayMonthYear();
            break;
        }
        return date;
    }

    const LocaleForms& forms;
    std::u16string text;
    std::vector<Number> numbers;
    unsigned month = 0; // by name; 0 for none
    std::optional<WordKind> half;
    std::size_t numbersBeforeHalf = 0;
    bool weekdaySeen = false;
    bool anything = false;
    bool timeSeen = false;
    WORD hour = 0, minute = 0, second = 0;
};

} // namespace

std::optional<SYSTEMTIME> parseDateText(std::u16string_view text, LCID locale)
{
    return DateParser(localeFormsOf(locale)).parse(text);
}

} // namespace kvdm
