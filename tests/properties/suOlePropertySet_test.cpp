#include "properties/suOlePropertySet.h"

#include "properties/suOptions.h"
#include "propertyBytes.h"

#include <gtest/gtest.h>

namespace kvdm::test {
namespace {

// A set over a stream in memory.
struct SetUnderTest
{
    explicit SetUnderTest(const std::string& bytes, std::int32_t documentVersion = 3700, std::int32_t writtenVersion = 3700)
    {
        outcome = set.Read(*ForeignStream::over(toBytes(bytes), plan), documentVersion, writtenVersion);
    }
    bool readAgain(const std::string& bytes) { return set.Read(*ForeignStream::over(toBytes(bytes), plan), 3700, 3700); }
    std::string written()
    {
        const ComPtr<IStream> target = ForeignStream::over({}, plan);
        EXPECT_TRUE(set.Write(*target));
        const Bytes bytes = readAll(*target).value_or(Bytes());
        return std::string(bytes.begin(), bytes.end());
    }
    suOlePropertySection& user() { return set.requireSection(userPropertiesFormat); }
    std::vector<std::uint32_t> ids()
    {
        std::vector<std::uint32_t> all;
        for (const suOleProperty& property : user().getProperties())
            all.push_back(property.id);
        return all;
    }
    std::u16string nameOf(std::uint32_t id)
    {
        const std::u16string* name = user().FindNameById(id);
        return name ? *name : u"(none)";
    }

