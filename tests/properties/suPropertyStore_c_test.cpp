#include "properties/suPropertyStore_c.h"

#include "common/exceptions.h"
#include "propertyBytes.h"

#include <gtest/gtest.h>

namespace kvdm::test {
namespace {

const std::u16string visibleName(visiblePropertiesStream);
const std::string emptyDictionary = dictionary({{0, ""}});

RawValues someValues()
{
    return {{1, shortValue(1252)},
            {2, textValue("steel")},
            {0x01000002, textValue("\"KV-Material@Part\"")},
            {3, le32(5) + le(0x3FF8000000000000, 8)},
            {4, flagValue(true)},
            {5, textValue("locked")},
            {0, dictionary({{0, ""}, {4, "Checked"}, {2, "Material"}, {3, "Weight"}, {5, "_PID_LOCKPERSON"}})}};
}

// A store read from a stream of the given values in the user section.
struct StoreUnderTest
{
    explicit StoreUnderTest(const RawValues& values = someValues())
    {
        storage = storageWith({{visibleName, visibleStream(values)}}, plan);
        EXPECT_TRUE(store.Read(*storage, {}, 3700));
    }
    std::string written()
    {
        EXPECT_TRUE(store.Write(*storage));
        return streamOf(*storage, visibleName);
    }
    std::u16string text(std::u16string_view name)
    {
        std::uint32_t type = 0;
        std::u16string value = u"left";
        return store.GetCustomProperty(name, type, value) ? value + u" " + char16_t(u'0' + type / 10) + char16_t(u'0' + type % 10) : u"none" + value;
    }

