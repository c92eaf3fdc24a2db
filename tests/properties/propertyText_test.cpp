#include "properties/propertyText.h"

#include "platform/text/datetime.h"
#include "properties/suOleProperty.h"
#include "properties/suOptions.h"
#include "propertyBytes.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>

namespace kvdm::test {
namespace {

std::u16string textOf(std::uint32_t type, const std::string& payload, unsigned codePage = 1252)
{
    const suOleProperty property(2, type, payload);
    return ValueToText(&property, codePage);
}

std::string real(double value)
{
    return oleBytes(value);
}

TEST(PropertyText, ValuesHaveTheTextsOfTheirTypes)
{
    EXPECT_EQ(textOf(3, le32(0x80000000)), u"-2147483648");
    EXPECT_EQ(textOf(11, le16(0xFFFF)), u"Yes");
    EXPECT_EQ(textOf(11, le16(1)), u"No");
    EXPECT_EQ(textOf(30, le32(4) + std::string("a\xDF\x80\0", 4)), u"a\u00DF\u20AC");
    EXPECT_EQ(textOf(30, le32(5) + std::string("a\0bc\0", 5)), u"a") << "ends at the first NUL";
    EXPECT_EQ(textOf(30, le32(3) + "abc"), u"abc") << "without its NUL it ends at its length";
    EXPECT_EQ(textOf(30, le32(0)), u"");
    EXPECT_EQ(textOf(30, le32(4) + std::string("\xC3\x9F!\0", 4), 65001), u"\u00DF!");
    EXPECT_EQ(textOf(30, le32(2001) + std::string(2000, 'x') + '\0').size(), 2000u) << "nothing is cut on read";
    for (const std::uint32_t other : {0u, 2u, 4u, 31u, 65u, 0x1003u})
        EXPECT_EQ(textOf(other, std::string(32, '\0')), u"Indeterminate") << other;
    EXPECT_EQ(ValueToText(nullptr, 0), u"Indeterminate");
}

TEST(PropertyText, RealsHaveSixDecimalsInEveryLocale)
{
    std::setlocale(LC_NUMERIC, "de_DE.UTF-8"); // where the machine has it: with a comma for the point
    EXPECT_EQ(textOf(5, real(1.5)), u"1.500000");
    std::setlocale(LC_NUMERIC, "C");
    EXPECT_EQ(textOf(5, real(-0.0)), u"-0.000000");
    EXPECT_EQ(textOf(5, real(-1.0000005)), u"-1.000001");
    const std::u16string largest = textOf(5, real(-std::numeric_limits<double>::max()));
    EXPECT_EQ(largest.size(), 1 + 309 + 7u);
    EXPECT_EQ(largest.substr(0, 8), u"-1797693");
    EXPECT_EQ(textOf(5, real(5e-324)), u"0.000000");
    EXPECT_EQ(textOf(5, real(std::numeric_limits<double>::infinity())), u"inf");
    EXPECT_EQ(textOf(5, real(-std::numeric_limits<double>::infinity())), u"-inf");
    EXPECT_EQ(textOf(5, le(0x7FF8000000000000, 8)), u"nan");
    EXPECT_EQ(textOf(5, le(0xFFF8000000000000, 8)), u"-nan(ind)");
}

TEST(PropertyText, NumbersAreTakenOnlyInTheirOwnSpelling)
{
    const std::pair<std::u16string_view, std::int32_t> taken[] = {{u"5", 5}, {u"+5", 5}, {u"-15", -15}, {u"007", 7}, {u"2147483648", 2147483647}};
    for (const auto& [text, value] : taken)
        EXPECT_EQ(TextToValue(text, 3, 0), oleBytes(value)) << value;
    EXPECT_EQ(TextToValue(u"-99999999999999999999", 3, 0), le32(0x80000000));
    for (const std::u16string_view text : {u"", u"+", u"-", u"--5", u"+-5", u"5-", u" 5", u"1.5", u"0x5"})
        EXPECT_EQ(TextToValue(text, 3, 0), std::nullopt) << std::string(text.begin(), text.end());
}

TEST(PropertyText, RealsAreTakenWithoutSign)
{
    const std::pair<std::u16string_view, double> taken[] = {{u"1.5", 1.5}, {u"", 0.0}, {u".", 0.0}, {u".5", 0.5}, {u"5.", 5.0}, {u"1.2.3", 1.2}};
    for (const auto& [text, value] : taken)
        EXPECT_EQ(TextToValue(text, 5, 0), real(value)) << value;
    EXPECT_EQ(TextToValue(std::u16string(400, u'9'), 5, 0), real(std::numeric_limits<double>::infinity()));
    EXPECT_EQ(TextToValue(u"0." + std::u16string(400, u'0') + u"1", 5, 0), real(0));
    for (const std::u16string_view text : {u"-1.5", u"+1.5", u"1e5", u"1,5"})
        EXPECT_EQ(TextToValue(text, 5, 0), std::nullopt) << std::string(text.begin(), text.end());
}

TEST(PropertyText, TextAndFlagsAreTakenAsTheyAre)
{
    EXPECT_EQ(TextToValue(u"yES", 11, 0), le16(0xFFFF));
    EXPECT_EQ(TextToValue(u"perhaps", 11, 0), le16(0));
    EXPECT_EQ(TextToValue(std::u16string(2000, u'x'), 30, 1252), std::string(1023, 'x'));
    EXPECT_EQ(TextToValue(u"\u0421\u20AC", 30, 1252), "?\x80");
    EXPECT_EQ(TextToValue(u"x", 30, 1200), std::nullopt) << "no code page of bytes";
    for (const std::uint32_t other : {0u, 2u, 8u, 31u, 65u})
        EXPECT_EQ(TextToValue(u"1", other, 0), std::nullopt) << other;
}

TEST(PropertyText, DatesAreLocalAndInTheUsersForm)
{
    const std::pair<std::uint64_t, std::u16string_view> shown[] = {
        {0, u"1/1/1601"}, {125962560010000000, u"2/29/2000"}, {2650467743980000000, u"12/31/9999"}};
    for (const auto& [ticks, text] : shown)
        EXPECT_EQ(textOf(64, le(ticks, 8)), text) << ticks;
    for (const std::uint64_t ticks : {2650467744000000000u, 0x7FFFFFFFFFFFFFFFu, 0x8000000000000000u})
        EXPECT_EQ(textOf(64, le(ticks, 8)), u"Invalid DateTime") << ticks;
    EXPECT_EQ(TextToValue(u"2/29/2000", 64, 0), le(125962560000000000, 8));
    for (const std::u16string_view text : {u"", u"tomorrow", u"1/1/1599"})
        EXPECT_EQ(TextToValue(text, 64, 0), std::nullopt) << std::string(text.begin(), text.end());
    EXPECT_EQ(dateAndTimeText(fileTimeOf(0)), u"");
    EXPECT_EQ(dateAndTimeText(fileTimeOf(125962560010000000)), u"Tuesday, February 29, 2000 12:00:01 AM");
}

struct FakeRegistry final : suOptionRegistry
{
    std::optional<std::u16string> machineEnvironment(std::u16string_view) const override { return machine; }
    std::optional<std::uint32_t> programOption(std::u16string_view) const override { return program; }
    std::optional<std::u16string> generalValue(std::u16string_view) const override { return u"OTHER;SOME_OPTION"; }

    std::optional<std::u16string> machine;
    std::optional<std::uint32_t> program;
};

TEST(Options, TheFirstSourceThatAnswersIsTaken)
{
    const std::u16string name = u"SOME_OPTION";
    EXPECT_FALSE(isOptionSet(name));
    FakeRegistry registry;
    setOptionRegistry(&registry);
    EXPECT_TRUE(isOptionSet(name));
    registry.program = 0;
    EXPECT_FALSE(isOptionSet(name)) << "the program's own key comes before the product's";
    registry.machine = u"SOME_OPTION";
    EXPECT_TRUE(isOptionSet(name));
    setOptionOverride(u"some_option", false);
    EXPECT_FALSE(isOptionSet(name));
    setOptionRegistry(nullptr);
    clearOptionOverrides();
    EXPECT_FALSE(isOptionSet(name));
}

} // namespace
} // namespace kvdm::test