    ForeignPlan plan;
    suOlePropertySet set{userPropertiesFormat};
    bool outcome = false;
};

const std::string codePage1252 = shortValue(1252);

TEST(PropertySet, EveryTypeGoesBackAsItCame)
{
    const std::string eight = le(0x0123456789ABCDEF, 8);
    const std::string five = le32(5) + "12345";
    RawValues values = {{1, codePage1252}};
    const auto add = [&](std::uint32_t type, const std::string& payload) {
        values.push_back({static_cast<std::uint32_t>(values.size() + 1), le32(type) + padded(payload)});
    };
    add(0, "");
    for (const std::uint32_t type : {2u, 11u, 18u})
        add(type, "ab");
    for (const std::uint32_t type : {3u, 4u, 19u})
        add(type, "abcd");
    for (const std::uint32_t type : {5u, 6u, 7u, 20u, 64u})
        add(type, eight);
    for (const std::uint32_t type : {8u, 30u, 65u, 66u, 67u, 68u, 69u, 70u, 71u, 73u, 74u, 75u})
        add(type, five);
    add(31, le32(3) + std::string("a\0b\0\0\0", 6));
    add(72, eight + eight);
    add(0x1002, le32(3) + "aabbcc");
    add(0x1003, le32(2) + eight);
    add(0x101E, le32(2) + five + le32(1) + "x"); // packed, with no padding between
    add(0x1008, le32(1) + five);
    add(0x100C, le32(2) + textValue("Title") + numberValue(1)); // elements that no reader here understands
    const std::size_t count = values.size();
    std::vector<std::pair<std::uint32_t, std::string>> names = {{0, "Section"}};
    for (std::size_t id = 2; id <= count; ++id)
        names.push_back({static_cast<std::uint32_t>(id), "N" + std::to_string(100 + id)});
    values.push_back({0, dictionary(names)});

    std::string stream = userStream(values);
    stream.replace(0, 24, std::string(24, '\x11')); // header fields are not tested
    SetUnderTest t(stream);
    EXPECT_TRUE(t.outcome);
    EXPECT_EQ(t.user().getProperties().size(), count);
    EXPECT_EQ(t.user().sectionName, u"Section");
    EXPECT_EQ(t.written(), stream);
    EXPECT_EQ(t.written(), stream) << "a second write is the same";
    EXPECT_EQ(t.user().getProperties().size(), count + 1) << "the dictionary stands in the list from the first write on";
}

TEST(PropertySet, ReadsWhateverPiecesTheStreamGives)
{
    const std::string stream = userStream({{1, codePage1252}, {2, textValue(std::string(9000, 'x'))}, {0, dictionary({{0, ""}, {2, "Long"}})}});
    for (const ULONG piece : {1u, 7u, 4096u}) {
        SetUnderTest t("");
        t.plan.largestRead = piece;
        EXPECT_TRUE(t.readAgain(stream)) << piece;
        EXPECT_EQ(t.written(), stream) << piece;
        EXPECT_FALSE(t.set.isLeftAlone());
    }
}

// What is damaged costs the section, or the rest of the set; what was read before stays, and nobody writes over the stream.
TEST(PropertySet, DamageCostsNoMoreThanItsSection)
{
    const std::string good = rawSection({{1, codePage1252}, {2, textValue("two")}, {0, dictionary({{0, ""}, {2, "Two"}})}});
    const std::string names = dictionary({{0, ""}, {2, "Two"}});
    const std::string damaged[] = {
        le32(8),                                                                 // no property count
        le32(24) + le32(2) + le32(1) + le32(16),                                 // table cut off
        rawSection({{2, le32(9) + le32(0)}, {0, names}}),                        // unknown type
        rawSection({{2, le32(76) + le32(0)}, {0, names}}),                       //
        rawSection({{2, le32(0x2003) + le32(0)}, {0, names}}),                   //
        rawSection({{0, names}, {2, le32(3)}}),                                  // values cut off
        rawSection({{0, names}, {2, le32(30) + le32(0xFFFFFFFF) + "x"}}),        //
        rawSection({{0, names}, {2, le32(31) + le32(0x80000001) + "x"}}),        // twice the count passes 32 bits
        rawSection({{0, names}, {2, le32(0x1003) + le32(0x40000001) + "abcd"}}), // so does four times
        rawSection({{0, names}, {2, le32(0x1003) + le32(1) + "abcd"}}),          // a vector as the last bytes
        rawSection({{2, textValue("two")}, {0, le32(0xFFFFFFFF) + le32(0) + le32(1) + '\0'}}),
        rawSection({{2, textValue("two")}, {0, le32(1) + le32(2) + le32(257) + std::string(257, 'n')}}),
        le32(16) + le32(1) + le32(2) + le32(0xFFFFFFF0), // offset past everything
    };
    for (const std::string& section : damaged) {
        SetUnderTest t(rawSet(userGuid, {{userGuid, good}, {summaryGuid, section}}));
        EXPECT_TRUE(t.outcome);
        EXPECT_EQ(t.set.getSections().size(), 1u) << &section - damaged;
        EXPECT_EQ(t.nameOf(2), u"Two");
        EXPECT_TRUE(t.set.isLeftAlone());
        t.user().SetProperty(2, "new", VT_LPSTR);
        EXPECT_FALSE(t.set.isLeftAlone());
    }
    SetUnderTest unknown(userStream({{1, shortValue(1200)}, {2, textValue("two")}, {0, names}}));
    EXPECT_TRUE(unknown.outcome);
    EXPECT_TRUE(unknown.set.isLeftAlone()) << "nothing here knows its code page";
}

TEST(PropertySet, AStreamThatEndsOrFailsEarlyIsLeftAlone)
{
    const std::string good = userStream({{1, codePage1252}, {2, textValue("two")}, {0, dictionary({{0, ""}, {2, "Two"}})}});
    std::string stream = good;
    stream.replace(24, 4, le32(0xFFFFFFFF)); // sections without end: their table runs into the first section and out of it
    SetUnderTest t(stream);
    EXPECT_FALSE(t.outcome);
    EXPECT_EQ(t.nameOf(2), u"Two") << "what was read before stays";
    EXPECT_TRUE(t.set.isLeftAlone());
    t.plan.failAt = t.plan.calls + 2;
    EXPECT_TRUE(t.readAgain(good)) << "all that it asks for is there";
    EXPECT_TRUE(t.set.isLeftAlone()) << "but there may be more behind the fault";
}

// Every property shares one long value: with nothing to stop it, work and memory grow with the square of the stream.
TEST(PropertySet, SharedValuesDoNotMultiply)
{
    constexpr std::uint32_t count = 20000;
    std::string table;
    for (std::uint32_t id = 2; id < count + 2; ++id)
        table += le32(id) + le32(8 + 8 * count);
    const std::string section = le32(0) + le32(count) + table + le32(0x101E) + le32(50000) + std::string(4 * 50000, '\0');
    SetUnderTest t(rawSet(userGuid, {{userGuid, section}}));
    EXPECT_TRUE(t.outcome);
    EXPECT_TRUE(t.set.getSections().empty());

    std::string two = userStream({{1, codePage1252}, {2, textValue("shared")}, {3, ""}, {0, dictionary({{0, ""}, {2, "A"}, {3, "B"}})}});
    two.replace(48 + 8 + 2 * 8 + 4, 4, two.substr(48 + 8 + 8 + 4, 4)); // the third value is the second
    SetUnderTest sharing(two);
    EXPECT_EQ(sharing.user().findById(3)->payload(), le32(7) + std::string("shared\0", 7));
}

TEST(PropertySet, IdsOfTheUserSectionAreCleaned)
{
    const RawValues values = {{1, codePage1252},
                              {2, textValue("plain")},
                              {4, textValue("owner")},
                              {0x01000004, textValue("its companion")},
                              {0x01000009, textValue("companion of nobody")},
                              {8, textValue("no name")},
                              {0x80000000, numberValue(1033)},
                              {0x80000001, numberValue(7)},
                              {0x81000001, textValue("companion of a reserved id")},
                              {0x01000005, textValue("a companion with a name")},
                              {0x80000009, textValue("counts without its top bit")}};
    RawValues withNames = values;
    withNames.push_back(
        {0, dictionary({{0, ""}, {2, "Plain"}, {4, "Owner"}, {0x80000001, "Reserved"}, {0x01000005, "Fresh"}, {0x80000009, "High"}, {77, "Ghost"}})});
    SetUnderTest t(userStream(withNames));
    EXPECT_EQ(t.ids(), (std::vector<std::uint32_t>{1, 2, 4, 0x01000004, 0x80000000, 10, 0x0100000A, 11, 0x80000009}));
    EXPECT_EQ(t.nameOf(10), u"Reserved");
    EXPECT_EQ(t.nameOf(11), u"Fresh");
    EXPECT_EQ(t.user().FindIdByName(u"ghost"), std::nullopt);

    SetUnderTest kept(rawSet(documentGuid, {{summaryGuid, rawSection(withNames)}}));
    EXPECT_EQ(kept.set.findSection(summaryFormat)->getProperties().size(), values.size()) << "other sections keep their ids";
}

TEST(PropertySet, NamesHaveAliasesAndAnOrder)
{
    SetUnderTest t(userStream(
        {{1, codePage1252},
         {2, textValue("a")},
         {3, textValue("b")},
         {4, textValue("c")},
         {5, textValue("d")},
         {0, dictionary({{0, ""}, {2, "KV-Stem(Z)@x"}, {3, "KV-Open(rest"}, {4, "Plain(alias)"}, {5, "zeta"}, {5, "Beta"}, {4, "ZETA"}})}}));
    suOlePropertySection& user = t.user();
    EXPECT_EQ(t.nameOf(2), u"KV-Stem");
    EXPECT_EQ(t.nameOf(3), u"KV-Open");
    EXPECT_EQ(t.nameOf(4), u"Plain(alias)");
    EXPECT_EQ(t.nameOf(5), u"Beta") << "the first in order of upper case, whichever came first";
    EXPECT_EQ(user.FindIdByName(u"kv-z"), 2u);
    EXPECT_EQ(user.FindIdByName(u"alias"), std::nullopt);
    EXPECT_EQ(user.FindPropertyByName(u"KV-none(z)"), user.findById(2)) << "by the alias";
    EXPECT_EQ(user.FindPropertyByName(u"KV-stem(none)"), user.findById(2)) << "by the stem";
    EXPECT_EQ(user.FindPropertyByName(u"beta(z)"), nullptr);

    EXPECT_FALSE(user.AddName(4, u"BETA")) << "known in another case";
    EXPECT_TRUE(user.AddName(4, u"KV-Open(Z)")) << "and takes both aliases over";
    EXPECT_EQ(user.FindIdByName(u"kv-z"), 4u);
    EXPECT_TRUE(user.RemoveProperty(5));
    EXPECT_EQ(user.FindIdByName(u"beta"), std::nullopt);
    EXPECT_EQ(user.FindIdByName(u"zeta"), 5u) << "only the first name goes";
}

TEST(PropertySet, FreeIdsFollowTheLargest)
{
    const std::tuple<std::vector<std::uint32_t>, std::uint32_t, std::uint32_t> cases[] = {
        {{}, 3, 3}, {{1, 2}, 3, 3}, {{1, 7, 4}, 8, 8}, {{5, 0x01000000}, 6, 6}, {{5, 0x80000009}, 6, 10}, {{0x00FFFFFF}, 0x01000000, 0x01000000}};
    for (const auto& [ids, free, freeWithTopBit] : cases) {
        suOlePropertySection section(userPropertiesFormat);
        for (const std::uint32_t id : ids)
            section.SetProperty(id, le32(0), VT_I4);
        EXPECT_EQ(section.NextFreeId(), free);
        EXPECT_EQ(section.NextFreeId(0x80000000), freeWithTopBit);
    }
}

TEST(PropertySet, ValuesAreSetInTheirCallersForm)
{
    suOlePropertySection section(userPropertiesFormat, 3800);
    const std::tuple<std::uint32_t, std::string, std::string, std::string> taken[] = {
        {3, le32(7), le32(7), le32(7)},
        {30, std::string("ab\0c", 4), le32(3) + std::string("ab\0", 3), std::string("ab\0", 3)},
        {31, std::string("a\0", 2), le32(2) + std::string("a\0\0\0", 4), std::string("a\0\0\0", 4)},
        {8, std::string("a\0", 2), le32(2) + std::string("a\0", 2), std::string("a\0\0\0", 4)},
        {65, le32(3) + "abc", le32(3) + "abc", le32(3) + "abc"},
        {71, le32(3) + "abc", le32(3) + "abc", "abc"},
        {0x1003, le32(2) + "abcdefgh", le32(2) + "abcdefgh", le32(2) + "abcdefgh"}};
    for (const auto& [type, value, payload, back] : taken) {
        EXPECT_TRUE(section.SetProperty(5, value, type, u"Name")) << type;
        EXPECT_EQ(section.findById(5)->payload(), payload) << type;
        EXPECT_EQ(section.GetPropertyValue(5), back) << type;
    }
    for (const std::uint32_t type : {12u, 18u, 19u, 76u})
        EXPECT_FALSE(section.SetProperty(5, le32(1), type)) << type;
    EXPECT_FALSE(section.SetProperty(5, "abc", VT_I4)) << "too short";
    EXPECT_FALSE(section.SetProperty(5, le32(4) + "abc", VT_BLOB)) << "longer than it is";
    EXPECT_EQ(section.GetPropertyValue(6), std::nullopt);
    section.SetProperty(5, le32(1), VT_I4, u"Other name");
    EXPECT_EQ(*section.FindNameById(5), u"Name") << "a known property keeps its name";
}

// The texts are those of another release's code page. What comes out was made by an independent writer.
TEST(PropertySet, TextsOfANewerReleaseMoveToTheSystemsCodePage)
{
    const std::string size = "Gr\xC3\xB6\xC3\x9F\x65";
    const std::string before = userStream({{1, shortValue(65001)},
                                           {2, textValue("Ma\xC3\x9F: 5 \xE2\x82\xAC")},
                                           {0x01000002, textValue("Ma\xC3\x9F: 5 \xE2\x82\xAC!")},
                                           {3, flagValue(true)},
                                           {0, dictionary({{0, ""}, {3, "Flag " + size}, {2, size}})}});
    const std::string after =
        fromHex("feff00000600020005d5cdd59c2e1b10939708002b2cf9ae0100000005d5cdd59c2e1b10939708002b2cf9ae30000000980000000500000001000000300000000200"
                "000038000000020000014c0000000300000060000000000000006800000002000000000000001e000000090000004d61df3a20352080000000001e000000"
                "0a0000004d61df3a20352080210000000b000000ffff000003000000000000000100000000030000000b000000466c6167204772f6df65000200000006000000477"
                "2f6df65000000");
    SetUnderTest t(before, 3320, 3321);
    EXPECT_EQ(t.user().CodePage(), 0u);
    EXPECT_EQ(t.nameOf(2), u"Gr\u00F6\u00DFe");
    EXPECT_EQ(t.written(), after);

    SetUnderTest asWritten(before, 3321, 3321);
    EXPECT_EQ(asWritten.user().CodePage(), 65001u);
    EXPECT_EQ(asWritten.written(), before);
}

TEST(PropertySet, TheExplorerOptionReadsNamesAsUtf8)
{
    const RawValues named = {{2, textValue("\xC3\x9F")}, {0, dictionary({{0, ""}, {2, "\xC3\x9F"}})}};
    RawValues withPage = named;
    withPage.insert(withPage.begin(), {1, codePage1252});
    setOptionOverride(u"USE_WINDOWS_EXPLORER_PROPERTIES", true);
    SetUnderTest t(userStream(withPage));
    SetUnderTest without(userStream(named));
    clearOptionOverrides();
    EXPECT_EQ(t.nameOf(2), u"\u00DF");
    EXPECT_EQ(t.user().findById(2)->payload(), le32(2) + std::string("\xDF\0", 2)) << "texts are brought into the section's page";
    EXPECT_EQ(without.nameOf(2), u"\u00C3\u0178") << "a section without property 1 is not asked";
}

TEST(PropertySet, LongNamesAreCutBetweenCharacters)
{
    SetUnderTest t(userStream({{1, shortValue(65001)}, {2, textValue("two")}, {0, dictionary({{0, ""}, {2, "Two"}})}}));
    t.user().SetProperty(3, le32(1), VT_I4, u"a" + std::u16string(200, u'\u00DF'));
    SetUnderTest again(t.written());
    EXPECT_EQ(again.nameOf(3), u"a" + std::u16string(127, u'\u00DF')) << "255 bytes";
    EXPECT_EQ(again.written(), t.written());
}

TEST(PropertySet, AHundredThousandPropertiesAreNoBurden)
{
    suOlePropertySet set(userPropertiesFormat);
    suOlePropertySection& section = set.requireSection(userPropertiesFormat);
    for (std::uint32_t i = 0; i < 100000; ++i) {
        const std::string digits = std::to_string(i);
        section.SetProperty(section.NextFreeId(), le32(i), VT_I4, u"Property " + std::u16string(digits.begin(), digits.end()));
    }
    SetUnderTest again(set.makeStream());
    suOlePropertySection& read = again.user();
    ASSERT_EQ(read.getProperties().size(), 100000u);
    EXPECT_EQ(read.FindPropertyByName(u"PROPERTY 99999")->payload(), le32(99999));
    for (std::uint32_t id = 3; id < 100003; ++id)
        ASSERT_TRUE(read.FindNameById(id) && read.RemoveProperty(id));
    EXPECT_EQ(read.getNames().size(), 0u);
}

} // namespace
} // namespace kvdm::test
