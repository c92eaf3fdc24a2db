// How one locale writes dates and times: patterns, names, order. Patterns are those of the Unicode locale data; digits and
// calendar are always the western ones.
#pragma once

#include <kvdocmgr/oletypes.h>

#include <string>
#include <string_view>
#include <vector>

namespace kvdm {

class LocaleForms
{
public:
    enum class Order
    {
        monthDayYear,
        dayMonthYear,
        yearMonthDay
    };
    enum class WordKind
    {
        month,   // value 1 to 12
        weekday, // value 0 for Sunday
        morning,
        afternoon,
        filler // what long dates say between the parts ("de", "den")
    };
    struct Word
    {
        std::u16string text; // lower case, without a closing dot
        WordKind kind;
        unsigned value;
    };

    // One run of a pattern: a field letter and how often it stands, or literal text (field 0).
    struct Piece
    {
        char16_t field = 0;
        std::size_t count = 0;
        std::u16string literal;
    };
    using Pattern = std::vector<Piece>;

    // The forms of a locale of the library's naming. The reference holds for this thread until the next call of it.
    static const LocaleForms& of(const std::string& localeName);

    // A pattern filled in; the fields must be a date and a time of day that exist.
    std::u16string format(const Pattern& pattern, const SYSTEMTIME& time) const;

    Pattern shortDate; // with a four-digit year
    Pattern longDate;
    Pattern time;
    Order order = Order::monthDayYear;
    char16_t dateSeparator = u'/';
    char16_t timeSeparator = u':';
    std::vector<Word> words; // longest first; names of the locale and of English

private:
    explicit LocaleForms(const std::string& localeName);
    void iTakeNames(const std::string& localeName);
    void iTakeFillers(const Pattern& pattern);
    void iAddWord(std::u16string text, WordKind kind, unsigned value);

    std::string name;
    std::vector<std::u16string> months, shortMonths, standaloneMonths, weekdays, shortWeekdays, halves;
};

// The forms of a locale of the platform's numbering; 0x0400 is the user's.
const LocaleForms& localeFormsOf(LCID locale);

} // namespace kvdm
