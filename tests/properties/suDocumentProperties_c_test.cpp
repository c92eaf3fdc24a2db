#include "properties/suDocumentProperties_c.h"

#include "properties/suOlePropertyHelper.h"
#include "properties/suSummaryInformation_c.h"
#include "propertyBytes.h"
#include "storage/archive/su_CArchive.h"
#include "storage/archive/suMemoryFile.h"
#include "support/ArchiveBuilder.h"

#include <gtest/gtest.h>

namespace kvdm::test {
namespace {

using Texts = std::vector<std::u16string>;

const std::u16string visibleName(visiblePropertiesStream);
const std::u16string invisibleName(invisiblePropertiesStream);
const std::u16string summaryName(summaryStream);
const std::string emptyDictionary = dictionary({{0, ""}});

// Two links of which the first was changed, as another writer stored them: as wanted, and as they were saved.
const std::string wantedBlob = fromHex("41000000940000000c000000"
                                       "030000000000000003000000000000000300000000000000030000000000020"
                                       "01f0000000d00000043003a005c006e0065007700200061002e00740078007400000000001f0000000100000000000000"
                                       "0300000000000000030000000000000003000000000000000300000000000000"
                                       "1f00000005000000530041004d004500000000001f0000000100000000000000");
const std::string savedBlob = fromHex("410000008c0000000c000000"
                                      "030000000000000003000000000000000300000000000000030000000000020"
                                      "01f0000000900000043003a005c0061002e00740078007400000000001f0000000100000000000000"
                                      "0300000000000000030000000000000003000000000000000300000000000000"
                                      "1f00000005000000730061006d006500000000001f0000000100000000000000");
const Texts wantedLinks = {u"C:\\new a.txt", u"SAME"};
const Texts savedLinks = {u"C:\\a.txt", u"same"};

std::string linkStream(const std::string& blob)
{
    return userStream({{1, shortValue(1252)}, {4, blob}, {0, dictionary({{0, ""}, {4, "_PID_HLINKS"}})}});
}

struct DocumentUnderTest
{
    DocumentUnderTest(const std::string& visible, const std::string& invisible)
    {
        storage = storageWith({{visibleName, visible}, {invisibleName, invisible}}, plan);
        document.Read(*storage, 3700);
    }
    const suOleProperty* property(bool visible, std::u16string_view name)
    {
        return document.getStore(visible).getUserSection().FindPropertyByName(name);
    }
    std::string bytesOf(const suOleProperty* property)
    {
        return property ? le32(property->type) + padded(std::string(property->payload())) : "(none)";
    }
    const suOleProperty* changedFlag() { return document.getStore(true).getDocSummarySection()->findById(22); }

