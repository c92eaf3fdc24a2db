// Numbers at the beginning of a text, as the C library of the system's platform reads them, and the way back.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kvdm {

// White space of wide text (iswspace of the platform).
constexpr bool isBlankUnit(char16_t unit) noexcept
{
    return (unit >= 9 && unit <= 13) || unit == u' ' || unit == 0x85 || unit == 0xA0 || unit == 0x1680 || (unit >= 0x2000 && unit <= 0x200A) ||
           unit == 0x2028 || unit == 0x2029 || unit == 0x202F || unit == 0x205F || unit == 0x3000;
}

// Leading blanks, one sign, decimal digits as far as they go: the nearest 32-bit number where it does not fit, 0 without any.
constexpr std::int32_t decimalNumber(std::u16string_view text) noexcept
{
    while (!text.empty() && isBlankUnit(text.front()))
        text.remove_prefix(1);
    const bool negative = text.starts_with(u'-');
    if (negative || text.starts_with(u'+'))
        text.remove_prefix(1);
    const std::int64_t limit = negative ? std::int64_t{INT32_MAX} + 1 : INT32_MAX;
    std::int64_t number = 0;
    for (; !text.empty() && text.front() >= u'0' && text.front() <= u'9'; text.remove_prefix(1)) {
        number = number * 10 + (text.front() - u'0');
        if (number > limit)
            number = limit;
    }
    return static_cast<std::int32_t>(negative ? -number : number);
}

inline std::u16string decimalText(std::int64_t number)
{
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

} // namespace kvdm
