#include "platform/text/icu/localeForms.h"

#include "platform/text/calendar.h"
#include "platform/text/casing.h"

#include <unicode/dtfmtsym.h>
#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <memory>
#include <utility>

namespace kvdm {

namespace {

icu::Locale westernLocale(const std::string& localeName)
{
    return icu::Locale(localeName.c_str(), nullptr, nullptr, "calendar=gregorian;numbers=latn");
}

// Plain blanks, no marks of direction: texts are compared and parsed by programs.
std::u16string plain(const icu::UnicodeString& text)
{
    std::u16string out;
    for (std::int32_t i = 0; i < text.length(); ++i) {
        const char16_t unit = text[i];
        if (unit == u'\u00A0' || unit == u'\u202F' || unit == u'\u2009')
            out += u' ';
        else if (unit != u'\u200E' && unit != u'\u200F' && unit != u'\u061C')
            out += unit;
    }
    return out;
}

constexpr bool isLetter(char16_t unit) noexcept
{
    return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z');
}

LocaleForms::Pattern piecesOf(std::u16string_view pattern)
{
    LocaleForms::Pattern pieces;
    bool quoted = false;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const char16_t unit = pattern[i];
        if (unit == u'\'' && !(i + 1 < pattern.size() && pattern[i + 1] == u'\'')) {
            quoted = !quoted;
            continue;
        }
        if (unit == u'\'')
            ++i; // a doubled quote is a quote
        if (!quoted && isLetter(unit)) {
            if (!pieces.empty() && pieces.back().field == unit)
                ++pieces.back().count;
            else
                pieces.push_back({unit, 1, {}});
        } else {
            if (pieces.empty() || pieces.back().field)
                pieces.emplace_back();
            pieces.back().literal += unit;
        }
    }
    return pieces;
}

// The pattern of a format of the library; empty when there is none.
LocaleForms::Pattern patternOf(const icu::DateFormat* format)
{
    const auto* simple = dynamic_cast<const icu::SimpleDateFormat*>(format);
    if (!simple)
        return {};
    icu::UnicodeString pattern;
    return piecesOf(plain(simple->toPattern(pattern)));
}

// The year in full, and no era: dates of this system are of the common one.
LocaleForms::Pattern withFullYear(LocaleForms::Pattern pattern)
{
    for (auto at = pattern.begin(); at != pattern.end();) {
        if (at->field == u'y')
            at->count = 4;
        if (at->field != u'G') {
            ++at;
            continue;
        }
        at = pattern.erase(at);
        if (at != pattern.end() && at->field == 0)
            at = pattern.erase(at);
    }
    return pattern;
}

void appendNumber(std::u16string& out, unsigned value, std::size_t digits)
{
    char16_t text[10];
    std::size_t count = 0;
    do {
        text[count++] = static_cast<char16_t>(u'0' + value % 10);
        value /= 10;
    } while (value);
    for (std::size_t i = count; i < digits; ++i)
        out += u'0';
    while (count)
        out += text[--count];
}

std::vector<std::u16string> textsOf(const icu::UnicodeString* names, std::int32_t count)
{
    std::vector<std::u16string> out;
    for (std::int32_t i = 0; names && i < count; ++i)
        out.push_back(plain(names[i]));
    return out;
}

const std::u16string& nameAt(const std::vector<std::u16string>& names, std::size_t index)
{
    static const std::u16string none;
    return index < names.size() ? names[index] : none;
}

} // namespace

const LocaleForms& LocaleForms::of(const std::string& localeName)
{
    thread_local std::unique_ptr<const LocaleForms> last; // the locale changes in tests and long-lived hosts alone
    if (!last || last->name != localeName)
        last.reset(new LocaleForms(localeName));
    return *last;
}

LocaleForms::LocaleForms(const std::string& localeName) : name(localeName)
{
    const icu::Locale locale = westernLocale(localeName);
    const auto dateForm = [&](icu::DateFormat::EStyle style) {
        return patternOf(std::unique_ptr<icu::DateFormat>(icu::DateFormat::createDateInstance(style, locale)).get());
    };
    shortDate = withFullYear(dateForm(icu::DateFormat::kShort));
    longDate = withFullYear(dateForm(icu::DateFormat::kFull));
    time = patternOf(std::unique_ptr<icu::DateFormat>(icu::DateFormat::createTimeInstance(icu::DateFormat::kMedium, locale)).get());
    if (shortDate.empty())
        shortDate = piecesOf(u"M/d/yyyy");
    if (longDate.empty())
        longDate = piecesOf(u"EEEE, MMMM d, yyyy");
    const auto hasWord = [](const Piece& piece) {
        return std::any_of(piece.literal.begin(), piece.literal.end(), [](char16_t unit) { return unit > u'@'; });
    };
    if (time.empty() || std::any_of(time.begin(), time.end(), hasWord))
        time = piecesOf(u"HH:mm:ss"); // words between the numbers are for prose

    std::u16string fields;
    for (const Piece& piece : shortDate) {
        if (piece.field)
            fields += piece.field;
        else if (fields.size() == 1)
            dateSeparator = piece.literal[0];
    }
    order = fields.starts_with(u'y') ? Order::yearMonthDay : fields.starts_with(u'd') ? Order::dayMonthYear : Order::monthDayYear;
    for (const Piece& piece : time)
        if (piece.literal == u":" || piece.literal == u".")
            timeSeparator = piece.literal[0];

    iTakeNames("en_US");
    iTakeNames(localeName);
    for (const char16_t* text : {u"a", u"a.m"})
        iAddWord(text, WordKind::morning, 0);
    for (const char16_t* text : {u"p", u"p.m"})
        iAddWord(text, WordKind::afternoon, 0);
    iTakeFillers(longDate);
    iTakeFillers(shortDate);
    std::stable_sort(words.begin(), words.end(), [](const Word& left, const Word& right) { return left.text.size() > right.text.size(); });
}

