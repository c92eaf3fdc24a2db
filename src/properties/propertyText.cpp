#include "properties/propertyText.h"

#include "platform/text/casing.h"
#include "platform/text/codepages.h"
#include "platform/text/datetime.h"
#include "properties/suOleProperty.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace kvdm {

namespace {

std::u16string fromAscii(std::string_view text)
{
    return std::u16string(text.begin(), text.end());
}

bool consistsOf(std::u16string_view text, std::u16string_view allowed)
{
    return text.find_first_not_of(allowed) == std::u16string_view::npos;
}

std::u16string integerText(std::int32_t value)
{
    return fromAscii(std::to_string(value));
}

// "%f" in the form of the platform's C library, whatever the process has set as its locale.
std::u16string realText(double value)
{
    if (std::isnan(value)) {
        constexpr std::uint64_t quietBit = std::uint64_t{1} << 51;
        constexpr std::uint64_t fraction = (std::uint64_t{1} << 52) - 1;
        const auto bits = std::bit_cast<std::uint64_t>(value);
        const char16_t* kind = !(bits & quietBit) ? u"(snan)" : std::signbit(value) && (bits & fraction) == quietBit ? u"(ind)" : u"";
        return std::u16string(std::signbit(value) ? u"-nan" : u"nan") + kind;
    }
    if (std::isinf(value))
        return value < 0 ? u"-inf" : u"inf";
    std::array<char, 400> digits; // the largest double has 309 before the point
    const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), value, std::chars_format::fixed, 6);
    return fromAscii({digits.data(), result.ptr});
}

// The local date, when automation dates can hold it: they end with the year 9999.
std::u16string dateText(FILETIME time)
{
    const auto local = toLocalFileTime(time);
    const auto calendar = local ? toSystemTime(*local) : std::nullopt;
    std::u16string text;
    if (calendar && calendar->wYear <= 9999)
        text = shortDateText(*calendar);
    return text.empty() ? u"Invalid DateTime" : text;
}

// _wtoi on a text that is known to be a sign and digits: the nearest number where it does not fit.
std::optional<std::int32_t> parseInteger(std::u16string_view text)
{
    constexpr std::u16string_view digits = u"0123456789";
    const bool hasSign = text.size() > 1 && (text.front() == u'+' || text.front() == u'-');
    const bool negative = hasSign && text.front() == u'-';
    if (hasSign)
        text.remove_prefix(1);
    if (text.empty() || !consistsOf(text, digits))
        return std::nullopt;
    constexpr std::int64_t largest = std::numeric_limits<std::int32_t>::max();
    std::int64_t value = 0;
    for (const char16_t digit : text)
        value = std::min(value * 10 + (digit - u'0'), largest + 1);
    return static_cast<std::int32_t>(negative ? -value : std::min(value, largest));
}

// wcstod on a text of digits and points: as much of it as is a number, 0 when nothing is.
std::optional<double> parseReal(std::u16string_view text)
{
    if (!consistsOf(text, u"0123456789."))
        return std::nullopt;
    const std::string digits(text.begin(), text.end());
    double value = 0;
    if (std::from_chars(digits.data(), digits.data() + digits.size(), value).ec == std::errc::result_out_of_range) {
        const bool large = digits.substr(0, digits.find('.')).find_first_of("123456789") != std::string::npos;
        value = large ? std::numeric_limits<double>::infinity() : 0;
    }
    return value;
}

std::optional<FILETIME> parseDate(std::u16string_view text)
{
    const auto calendar = parseDateText(text);
    const auto local = calendar ? toFileTime(*calendar) : std::nullopt;
    return local ? toUtcFileTime(*local) : std::nullopt;
}

template <class Number> std::optional<std::string> asValue(const std::optional<Number>& number)
{
    return number ? std::optional(oleBytes(*number)) : std::nullopt;
}

} // namespace

std::u16string ValueToText(const suOleProperty* property, unsigned codePage)
{
    if (property) {
        const char* bytes = property->payload().data();
        switch (property->type) {
        case VT_I4:
            return integerText(oleNumber<std::int32_t>(bytes));
        case VT_R8:
            return realText(oleNumber<double>(bytes));
        case VT_BOOL:
            return oleNumber<std::uint16_t>(bytes) == 0xFFFF ? u"Yes" : u"No";
        case VT_LPSTR:
            return decodeText(codePage, oleNarrowText(property->payload()));
        case VT_FILETIME:
            return dateText(oleNumber<FILETIME>(bytes));
        default:
            break;
        }
    }
    return u"Indeterminate";
}

std::optional<std::string> TextToValue(std::u16string_view text, std::uint32_t type, unsigned codePage)
{
    constexpr std::size_t textLimit = 1023;
    switch (type) {
    case VT_I4:
        return asValue(parseInteger(text));
    case VT_R8:
        return asValue(parseReal(text));
    case VT_BOOL:
        return oleBytes(static_cast<std::int16_t>(equalNoCase(text, u"Yes") ? VARIANT_TRUE : VARIANT_FALSE));
    case VT_LPSTR: {
        if (!isKnownCodePage(codePage))
            return std::nullopt; // it would come back as nothing
        return encodeText(codePage, text.substr(0, text.find(u'\0'))).substr(0, textLimit);
    }
    case VT_FILETIME:
        return asValue(parseDate(text));
    default:
        return std::nullopt;
    }
}

std::u16string dateAndTimeText(FILETIME time)
{
    if (ticksOf(time) == 0)
        return {};
    const auto local = toLocalFileTime(time);
    const auto calendar = local ? toSystemTime(*local) : std::nullopt;
    return calendar ? longDateText(*calendar) + u" " + timeText(*calendar) : std::u16string();
}

} // namespace kvdm
