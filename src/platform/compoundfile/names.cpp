#include "platform/compoundfile/names.h"

#include "common/exceptions.h"
#include "platform/text/casing.h"

namespace kvdm {
namespace {

char16_t folded(char16_t unit) noexcept
{
    if (unit < 0x80)
        return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - 32) : unit;
    return upperUnit(unit);
}

template <class UnitOf> int compareUnits(std::u16string_view left, std::size_t units, UnitOf unitOf) noexcept
{
    if (left.size() != units)
        return left.size() < units ? -1 : 1;
    for (std::size_t i = 0; i < units; ++i) {
        const char16_t other = unitOf(i);
        if (left[i] == other)
            continue;
        const char16_t a = folded(left[i]), b = folded(other);
        if (a != b)
            return a < b ? -1 : 1;
    }
    return 0;
}

} // namespace

int compareNames(std::u16string_view left, std::u16string_view right) noexcept
{
    return compareUnits(left, right.size(), [&](std::size_t i) { return right[i]; });
}

int compareNames(std::u16string_view left, const EntryView& right) noexcept
{
    return compareUnits(left, right.nameUnits(), [&](std::size_t i) { return right.nameUnit(static_cast<std::uint32_t>(i)); });
}

std::u16string_view nameArgument(LPCOLESTR name)
{
    std::size_t units = 0;
    while (name && units <= longestName && name[units] != 0)
        ++units;
    if (!name || units > longestName)
        throw suOleException(STG_E_INVALIDNAME);
    return {name, units};
}

std::u16string_view newNameArgument(LPCOLESTR name)
{
    const std::u16string_view text = nameArgument(name);
    if (text.empty() || text.find_first_of(u"/\\:!") != text.npos)
        throw suOleException(STG_E_INVALIDNAME);
    return text;
}

} // namespace kvdm
