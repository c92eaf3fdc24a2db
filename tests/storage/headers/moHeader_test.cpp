#include "headerTools.h"

#include "storage/headers/moLogs_c.h"

namespace kvdm::test {
namespace {

TEST(DocumentHeader, AnOverrideInTheHistoryRulesTheFieldsUpToValue1329)
{
    struct Case
    {
        std::u16string last;
        int version; // of the upper fields
    };
    const Case cases[] = {{u"KESTROVANE_INTERNAL_1300", 1300},     {u"13KESTROVANE_INTERNAL_0KESTROVANE_INTERNAL_0", 1300},
                          {u" KESTROVANE_INTERNAL_+1300x9", 1300}, {u"KESTROVANE_INTERNAL_99999999999999999999", 3800},
                          {u"KESTROVANE_INTERNAL_-1", 37},         {u"KESTROVANE_INTERNAL_", 0}};
    for (const Case& each : cases) {
        HeaderSample sample{.version = 3100, .history = {u"Created", each.last}, .bodyVersion = each.version};
        const auto header = readObject<moHeader_c>(headerStream(sample), 3100);
        EXPECT_EQ(header->historyStrings->elements, std::vector<std::u16string>{u"Created"});
        EXPECT_EQ(header->value1329, each.version == 1300 || each.version == 37 ? 2u : 1329u);
        EXPECT_EQ(header->componentCount, 2957u);
        EXPECT_EQ(header->value3319, 0u);
    }
    // One entry is not looked at, nor is one that is not the last.
    for (const auto& history : {std::vector<std::u16string>{u"KESTROVANE_INTERNAL_1300"}, {u"KESTROVANE_INTERNAL_1300", u"Saved"}}) {
        const auto header = readObject<moHeader_c>(headerStream({.version = 3100, .history = history}), 3100);
        EXPECT_EQ(header->historyStrings->elements, history);
        EXPECT_EQ(header->value1329, 1329u);
    }
    // What was read under an override is stored in the form of the document, and no entry is left that says otherwise.
    const auto header = readObject<moHeader_c>(
        headerStream(
            {.version = 3100, .history = {u"Created", u"Saved", u"KESTROVANE_INTERNAL_1200", u"KESTROVANE_INTERNAL_3000"}, .bodyVersion = 3000}),
        3100);
    EXPECT_EQ(storeObject(*header, 3100), headerStream({.version = 3100}));
}

TEST(DocumentHeader, StampOf101ReadsAs102)
{
    const FixedClock clock;
    const auto old = readObject<moHeader_c>(headerStream({.version = 3000, .lastUpdateStamp = 101}), 3000);
    EXPECT_EQ(old->lastUpdateStamp, 102u);
    EXPECT_EQ(old->classChangeTime, fixedNow);
    const auto present = readObject<moHeader_c>(headerStream({.lastUpdateStamp = 101}), 3800);
    EXPECT_EQ(present->classChangeTime, 1650000000); // the stream's own comes later
}

TEST(DocumentHeader, NullObjectsAndNullLogsAreSurvived)
{
    ArchiveBuilder bytes;
    bytes.object("moHeader_c").null().null().object("su_CObList").count(3).null().object("moLogs_c").count(0).u32(1).textUtf16(u"").null();
    bytes.u32(0xFFFFFFFF).u32(5).null().u32(7).null().u32(1).u32(2).u32(3).u32(4).u32(5).u32(6).u32(7).null().u32(8).u32(9).u32(10);
    const auto header = readObject<moHeader_c>(bytes.bytes, 3800);
    EXPECT_EQ(header->saveTime, -1);
    EXPECT_EQ(header->logs->elements.size(), 1u);
    EXPECT_EQ(header->firstStampTime(), std::nullopt);
    EXPECT_EQ(header->classChangeTime, 10);
    EXPECT_FALSE(storeObject(*header, 3800).empty());
}

TEST(DocumentHeader, FieldsOfAnotherClassAreRefused)
{
    const std::tuple<const char*, ArchiveBuilder> cases[] = {
        {"history", ArchiveBuilder().object("moHeader_c").object("su_CStringList").count(0)},
        {"logs", ArchiveBuilder().object("moHeader_c").null().null().object("su_CObArray").count(0)},
        {"references", ArchiveBuilder().object("moHeader_c").null().null().null().u32(1).u32(2).object("suObList").count(0)},
        {"history by tag", ArchiveBuilder().object("moHeader_c").objectTag(2)},
    };
    for (const auto& [name, bytes] : cases) {
        Loader in(bytes);
        const dmSerializeContext context(in.archive, 3800);
        EXPECT_EQ(causeOf([&] { in.archive.ReadObject(); }), suArchiveException::badClass) << name;
    }
    Loader in(ArchiveBuilder().object("moExtObject_c").object("moStamp_c").u16(1).u16(2).u16(3).u32(4).textUtf16(u""));
    const dmSerializeContext context(in.archive, 3800);
    EXPECT_THROW(in.archive.ReadObject(), suFileException); // a path record of another class
}

TEST(DocumentHeader, LogsAreSweptBeforeTheyAreStored)
{
    moLogs_c logs;
    const auto inner = std::make_shared<moLogs_c>();
    inner->elements = {nullptr, std::make_shared<moStamp_c>(moStamp_c::forPresentUser())};
    logs.elements = {std::make_shared<su_CStringArray>(), inner, nullptr};
    storeObject(logs, 3800);
    EXPECT_EQ(logs.elements.size(), 1u);
    EXPECT_EQ(inner->elements.size(), 1u);
    EXPECT_FALSE(inner->firstStamp()->stampName.empty());
}

// The clock stands at 21 November 2025.
TEST(DocumentHeader, SaveTimesOfThisYearAreCorrectedWhenStored)
{
    const FixedClock clock;
    constexpr std::int64_t january = 1736000000; // 4 January 2025
    constexpr std::int64_t june = 1750000000;    // 15 June 2025
    constexpr std::int64_t lastYear = 1730000000;
    struct Case
    {
        std::int64_t saveTime, createTime;
        unsigned flags;
        std::int64_t expected;
    };
    const Case cases[] = {
        {january, 1500000000, 16, fixedNow}, {june, 1500000000, 16, 1500000000},   {june, 0, 16, fixedNow},  {june, -1, 16, fixedNow},
        {june, 1500000000, 128, june},       {lastYear, 1500000000, 16, lastYear}, {-1, 1500000000, 16, -1}, {0, 1500000000, 0, 0}};
    for (const Case& each : cases) {
        moHeader_c header;
        header.saveTime = each.saveTime;
        header.createTime = each.createTime;
        const Bytes bytes = storeObject(header, 3800, each.flags);
        EXPECT_EQ(header.saveTime, each.expected) << each.saveTime << ' ' << each.createTime << ' ' << each.flags;
        EXPECT_EQ(readObject<moHeader_c>(bytes, 3800)->saveTime, each.expected);
    }
}

TEST(DocumentHeader, CopiesGetTimesOfTheirOwn)
{
    const FixedClock clock;
    const auto header = readObject<moHeader_c>(headerStream({}), 3800);
    Storer out;
    dmSerializeContext context(out.archive, 3800, 0);
    context.copyMode = true;
    out.archive.WriteObject(header);
    EXPECT_EQ(out.bytes(), headerStream({.createTime = 1600000000}));
    EXPECT_EQ(context.times, (std::map<std::int64_t, std::int64_t>{{1500000000, 1600000000}}));

    const std::pair<std::uint32_t, std::int64_t> cases[] = {
        {1600000000, fixedNow}, {0, 1600000000}, {0xFFFFFFFF, 1600000000}, {1500000000, 1500000000}};
    for (const auto& [stored, expected] : cases) {
        Loader in(headerStream({.createTime = stored}));
        dmSerializeContext copying(in.archive, 3800, 0);
        copying.copyMode = true;
        const auto copy = in.archive.ReadObjectOf<moHeader_c>();
        EXPECT_EQ(copy->createTime, expected);
        EXPECT_EQ(copy->ownExtObject->stamp.stampTime, expected == 1500000000 ? 1690000001 : expected);
    }
}

TEST(References, AreListedAsFarAsTheyCount)
{
    const auto record = [](std::u16string path, int external, int inContext, int broken) {
        auto made = std::make_shared<moExtObject_c>();
        made->SetPath(std::move(path));
        made->externalCount = external;
        made->inContextCount = inContext;
        made->brokenCount = broken;
        made->isVirtual = broken;
        return made;
    };
    moExtObjectList_c list;
    list.elements = {record(u"C:\\A.kvdprt", 1, 0, 0),
                     nullptr,
                     record(u"c:\\a.KVDPRT", 2, 1, 1),
                     std::make_shared<su_CStringArray>(),
                     record(u"ctx", 0, 1, 0),
                     record(u"none", 0, 0, 0),
                     record(u"", -1, 3, 0)};
    list.elements.push_back(std::make_shared<moExtObject_c>());
    using Paths = std::vector<std::u16string>;
    std::vector<KvDmReferenceStatus> statuses;
    std::vector<std::int32_t> virtuals;
    EXPECT_EQ(list.ListReferences(false, true, true, &statuses, &virtuals), (Paths{u"C:\\A.kvdprt", u"c:\\a.KVDPRT", u"ctx", u""}));
    EXPECT_EQ(statuses, (std::vector<KvDmReferenceStatus>{kvDmReferenceStatusNotBroken, kvDmReferenceStatusBroken, kvDmReferenceStatusNotBroken,
                                                          kvDmReferenceStatusNotBroken}));
    EXPECT_EQ(virtuals, (std::vector<std::int32_t>{0, 1, 0, 0}));
    EXPECT_EQ(list.ListReferences(true, true, true), (Paths{u"C:\\A.kvdprt", u"ctx", u""}));
    EXPECT_EQ(list.ListReferences(false, true, false), (Paths{u"C:\\A.kvdprt", u"c:\\a.KVDPRT"}));
    EXPECT_EQ(list.ListReferences(false, false, true), (Paths{u"c:\\a.KVDPRT", u"ctx", u""}));
    EXPECT_EQ(list.ListReferences(false, false, false), Paths{});
}

TEST(References, PathsOfTheWebAreKnownAtAnyCase)
{
    moObjFileDef_c file;
    file.setPath(u"HTTP://host/a.kvdprt");
    EXPECT_TRUE(file.isWebPath());
    EXPECT_EQ(file.webPath, u"HTTP://host/a.kvdprt");
    file.webPath = u"http://other"; // what is stored for a web path
    EXPECT_EQ(readObject<moObjFileDef_c>(storeObject(file, 3800), 3800)->pathName, u"http://other");
    for (const char16_t* path : {u"C:\\http.kvdprt", u"htt", u""}) {
        file.setPath(path);
        EXPECT_FALSE(file.isWebPath());
        EXPECT_EQ(file.webPath, u"");
    }
}

} // namespace
} // namespace kvdm::test
