// Every field of the headers at the version that brought it and at the one before.
#include "headerTools.h"

#include "storage/headers/moLogs_c.h"

#include <set>

namespace kvdm::test {
namespace {

template <class Object> struct FieldRow
{
    const char* name;
    int first; // the version that brought it, 0 for always
    std::int64_t (*value)(const Object&);
    std::int64_t stored;
    std::int64_t absent;
};

// Each threshold and the version before it, with the ends of the readable versions and the present format.
template <class Object, std::size_t count> std::set<int> versionsAround(const FieldRow<Object> (&rows)[count])
{
    std::set<int> versions{0, 37, 68, 69, 1248, 1249, 1270, 1271, 2037, 2038, 3027, 3028, 3326, 3327, 3800};
    for (const auto& row : rows)
        versions.insert({row.first, std::max(row.first - 1, 0)});
    return versions;
}

template <class Object, std::size_t count> void expectFields(const FieldRow<Object> (&rows)[count], const Object& object, int version)
{
    for (const auto& row : rows)
        EXPECT_EQ(row.value(object), version == 0 || version >= row.first ? row.stored : row.absent) << row.name << " at " << version;
}

const FieldRow<moHeader_c> headerRows[] = {
    {"saveTime", 241, [](const moHeader_c& h) { return h.saveTime; }, 1700000000, fixedNow},
    {"headerFlags", 0, [](const moHeader_c& h) { return std::int64_t{h.headerFlags}; }, 5, 0},
    {"lastUpdateStamp", 151, [](const moHeader_c& h) { return std::int64_t{h.lastUpdateStamp}; }, 7, 0},
    {"ownExtObject", 217, [](const moHeader_c& h) { return std::int64_t{h.ownExtObject ? h.ownExtObject->objectId : 0}; }, 1, 0},
    {"value780", 780, [](const moHeader_c& h) { return std::int64_t{h.value780}; }, 780, 0},
    {"value1253", 1253, [](const moHeader_c& h) { return std::int64_t{h.value1253}; }, 1253, 0},
    {"detachedDrawingFlag", 1281, [](const moHeader_c& h) { return std::int64_t{h.detachedDrawingFlag}; }, 1, 0},
    {"createTime", 1286, [](const moHeader_c& h) { return h.createTime; }, 1500000000, 1600000000},
    {"value1329", 1329, [](const moHeader_c& h) { return std::int64_t{h.value1329}; }, 1329, 2},
    {"value2138", 2138, [](const moHeader_c& h) { return std::int64_t{h.value2138}; }, 2138, 0},
    {"modelFlags", 2335, [](const moHeader_c& h) { return std::int64_t{h.modelFlags}; }, 0x2335, 0},
    {"linkedAttachments", 2722,
     [](const moHeader_c& h) { return static_cast<std::int64_t>(h.linkedAttachments ? h.linkedAttachments->elements.size() : 0); }, 2, 0},
    {"componentCount", 2957, [](const moHeader_c& h) { return std::int64_t{h.componentCount}; }, 2957, 0},
    {"value3319", 3319, [](const moHeader_c& h) { return std::int64_t{h.value3319}; }, 3319, 0},
    {"classChangeTime", 3677, [](const moHeader_c& h) { return h.classChangeTime; }, 1650000000, 0},
};

const FieldRow<moExtObject_c> extObjectRows[] = {
    {"objectId", 0, [](const moExtObject_c& o) { return std::int64_t{o.objectId}; }, 11, 0},
    {"documentType", 0, [](const moExtObject_c& o) { return std::int64_t{o.documentType}; }, 2, 0},
    {"externalCount", 99, [](const moExtObject_c& o) { return std::int64_t{o.externalCount}; }, -3, 0},
    {"inContextCount", 109, [](const moExtObject_c& o) { return std::int64_t{o.inContextCount}; }, 2, 0},
    {"stampVersion", 2270, [](const moExtObject_c& o) { return std::int64_t{o.stampVersion}; }, 5, -1},
    {"stampValue2", 2270, [](const moExtObject_c& o) { return std::int64_t{o.stamp.stampValue2}; }, 65535, 0},
    {"stampTime", 2270, [](const moExtObject_c& o) { return o.stamp.stampTime; }, 1690000001, 0},
    {"brokenCount", 2769, [](const moExtObject_c& o) { return std::int64_t{o.brokenCount}; }, 1, 0},
    {"isVirtual", 3478, [](const moExtObject_c& o) { return std::int64_t{o.isVirtual}; }, 1, 0},
    {"timeStamp", 2038, [](const moExtObject_c& o) { return std::int64_t{o.fileDef->timeStamp}; }, 1690000000, fixedNow},
    {"typeCode", 0, [](const moExtObject_c& o) { return std::int64_t{o.fileDef->typeCode}; }, 17, 0},
};

const FieldRow<dmConfigHeader_c> configurationRows[] = {
    {"kind", 0, [](const dmConfigHeader_c& c) { return std::int64_t{c.configurationKind}; }, 0, 0},
    {"id", 0, [](const dmConfigHeader_c& c) { return std::int64_t{c.configurationId}; }, 7, 0},
    {"lastUpdateStamp", 1341, [](const dmConfigHeader_c& c) { return std::int64_t{c.lastUpdateStamp}; }, 1348, 0},
    {"description", 2037, [](const dmConfigHeader_c& c) { return static_cast<std::int64_t>(c.description.size()); }, 11, 0},
    {"parentId", 2037, [](const dmConfigHeader_c& c) { return std::int64_t{c.parentId}; }, 0, -1},
    {"value2136", 2136, [](const dmConfigHeader_c& c) { return std::int64_t{c.value2136}; }, 2136, 0},
    {"comment", 2610, [](const dmConfigHeader_c& c) { return static_cast<std::int64_t>(c.comment.size()); }, 7, 0},
    {"alternateName", 2610, [](const dmConfigHeader_c& c) { return static_cast<std::int64_t>(c.alternateName.size()); }, 9, 0},
};

TEST(HeaderLayout, DocumentHeaderHasItsFieldsFromTheirVersionsOn)
{
    const FixedClock clock;
    for (const int version : versionsAround(headerRows)) {
        const auto header = readObject<moHeader_c>(headerStream({.version = version, .narrow = version != 0 && version < 2000}), version);
        ASSERT_NE(header, nullptr);
        expectFields(headerRows, *header, version);
        EXPECT_EQ(header->historyStrings->elements, (std::vector<std::u16string>{u"Created", u"Saved"}));
        EXPECT_EQ(header->auxStrings->elements, std::vector<std::u16string>{u"aux"});
        const auto logs = header->logs->elementsOf<moLogs_c>();
        ASSERT_EQ(logs.size(), 1u);
        EXPECT_EQ(logs[0]->logValue, 4);
        EXPECT_EQ(logs[0]->logName, u"log");
        EXPECT_EQ(logs[0]->firstStamp()->stampName, u"first");
        EXPECT_EQ(logs[0]->firstStamp()->stampValue3, 0xFFFE);
        // Whatever the version, texts are stored as UTF-16; all else goes back as it came.
        EXPECT_EQ(storeObject(*header, version), headerStream({.version = version})) << version;
    }
}

TEST(HeaderLayout, ReferenceRecordsHaveTheirFieldsFromTheirVersionsOn)
{
    const FixedClock clock;
    for (const int version : versionsAround(extObjectRows)) {
        ArchiveBuilder bytes;
        bytes.object("moExtObject_c");
        appendExtObject(bytes, version, 11, u"C:\\work\\a.kvdprt", -3, 2, 1);
        const auto record = readObject<moExtObject_c>(bytes.bytes, version);
        expectFields(extObjectRows, *record, version);
        EXPECT_EQ(record->getPath(), u"C:\\work\\a.kvdprt");
        EXPECT_EQ(record->GetFileName(), u"a.kvdprt");
        EXPECT_EQ(record->fileDef->fileName, u"file.kvdprt");
        EXPECT_EQ(storeObject(*record, version), bytes.bytes) << version;
    }
}

TEST(HeaderLayout, ConfigurationsHaveTheirFieldsFromTheirVersionsOn)
{
    for (const int version : versionsAround(configurationRows)) {
        if (version == 0)
            continue; // a configuration needs to know its version
        const auto header = readObject<dmConfigMgrHeader_c>(configMgrHeaderStream(version, version < 2000), version);
        ASSERT_EQ(header->configurations().size(), 2u);
        const dmConfigHeader_c& first = *header->configurations()[0];
        EXPECT_EQ(first.configurationKind, 1);
        EXPECT_EQ(first.name, u"Default");
        EXPECT_EQ(first.parentId, -1);
        expectFields(configurationRows, *header->configurations()[1], version);
        EXPECT_EQ(header->configurations()[1]->getConfigurationNodeName(), u"Config-7");
        EXPECT_EQ(header->activeValue, version < 1282 ? 0 : -1);
        ASSERT_EQ(header->referencedList.size(), version >= 3028 && version <= 3326 ? 2u : 0u) << version;
        if (!header->referencedList.empty()) {
            EXPECT_EQ(header->referencedList[0]->objectId, 99u);
            EXPECT_EQ(header->referencedList[1], nullptr);
        }
        EXPECT_EQ(storeObject(*header, version), configMgrHeaderStream(version)) << version;
    }
}

TEST(HeaderLayout, WithoutAContextSerializingIsAFileException)
{
    moHeader_c header;
    dmConfigHeader_c configuration;
    moExtObject_c record;
    moObjFileDef_c file;
    moStamp_c stamp;
    for (su_CObject* object : std::initializer_list<su_CObject*>{&header, &configuration, &record, &file, &stamp}) {
        Storer out;
        try {
            object->serialize(out.archive);
            ADD_FAILURE() << object->getRuntimeClass().name;
        } catch (const suFileException& failure) {
            EXPECT_EQ(failure.cause, suFileException::generic);
            EXPECT_EQ(failure.osError, -1);
        }
    }
    Storer out;
    const dmSerializeContext present(out.archive, 0);
    EXPECT_THROW(configuration.serialize(out.archive), suFileException);
}

} // namespace
} // namespace kvdm::test
