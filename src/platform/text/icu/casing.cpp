#include "platform/text/casing.h"

#include <unicode/uchar.h>

#include <algorithm>
#include <array>

namespace kvdm {

namespace {

// The platform's table holds the pairs that lead there and back, of the letters of Unicode 5; the final sigma is its one
// exception. So the micro sign, the dotless i, the long s and the title-case digraphs stand for themselves.
bool isOfTable(UChar32 unit) noexcept
{
    UVersionInfo age;
    u_charAge(unit, age);
    return age[0] < 5 || (age[0] == 5 && age[1] == 0);
}

char16_t findUpper(char16_t unit) noexcept
{
    if (unit == u'\u03C2')
        return u'\u03A3';
    const UChar32 upper = u_toupper(unit);
    return upper != unit && upper < 0x10000 && u_tolower(upper) == unit && isOfTable(upper) && isOfTable(unit) ? static_cast<char16_t>(upper) : unit;
}

char16_t findLower(char16_t unit) noexcept
{
    const UChar32 lower = u_tolower(unit);
    return lower != unit && lower < 0x10000 && u_toupper(lower) == unit && isOfTable(lower) && isOfTable(unit) ? static_cast<char16_t>(lower) : unit;
}

// Latin, Greek, Cyrillic and Armenian, looked up once; scripts above them with case are rare in names.
constexpr std::size_t tableEnd = 0x590;

struct CaseTable
{
    std::array<char16_t, tableEnd> upper;
    std::array<char16_t, tableEnd> lower;

    CaseTable() noexcept
    {
        for (std::size_t unit = 0; unit < tableEnd; ++unit) {
            upper[unit] = findUpper(static_cast<char16_t>(unit));
            lower[unit] = findLower(static_cast<char16_t>(unit));
        }
    }
};

const CaseTable& caseTable() noexcept
{
    static const CaseTable table;
    return table;
}

} // namespace

char16_t upperUnit(char16_t unit) noexcept
{
    if (unit < 0x80)
        return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - 0x20) : unit;
    return unit < tableEnd ? caseTable().upper[unit] : findUpper(unit);
}

char16_t lowerUnit(char16_t unit) noexcept
{
    if (unit < 0x80)
        return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 0x20) : unit;
    return unit < tableEnd ? caseTable().lower[unit] : findLower(unit);
}

std::u16string upperText(std::u16string_view text)
{
    std::u16string out(text);
    std::transform(out.begin(), out.end(), out.begin(), upperUnit);
    return out;
}

std::u16string lowerText(std::u16string_view text)
{
    std::u16string out(text);
    std::transform(out.begin(), out.end(), out.begin(), lowerUnit);
    return out;
}

int compareNoCase(std::u16string_view left, std::u16string_view right) noexcept
{
    const std::size_t common = std::min(left.size(), right.size());
    for (std::size_t i = 0; i < common; ++i) {
        if (left[i] == right[i])
            continue;
        const char16_t a = upperUnit(left[i]), b = upperUnit(right[i]);
        if (a != b)
            return a < b ? -1 : 1;
    }
    return left.size() == right.size() ? 0 : left.size() < right.size() ? -1 : 1;
}

} // namespace kvdm