    ForeignPlan plan;
    ComPtr<IStorage> storage;
    suPropertyStore_c store{true};
};

// What the system's own empty store looks like, byte by byte.
TEST(PropertyStore, ANewStoreWritesBothSections)
{
    ForeignPlan plan;
    const auto storage = storageWith({}, plan);
    suPropertyStore_c visible(true);
    EXPECT_FALSE(visible.Read(*storage, {}, 3700)) << "a missing stream is no error, but nothing was read";
    EXPECT_EQ(visible.GetCustomPropertyCount(), 0u);
    ASSERT_TRUE(visible.Write(*storage));
    std::string expected = rawSet(documentGuid, {{documentGuid, rawSection({{0, emptyDictionary}})}, {userGuid, rawSection({{0, emptyDictionary}})}});
    expected.replace(4, 4, le32(0x0002000A));
    EXPECT_EQ(streamOf(*storage, visibleName), expected);
}

TEST(PropertyStore, TheVersionMarkerCountsBelow3321AndGoesWithASave)
{
    const RawValues values = {{1, shortValue(65001)}, {2, textValue("\xC3\x9F")}, {0, dictionary({{0, ""}, {2, "\xC3\x9F"}})}};
    const std::tuple<std::int32_t, std::string, std::u16string> cases[] = {
        {3320, le32(3321), u"\u00DF"}, {3320, "\xF9\x0C", u"\u00C3\u0178"}, {3321, le32(3320), u"\u00DF"}, {3320, le32(0xFFFFFFFF), u"\u00C3\u0178"}};
    for (const std::u16string& stream : {visibleName, std::u16string(u"Config-7-Properties")}) {
        const std::u16string markerName = stream == visibleName ? u"DocumentSummaryInformation_V" : u"Config-7-Properties_V";
        for (const auto& [documentVersion, marker, name] : cases) {
            ForeignPlan plan;
            const auto storage = storageWith({{stream, userStream(values)}, {markerName, marker}}, plan);
            suPropertyStore_c store(false);
            EXPECT_TRUE(store.Read(*storage, stream == visibleName ? u"" : stream, documentVersion));
            EXPECT_EQ(store.GetCustomPropertyNames(), std::vector<std::u16string>{name}) << documentVersion;
            EXPECT_TRUE(store.Write(*storage, stream == visibleName ? u"" : stream));
            EXPECT_EQ(streamOf(*storage, markerName), "(none)");
        }
    }
}

TEST(PropertyStore, WhatDidNotReadWholeStaysAsItIs)
{
    const std::string broken = visibleStream({{2, le32(76)}, {0, emptyDictionary}});
    for (const bool denied : {false, true}) {
        ForeignPlan plan;
        const auto storage = storageWith({{visibleName, broken}, {u"DocumentSummaryInformation_V", le32(3321)}}, plan);
        plan.failAt = denied ? 3 : 0; // behind opening and reading the marker
        plan.failure = STG_E_ACCESSDENIED;
        suPropertyStore_c store(true);
        store.Read(*storage, {}, 3320);
        EXPECT_EQ(store.GetCustomPropertyCount(), 0u);
        EXPECT_TRUE(store.Write(*storage));
        EXPECT_EQ(streamOf(*storage, visibleName), broken);
        EXPECT_EQ(streamOf(*storage, u"DocumentSummaryInformation_V"), le32(3321)) << "what tells the stream's code page stays with it";
        EXPECT_TRUE(store.AddCustomProperty(u"New", 3, u"1"));
        EXPECT_TRUE(store.Write(*storage));
        EXPECT_NE(streamOf(*storage, visibleName), broken);
    }
}

TEST(PropertyStore, WritingThatFailsIsTold)
{
    StoreUnderTest t;
    for (const long call : {3, 4}) { // the marker goes, the stream is opened, emptied, written
        t.plan.failAt = t.plan.calls + call;
        EXPECT_THROW(t.store.Write(*t.storage), suFileException) << call;
    }
    t.plan.failAt = t.plan.calls + 2;
    t.plan.failsOnwards = true;
    EXPECT_FALSE(t.store.Write(*t.storage));
    EXPECT_FALSE(t.store.Write(*t.storage, u"Config-0-Properties"));
    EXPECT_EQ(t.plan.live, 1) << "the storage";
}

TEST(CustomProperties, AreListedInTheOrderOfTheFile)
{
    StoreUnderTest t;
    EXPECT_EQ(t.plan.modes, std::vector<DWORD>{STGM_READ | STGM_SHARE_EXCLUSIVE});
    const auto all = t.store.GetAllCustomPropertyNamesAndValues();
    std::u16string told;
    for (const suCustomProperty& property : all)
        told += property.name + u"|" + char16_t(u'0' + property.type) + u"|" + property.linkedTo + u"|" + property.value + u"\n";
    EXPECT_EQ(told, u"Material|N|\"KV-Material@Part\"|steel\nWeight|3||1.500000\nChecked|;||Yes\n"); // types 30, 3, 11
    EXPECT_EQ(t.store.GetCustomPropertyCount(), 3u);
    EXPECT_EQ(t.store.GetCustomPropertyNames(), (std::vector<std::u16string>{u"Material", u"Weight", u"Checked"}));
    EXPECT_EQ(t.text(u"MATERIAL"), u"\"KV-Material@Part\" 30") << "found in any case, the link before the value";
    EXPECT_EQ(t.text(u"_PID_LOCKPERSON"), u"none");
}

TEST(CustomProperties, AddTakesFreeNamesAndFittingValues)
{
    StoreUnderTest t;
    const std::tuple<std::u16string_view, std::uint32_t, std::u16string_view, std::u16string_view> added[] = {
        {u"New", 30, u"Yes", u"Yes 30"},
        {u"Count", 3, u"-15", u"-15 03"},
        {u"Size", 3, u"1.5", u"1.500000 03"},
        {u"Flag", 11, u"anything", u"No 11"},
        {u"Date", 64, u"2/29/2000", u"2/29/2000 64"}};
    for (const auto& [name, type, value, text] : added) {
        EXPECT_TRUE(t.store.AddCustomProperty(name, type, value));
        EXPECT_EQ(t.text(name), text);
    }
    EXPECT_TRUE(t.store.AddCustomProperty(u"KV-Mass(unit)", 30, u"m"));
    EXPECT_EQ(t.text(u"KV-Mass"), u"m 30") << "it is listed under the first of its three names";
    EXPECT_EQ(t.store.GetCustomPropertyCount(), 9u);
    for (const std::u16string_view name : {u"material", u"NEW", u"_PID_LOCKPERSON", u"kv-UNIT"})
        EXPECT_FALSE(t.store.AddCustomProperty(name, 30, u"x")) << std::string(name.begin(), name.end());
    const std::pair<std::uint32_t, std::u16string_view> unfit[] = {{3, u"-1.5"}, {3, u"x"}, {64, u""}, {0, u"x"}, {31, u"x"}};
    for (const auto& [type, value] : unfit)
        EXPECT_FALSE(t.store.AddCustomProperty(u"Unfit", type, value)) << type;
    EXPECT_EQ(t.store.GetCustomPropertyCount(), 9u);
    EXPECT_FALSE(t.store.dirty);
}

TEST(CustomProperties, AddedPropertiesStandBehindTheOthersAndTheDictionaryLast)
{
    StoreUnderTest t({{0, dictionary({{0, "S"}, {9, "Nine"}})}, {1, shortValue(1252)}, {9, textValue("nine")}});
    EXPECT_TRUE(t.store.AddCustomProperty(u"Alpha", 3, u"7"));
    EXPECT_TRUE(t.store.AddCustomProperty(u"Text", 30, std::u16string(2000, u'x')));
    EXPECT_EQ(t.written(), visibleStream({{1, shortValue(1252)},
                                          {9, textValue("nine")},
                                          {10, numberValue(7)},
                                          {11, textValue(std::string(1023, 'x'))},
                                          {0, dictionary({{0, "S"}, {10, "Alpha"}, {9, "Nine"}, {11, "Text"}})}}));
}

TEST(CustomProperties, ANewPropertyHasNeitherLinkNorNamesOfAnOldOne)
{
    const std::string link = textValue("link");
    StoreUnderTest t({{1, shortValue(1252)}, {3, textValue("no name")}, {0x01000003, link}, {0x01000003, link}, {0, emptyDictionary}});
    EXPECT_TRUE(t.store.AddCustomProperty(u"New", 30, u"value"));
    EXPECT_EQ(t.text(u"New"), u"value 30");
    EXPECT_TRUE(t.store.AddCustomProperty(u"KV-Mass(unit)", 30, u"m") && t.store.DeleteCustomProperty(u"KV-Mass"));
    EXPECT_FALSE(t.store.AddCustomProperty(u"KV-unit", 30, u"x")) << "the other names of a deleted one stay in use";
    EXPECT_TRUE(t.store.AddCustomProperty(u"Next", 30, u"value"));
    EXPECT_EQ(t.text(u"Next"), u"value 30");
}

TEST(CustomProperties, NothingIsOverwrittenPastTheLastId)
{
    StoreUnderTest t({{1, shortValue(1252)},
                      {0x00FFFFFF, textValue("last")},
                      {0x01000000, textValue("largest")},
                      {0, dictionary({{0, ""}, {0x01000000, "Largest"}, {0x00FFFFFF, "Last"}})}});
    EXPECT_FALSE(t.store.AddCustomProperty(u"More", 30, u"x"));
    EXPECT_EQ(t.text(u"Largest"), u"largest 30");
}

TEST(CustomProperties, SetKeepsTheTypeAndCutsTheLink)
{
    StoreUnderTest t;
    EXPECT_TRUE(t.store.SetCustomProperty(u"MATERIAL", u"brass"));
    EXPECT_TRUE(t.store.dirty);
    EXPECT_EQ(t.text(u"Material"), u"brass 30");
    EXPECT_EQ(t.store.getUserSection().findById(0x01000002), nullptr);
    EXPECT_TRUE(t.store.SetCustomProperty(u"Weight", u"2"));
    EXPECT_EQ(t.text(u"Weight"), u"2.000000 03");
    EXPECT_FALSE(t.store.SetCustomProperty(u"Weight", u"heavy"));
    EXPECT_EQ(t.text(u"Weight"), u"2.000000 03");
    EXPECT_FALSE(t.store.SetCustomProperty(u"Nothing", u"x"));
    EXPECT_FALSE(t.store.SetCustomProperty(u"_PID_LOCKPERSON", u"x"));
    EXPECT_TRUE(t.store.AddCustomProperty(u"Count", 3, u"1"));
    EXPECT_TRUE(t.store.SetCustomProperty(u"Count", u"1.25"));
    EXPECT_EQ(t.store.getUserSection().findById(6)->type, 5u) << "a point makes a number a real";
}

TEST(CustomProperties, DeleteTakesTheLinkAlong)
{
    StoreUnderTest t;
    EXPECT_FALSE(t.store.DeleteCustomProperty(u"Nothing"));
    EXPECT_TRUE(t.store.DeleteCustomProperty(u"material"));
    EXPECT_FALSE(t.store.dirty);
    RawValues left = someValues();
    left.erase(left.begin() + 1, left.begin() + 3);
    left.back().second = dictionary({{0, ""}, {4, "Checked"}, {3, "Weight"}, {5, "_PID_LOCKPERSON"}});
    EXPECT_EQ(t.written(), visibleStream(left));
}

TEST(ReservedProperties, AreSetReadAndDeletedByName)
{
    StoreUnderTest t;
    EXPECT_EQ(t.store.GetLock(), std::nullopt);
    EXPECT_EQ(t.store.GetLockPerson(), u"locked");
    t.store.SetLock(-3);
    t.store.SetLockPerson(u"somebody");
    t.store.SetLinkList({u"C:\\a.txt"}, nullptr);
    t.written();
    ASSERT_TRUE(t.store.Read(*t.storage, {}, 3700));
    EXPECT_EQ(t.store.GetLock(), -3);
    EXPECT_EQ(t.store.GetLockPerson(), u"somebody");
    EXPECT_EQ(t.store.GetCustomPropertyCount(), 3u) << "none of them is a custom property";
    std::vector<std::u16string> links;
    EXPECT_EQ(t.store.GetLinkList(links), 1u);
    EXPECT_TRUE(t.store.DeleteCustomProperty(u"_PID_HLINKS")) << "though no listing shows it";
    EXPECT_EQ(t.store.GetLinkList(links), 0u);
    EXPECT_FALSE(t.store.DeleteCustomProperty(u"_PID_HLINKS"));
}

} // namespace
} // namespace kvdm::test
