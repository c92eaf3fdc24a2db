// Case of UTF-16 text, unit by unit, as the platform's tables have it.
#pragma once

#include <string>
#include <string_view>

namespace kvdm {

// The simple upper case of one unit: the upper case of the compound file's name order. Surrogates stand for themselves.
char16_t upperUnit(char16_t unit) noexcept;
char16_t lowerUnit(char16_t unit) noexcept;

std::u16string upperText(std::u16string_view text);
std::u16string lowerText(std::u16string_view text);

// Order by upper-cased units: negative, 0 or positive.
int compareNoCase(std::u16string_view left, std::u16string_view right) noexcept;
inline bool equalNoCase(std::u16string_view left, std::u16string_view right) noexcept
{
    return left.size() == right.size() && compareNoCase(left, right) == 0;
}

// The order of maps whose keys compare without regard to case.
struct LessNoCase
{
    using is_transparent = void;
    bool operator()(std::u16string_view left, std::u16string_view right) const noexcept { return compareNoCase(left, right) < 0; }
};

} // namespace kvdm