    ForeignPlan plan;
    ComPtr<IStorage> storage;
    suDocumentProperties_c document;
};

TEST(LinkLists, AreReadFromBothStores)
{
    DocumentUnderTest t(linkStream(wantedBlob), linkStream(savedBlob));
    Texts saved = {u"before"};
    Texts wanted;
    EXPECT_FALSE(t.document.GetLinkLists(saved, &wanted)) << "no flag says that they were changed";
    EXPECT_EQ(saved, (Texts{u"before", u"C:\\a.txt", u"same"}));
    EXPECT_EQ(wanted, wantedLinks);
    t.document.getStore(true).getDocSummarySection()->SetProperty(22, le16(0xFFFF), VT_BOOL);
    EXPECT_TRUE(t.document.GetLinkLists(saved, &wanted));
    t.document.getStore(false).SetLinkList({u"one"}, nullptr);
    EXPECT_FALSE(t.document.GetLinkLists(saved, &wanted)) << "of different lengths";
}

TEST(LinkLists, AreWrittenByteForByte)
{
    const std::string none = userStream({{1, shortValue(1252)}, {0, emptyDictionary}});
    DocumentUnderTest t(none, none);
    t.document.SetLinkLists(savedLinks, &wantedLinks);
    EXPECT_EQ(t.bytesOf(t.property(true, u"_PID_HLINKS")), wantedBlob);
    EXPECT_EQ(t.bytesOf(t.property(false, u"_PID_HLINKS")), savedBlob);
    EXPECT_EQ(t.property(true, u"_PID_HLINKS")->id, 3u);
    EXPECT_EQ(t.bytesOf(t.changedFlag()), flagValue(true));

    const Texts shorter = {u"one"};
    t.document.SetLinkLists(savedLinks, &shorter);
    EXPECT_EQ(t.bytesOf(t.property(true, u"_PID_HLINKS")), wantedBlob) << "lists of different lengths are not taken";
    t.document.SetLinkLists({u"C:\\a.txt"}, nullptr);
    EXPECT_EQ(t.bytesOf(t.property(true, u"_PID_HLINKS")), t.bytesOf(t.property(false, u"_PID_HLINKS")));
    EXPECT_EQ(t.bytesOf(t.changedFlag()), flagValue(false));
    t.document.SetLinkLists({}, nullptr);
    EXPECT_EQ(t.property(true, u"_PID_HLINKS"), nullptr);

    const Texts emptied = {u"", u"x"};
    t.document.SetLinkLists({u"gone", u""}, &emptied);
    const auto flagOfFirst = [&](bool visible, std::size_t link) {
        return t.bytesOf(t.property(visible, u"_PID_HLINKS")).substr(12 + link * 60 + 28, 4);
    };
    EXPECT_EQ(flagOfFirst(true, 0), le32(0x20000));
    EXPECT_EQ(flagOfFirst(false, 0), le32(0x10000)) << "the other link is empty";
}

TEST(LinkLists, DamageEndsTheListAndNothingElse)
{
    const std::string item = le32(3) + le32(0);
    const std::string text = le32(31) + le32(2) + std::string("a\0\0\0", 4);
    const std::tuple<std::string, std::size_t, Texts, bool> cases[] = {{"", 0, {}, true},
                                                                       {text + text + text + text, 2, {u"a", u"a"}, true},
                                                                       {le32(0) + item + text, 1, {u"a"}, false},
                                                                       {text + le32(77) + item, 0, {u"a"}, false},
                                                                       {text + text + le32(31) + le32(0x80000001) + "xx", 1, {u"a"}, false},
                                                                       {text + le32(31) + std::string("\0\0", 2), 1, {u"a"}, false},
                                                                       {le32(31) + le32(1) + "ab", 1, {u"\u6261"}, false}};
    for (const auto& [items, count, links, isWhole] : cases) {
        const std::string blob = le32(65) + padded(le32(static_cast<std::uint32_t>(items.size() + 4)) + le32(0xFFFFFFFF) + items);
        DocumentUnderTest t(linkStream(blob), linkStream(blob));
        Texts got;
        EXPECT_EQ(t.document.getStore(false).GetLinkList(got), count);
        EXPECT_EQ(got, links);
        EXPECT_EQ(t.document.getStore(false).isLinkListWhole(), isWhole);
    }
    DocumentUnderTest none(linkStream(textValue("no list")), linkStream(le32(65) + le32(0)));
    Texts got;
    EXPECT_EQ(none.document.getStore(true).GetLinkList(got) + none.document.getStore(false).GetLinkList(got), 0u);
    EXPECT_FALSE(none.document.getStore(true).isLinkListWhole());
}

TEST(LinkLists, RenamedFilesAreReplacedWhereTheyWereSaved)
{
    DocumentUnderTest t(linkStream(wantedBlob), linkStream(savedBlob));
    EXPECT_FALSE(t.document.ReplaceLinkName(u"c:\\A.TXT", u"C:\\a.txt")) << "the same name in another case";
    EXPECT_FALSE(t.document.ReplaceLinkName(u"C:\\new a.txt", u"x")) << "only the wanted list has it";
    EXPECT_TRUE(t.document.ReplaceLinkName(u"c:\\A.TXT", u"C:\\b.txt"));
    Texts saved;
    Texts wanted;
    EXPECT_TRUE(t.document.GetLinkLists(saved, &wanted));
    EXPECT_EQ(saved, (Texts{u"C:\\b.txt", u"same"}));
    EXPECT_EQ(wanted, wantedLinks);
}

TEST(DocumentProperties, EachStoreHasItsStream)
{
    const auto stream = [](const std::string& name) {
        return userStream({{1, shortValue(1252)}, {2, textValue("x")}, {0, dictionary({{0, ""}, {2, name}})}});
    };
    DocumentUnderTest t(stream("Seen"), stream("Hidden"));
    EXPECT_EQ(t.document.getStore(true).GetCustomPropertyNames(), Texts{u"Seen"});
    EXPECT_EQ(t.document.getStore(false).GetCustomPropertyNames(), Texts{u"Hidden"});
    EXPECT_TRUE(t.document.Write(*t.storage));
    EXPECT_EQ(streamOf(*t.storage, invisibleName), stream("Hidden"));
    EXPECT_EQ(streamOf(*t.storage, summaryName), "(none)") << "that is written elsewhere";
    t.plan.failAt = t.plan.calls + 1;
    t.plan.failsOnwards = true;
    EXPECT_FALSE(t.document.Write(*t.storage));
}

// The fields that another writer stored.
std::string summaryBytes()
{
    return rawSet(summaryGuid, {{summaryGuid, rawSection({{1, shortValue(1252)},
                                                          {2, textValue("Ma\xDF")},
                                                          {5, textValue("one; two;;three")},
                                                          {8, textValue("somebody")},
                                                          {12, le32(64) + le(125962560010000000, 8)},
                                                          {13, le32(64) + le(0, 8)},
                                                          {0, emptyDictionary}})}});
}

struct CollectedKeywords final : suKeywordSet
{
    CollectedKeywords() { setKeywordSet(this); }
    ~CollectedKeywords() { setKeywordSet(nullptr); }
    void add(std::u16string_view keyword) override { all.emplace_back(keyword); }
    Texts all;
};

TEST(SummaryInformation, ANewOneHasEmptyFields)
{
    ForeignPlan plan;
    const auto storage = storageWith({}, plan);
    suSummaryInformation_c summary;
    EXPECT_FALSE(summary.Read(*storage, 3700));
    ASSERT_TRUE(summary.Write(*storage));
    const std::string text = textValue("");
    const std::string time = le32(64) + le(0, 8);
    std::string expected =
        rawSet(summaryGuid,
               {{summaryGuid,
                 rawSection({{2, text}, {3, text}, {4, text}, {5, text}, {6, text}, {8, text}, {13, time}, {12, time}, {0, emptyDictionary}})}});
    expected.replace(4, 4, le32(0x0002000A));
    EXPECT_EQ(streamOf(*storage, summaryName), expected);
}

TEST(SummaryInformation, FieldsAreTextsAndTheDatesLongOnes)
{
    CollectedKeywords keywords;
    ForeignPlan plan;
    const auto storage = storageWith({{summaryName, summaryBytes()}}, plan);
    suSummaryInformation_c summary;
    EXPECT_TRUE(summary.Read(*storage, 3700));
    EXPECT_EQ(summary.getField(SummaryField::title), u"Ma\u00DF");
    EXPECT_EQ(summary.getField(SummaryField::subject), u"") << "absent";
    EXPECT_EQ(summary.getField(SummaryField::lastSavedBy), u"somebody");
    EXPECT_EQ(summary.getField(SummaryField::creationDate), u"Tuesday, February 29, 2000 12:00:01 AM");
    EXPECT_EQ(summary.getField(SummaryField::lastSavedDate), u"");
    EXPECT_EQ(keywords.all, (Texts{u"one", u" two", u"three"}));

    EXPECT_TRUE(summary.setField(SummaryField::author, u"A\u00DF"));
    EXPECT_FALSE(summary.setField(SummaryField::lastSavedBy, u"x"));
    EXPECT_FALSE(summary.setField(SummaryField::creationDate, u"x"));
    summary.stampSave();
    ASSERT_TRUE(summary.Write(*storage));
    suSummaryInformation_c again;
    EXPECT_TRUE(again.Read(*storage, 3700));
    EXPECT_EQ(again.getField(SummaryField::author), u"A\u00DF");
    EXPECT_EQ(again.getField(SummaryField::creationDate), u"Tuesday, February 29, 2000 12:00:01 AM");
    EXPECT_FALSE(again.getField(SummaryField::lastSavedDate).empty());
    EXPECT_NE(again.getField(SummaryField::lastSavedBy), u"somebody");
}

TEST(SummaryInformation, WhatDidNotReadWholeIsNotStampedOver)
{
    const std::string broken = summaryBytes().substr(0, 100);
    ForeignPlan plan;
    const auto storage = storageWith({{summaryName, broken}}, plan);
    suSummaryInformation_c summary;
    summary.Read(*storage, 3700);
    summary.stampSave();
    EXPECT_TRUE(summary.Write(*storage));
    EXPECT_EQ(streamOf(*storage, summaryName), broken);
    EXPECT_TRUE(summary.setField(SummaryField::title, u"new"));
    summary.stampSave();
    EXPECT_TRUE(summary.Write(*storage));
    suSummaryInformation_c again;
    EXPECT_TRUE(again.Read(*storage, 3700));
    EXPECT_EQ(again.getField(SummaryField::title), u"new");
    EXPECT_FALSE(again.getField(SummaryField::lastSavedDate).empty());
}

TEST(PropertyHelper, IsATextAndANumberInObjectStreams)
{
    ArchiveBuilder expected;
    expected.object("suOlePropertyHelper").text(u"Gr\u00F6\u00DFe").u32(77);
    registerPropertyClasses();
    suMemoryFile file(expected.bytes);
    su_CArchive loading(&file, su_CArchive::load | su_CArchive::noFlushOnDelete);
    const auto read = loading.ReadObjectOf<suOlePropertyHelper>();
    EXPECT_EQ(read->name, u"Gr\u00F6\u00DFe");
    EXPECT_EQ(read->value, 77u);
    suMemoryFile target;
    su_CArchive storing(&target, su_CArchive::store);
    storing.WriteObject(read);
    storing.Flush();
    EXPECT_EQ(target.content(), expected.bytes);
}

} // namespace
} // namespace kvdm::test
