#include "platform/text/casing.h"

#include <gtest/gtest.h>

#include <map>

using namespace kvdm;

namespace {

TEST(Casing, EveryUnitMapsToOneUnitAsThePlatformHasIt)
{
    struct
    {
        char16_t lower, upper;
    } const pairs[] = {{u'a', u'A'},           {u'z', u'Z'},           {u'\u00E9', u'\u00C9'}, {u'\u00FF', u'\u0178'}, {u'\u0101', u'\u0100'},
                       {u'\u03B1', u'\u0391'}, {u'\u0434', u'\u0414'}, {u'\u0561', u'\u0531'}, {u'\u1E01', u'\u1E00'}, {u'\u01C6', u'\u01C4'},
                       {u'\u2170', u'\u2160'}, {u'\u24D0', u'\u24B6'}, {u'\uFF41', u'\uFF21'}, {u'\u1F80', u'\u1F88'}};
    for (const auto& pair : pairs) {
        EXPECT_EQ(upperUnit(pair.lower), pair.upper) << std::hex << +pair.lower;
        EXPECT_EQ(lowerUnit(pair.upper), pair.lower) << std::hex << +pair.upper;
        EXPECT_EQ(upperUnit(pair.upper), pair.upper);
        EXPECT_EQ(lowerUnit(pair.lower), pair.lower);
    }
    EXPECT_EQ(upperUnit(u'\u03C2'), u'\u03A3'); // the final sigma
}

TEST(Casing, UnitsWithoutAPairOfTheirOwnStay)
{
    // Micro sign, sharp s, dotless and dotted i, long s, title case, later alphabets, surrogates, ideographs, signs.
    for (const char16_t unit : {u'\u00B5', u'\u00DF', u'\u0131', u'\u0130', u'\u017F', u'\u01C5', u'\u10D0', u'\uAB70', u'\x4E2D', u'@', u'[', u'`',
                                u'{', u'0', char16_t(0xD800), char16_t(0xDC28), u'\0', u'\uFFFF'}) {
        EXPECT_EQ(upperUnit(unit), unit) << std::hex << +unit;
        EXPECT_EQ(lowerUnit(unit), unit) << std::hex << +unit;
    }
    EXPECT_EQ(upperText(u"Stra\u00DFe \u00E4"), u"STRA\u00DFE \u00C4");
    EXPECT_EQ(lowerText(u"\u0130I\u0410"), u"\u0130i\u0430");
}

TEST(Casing, OrderIsThatOfUpperCasedUnits)
{
    EXPECT_EQ(compareNoCase(u"Width", u"wIDTH"), 0);
    EXPECT_LT(compareNoCase(u"a", u"B"), 0);
    EXPECT_GT(compareNoCase(u"_", u"z"), 0); // "_" stands between the two cases: after upper-cased letters
    EXPECT_LT(compareNoCase(u"ab", u"abc"), 0);
    EXPECT_GT(compareNoCase(u"b", u"abc"), 0);
    EXPECT_LT(compareNoCase(u"", u"a"), 0);
    EXPECT_EQ(compareNoCase(u"\u00E4\u0416", u"\u00C4\u0436"), 0);
    EXPECT_FALSE(equalNoCase(u"ss", u"\u00DF"));
    EXPECT_EQ(compareNoCase(std::u16string_view(u"a\0b", 3), std::u16string_view(u"A\0B", 3)), 0);

    const std::map<std::u16string, int, LessNoCase> map{{u"Beta", 2}, {u"alpha", 1}, {u"BETA", 3}};
    ASSERT_EQ(map.size(), 2u);
    EXPECT_EQ(map.begin()->first, u"alpha");
    EXPECT_EQ(map.find(std::u16string_view(u"bEtA"))->second, 2);
}

} // namespace