// Leaves the names of the last locale asked for in the lists that format() writes from; the words add up.
void LocaleForms::iTakeNames(const std::string& localeName)
{
    using Symbols = icu::DateFormatSymbols;
    UErrorCode status = U_ZERO_ERROR;
    const Symbols symbols(westernLocale(localeName), status);
    if (U_FAILURE(status))
        return;
    std::int32_t count = 0;
    const auto monthNames = [&](Symbols::DtContextType context, Symbols::DtWidthType width) {
        const icu::UnicodeString* names = symbols.getMonths(count, context, width);
        return textsOf(names, std::min(count, 12));
    };
    months = monthNames(Symbols::FORMAT, Symbols::WIDE);
    shortMonths = monthNames(Symbols::FORMAT, Symbols::ABBREVIATED);
    standaloneMonths = monthNames(Symbols::STANDALONE, Symbols::WIDE);
    const auto weekdayNames = [&](Symbols::DtContextType context, Symbols::DtWidthType width) {
        const icu::UnicodeString* names = symbols.getWeekdays(count, context, width);
        std::vector<std::u16string> all = textsOf(names, std::min(count, 8));
        if (!all.empty())
            all.erase(all.begin()); // the library counts from 1
        return all;
    };
    weekdays = weekdayNames(Symbols::FORMAT, Symbols::WIDE);
    shortWeekdays = weekdayNames(Symbols::FORMAT, Symbols::ABBREVIATED);
    const icu::UnicodeString* halfNames = symbols.getAmPmStrings(count);
    halves = textsOf(halfNames, std::min(count, 2));

    for (const auto& names : {months, shortMonths, standaloneMonths, monthNames(Symbols::STANDALONE, Symbols::ABBREVIATED)})
        for (std::size_t i = 0; i < names.size(); ++i)
            iAddWord(names[i], WordKind::month, static_cast<unsigned>(i + 1));
    for (const auto& names : {weekdays, shortWeekdays, weekdayNames(Symbols::STANDALONE, Symbols::WIDE)})
        for (std::size_t i = 0; i < names.size(); ++i)
            iAddWord(names[i], WordKind::weekday, static_cast<unsigned>(i));
    for (std::size_t i = 0; i < halves.size(); ++i)
        iAddWord(halves[i], i == 0 ? WordKind::morning : WordKind::afternoon, 0);
}

// The words between the parts of a pattern.
void LocaleForms::iTakeFillers(const Pattern& pattern)
{
    for (const Piece& piece : pattern) {
        if (piece.field)
            continue;
        std::u16string word;
        for (const char16_t unit : piece.literal + u' ') {
            if (unit > 0x40 && unit < 0x3000) {
                word += unit;
            } else if (!word.empty()) {
                iAddWord(std::exchange(word, {}), WordKind::filler, 0);
            }
        }
    }
}

void LocaleForms::iAddWord(std::u16string text, WordKind kind, unsigned value)
{
    text = lowerText(text);
    while (!text.empty() && text.back() == u'.')
        text.pop_back();
    // Months that are a number and a sign are read as numbers.
    if (!text.empty() && !(text[0] >= u'0' && text[0] <= u'9'))
        words.push_back({std::move(text), kind, value});
}

std::u16string LocaleForms::format(const Pattern& pattern, const SYSTEMTIME& at) const
{
    std::u16string out;
    const unsigned hour12 = at.wHour % 12u;
    for (const Piece& piece : pattern) {
        switch (piece.field) {
        case 0:
            out += piece.literal;
            break;
        case u'y':
            appendNumber(out, at.wYear, piece.count);
            break;
        case u'M':
        case u'L':
            if (piece.count >= 4)
                out += nameAt(piece.field == u'L' ? standaloneMonths : months, at.wMonth - 1u);
            else if (piece.count == 3)
                out += nameAt(shortMonths, at.wMonth - 1u);
            else
                appendNumber(out, at.wMonth, piece.count);
            break;
        case u'd':
            appendNumber(out, at.wDay, piece.count);
            break;
        case u'E':
        case u'c':
            out += nameAt(piece.count >= 4 ? weekdays : shortWeekdays, dayOfWeek(daysOf(at.wYear, at.wMonth, at.wDay)));
            break;
        case u'h':
            appendNumber(out, hour12 ? hour12 : 12, piece.count);
            break;
        case u'K':
            appendNumber(out, hour12, piece.count);
            break;
        case u'H':
            appendNumber(out, at.wHour, piece.count);
            break;
        case u'k':
            appendNumber(out, at.wHour ? at.wHour : 24, piece.count);
            break;
        case u'm':
            appendNumber(out, at.wMinute, piece.count);
            break;
        case u's':
            appendNumber(out, at.wSecond, piece.count);
            break;
        case u'a':
        case u'b':
        case u'B': // parts of the day are told by its halves, as the platform does
            out += nameAt(halves, at.wHour / 12u);
            break;
        default:
            break;
        }
    }
    return out;
}

} // namespace kvdm
