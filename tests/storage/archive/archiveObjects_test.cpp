#include "archiveTools.h"

#include "storage/archive/objectCollections.h"
#include "storage/archive/persistentClasses.h"
#include "storage/archive/stringCollections.h"
#include "storage/archive/valueArrays.h"

namespace kvdm::test {
namespace {

int livingNodes = 0;

// A class of a higher room: it counts its objects and notes the schema that it was read with.
class uoModelData_c : public suPersistent<uoModelData_c, su_CObList>
{
public:
    static constexpr std::string_view streamName = "uoModelData_c";
    uoModelData_c() { ++livingNodes; }
    ~uoModelData_c() override { --livingNodes; }
    void serialize(su_CArchive& archive) override
    {
        if (archive.IsLoading())
            schemaBefore = archive.m_nObjectSchema;
        su_CObList::serialize(archive);
        if (archive.IsLoading())
            schemaAfter = archive.m_nObjectSchema;
    }
    void replacedBy(su_CObject& other) override { replacement = &other; }

    std::uint32_t schemaBefore = 0;
    std::uint32_t schemaAfter = 0;
    su_CObject* replacement = nullptr;
};

class FixedSchema : public su_CObject
{
public:
    static constexpr suRuntimeClass runtimeClass{"fixedSchema_c", 3, &su_CObject::runtimeClass, &createObject<FixedSchema>};
    const suRuntimeClass& getRuntimeClass() const noexcept override { return runtimeClass; }
};

class ArchiveObjects : public ::testing::Test
{
protected:
    void SetUp() override
    {
        registerPersistentClass(uoModelData_c::runtimeClass);
        registerPersistentClass(FixedSchema::runtimeClass);
    }
    void TearDown() override { EXPECT_EQ(livingNodes, 0); }
};

TEST_F(ArchiveObjects, WriteClassRecordsOnceAndTagsAfterwards)
{
    const auto words = std::make_shared<su_CWordArray>();
    words->elements = {7};
    su_CObList list;
    list.elements = {words, nullptr, std::make_shared<su_CWordArray>(), words};
    Storer out;
    out.archive.WriteObject(&list);

    ArchiveBuilder expected;
    expected.object("su_CObList").count(4).object("su_CWordArray").count(1).u16(7);
    const auto first = expected.lastIndex();
    expected.null().object("su_CWordArray").count(0).objectTag(first);
    EXPECT_EQ(out.bytes(), expected.bytes);

    Loader in(expected);
    const auto back = in.archive.ReadObjectOf<su_CObList>();
    ASSERT_EQ(back->elements.size(), 4u);
    EXPECT_EQ(back->elements[0], back->elements[3]);
    EXPECT_EQ(back->elements[1], nullptr);
    EXPECT_EQ(back->elementsOf<su_CWordArray>().size(), 3u);
}

TEST_F(ArchiveObjects, IndicesFrom7fffOnTakeThirtyTwoBits)
{
    su_CObList list;
    for (int i = 0; i < 0x8000; ++i)
        list.elements.push_back(std::make_shared<su_CByteArray>());
    const auto late = std::make_shared<su_CStringArray>();
    list.elements.push_back(late);
    list.elements.push_back(late);
    list.elements.push_back(std::make_shared<su_CStringArray>());
    Storer out;
    out.archive.WriteObject(&list);

    ArchiveBuilder expected;
    expected.object("su_CObList").count(0x8003);
    for (int i = 0; i < 0x8000; ++i)
        expected.object("su_CByteArray").count(0);
    expected.object("su_CStringArray").count(0).objectTag(expected.lastIndex());
    expected.object("su_CStringArray").count(0);
    ASSERT_EQ(out.bytes(), expected.bytes);

    Loader in(expected);
    const auto back = in.archive.ReadObjectOf<su_CObList>();
    EXPECT_EQ(back->elements[0x8000], back->elements[0x8001]);
    EXPECT_TRUE(back->elements[0x8002]->isKindOf(su_CStringArray::runtimeClass));
}

TEST_F(ArchiveObjects, CollectionsAreFoundUnderTheNameOfTheFramework)
{
    const std::pair<const char*, const suRuntimeClass&> cases[] = {{"CByteArray", su_CByteArray::runtimeClass},
                                                                   {"CObList", su_CObList::runtimeClass},
                                                                   {"CStringArray", su_CStringArray::runtimeClass},
                                                                   {"su_CDWordArray", su_CDWordArray::runtimeClass},
                                                                   {"uoPart_c", uoModelData_c::runtimeClass}};
    for (const auto& [name, expected] : cases) {
        Loader in(ArchiveBuilder().newClass(name));
        EXPECT_EQ(in.archive.ReadClass(), &expected) << name;
    }
    for (const char* unknown : {"CObjectList", "ObList", "coblist", "obList", "", "su_CObject", "CObject"}) {
        Loader in(ArchiveBuilder().newClass(unknown));
        EXPECT_EQ(causeOf([&] { in.archive.ReadClass(); }), suArchiveException::badClass) << unknown;
    }
}

TEST_F(ArchiveObjects, SchemasOfTheFileAreDeliveredWhileTheObjectIsRead)
{
    ArchiveBuilder bytes;
    bytes.object("uoModelData_c", 0x7000).count(2).object("su_CByteArray", 9).count(0).object("uoModelData_c").count(0);
    Loader in(bytes);
    const auto outer = in.archive.ReadObjectOf<uoModelData_c>();
    EXPECT_EQ(outer->schemaBefore, 0x7000u);
    EXPECT_EQ(outer->schemaAfter, 0x7000u);
    EXPECT_EQ(outer->elementsOf<uoModelData_c>().at(0)->schemaBefore, 0x7000u); // an old class keeps the file's schema
    EXPECT_EQ(in.archive.m_nObjectSchema, su_CArchive::noSchema);

    Loader fixed(ArchiveBuilder().object("fixedSchema_c", 3).object("fixedSchema_c"));
    EXPECT_NE(fixed.archive.ReadObject(), nullptr);
    Loader other(ArchiveBuilder().object("fixedSchema_c", 4));
    EXPECT_EQ(causeOf([&] { other.archive.ReadObject(); }), suArchiveException::badSchema);
    Loader pointers(ArchiveBuilder().object("CPtrList", 0xFFFF).object("CPtrArray", 1));
    EXPECT_NE(pointers.archive.ReadObject(), nullptr);
    EXPECT_EQ(causeOf([&] { pointers.archive.ReadObject(); }), suArchiveException::badSchema);
}

TEST_F(ArchiveObjects, ReadClassTellsClassSchemaAndTag)
{
    ArchiveBuilder bytes;
    bytes.newClass("su_CByteArray", 5).classTag(1).objectTag(3);
    Loader in(bytes);
    std::uint32_t schema = 0;
    std::uint32_t tag = 0;
    EXPECT_EQ(in.archive.ReadClass(nullptr, &schema, &tag), &su_CByteArray::runtimeClass);
    EXPECT_EQ(schema, 5u);
    EXPECT_EQ(in.archive.ReadClass(&su_CObject::runtimeClass), &su_CByteArray::runtimeClass);
    EXPECT_EQ(in.archive.m_nObjectSchema, 5u);
    EXPECT_EQ(in.archive.ReadClass(nullptr, &schema, &tag), nullptr);
    EXPECT_EQ(tag, 3u);
}

TEST_F(ArchiveObjects, StreamsThatDoNotDecodeHaveTheirCause)
{
    using E = suArchiveException;
    const auto inList = [] { return ArchiveBuilder().object("su_CObList").count(1); };
    const std::tuple<const char*, Bytes, int> cases[] = {
        {"nothing", {}, E::endOfFile},
        {"half a tag", {0xFF}, E::endOfFile},
        {"name of 64 bytes", ArchiveBuilder().newClass(std::string(64, 'm')).bytes, E::badClass},
        {"name longer than the stream", ArchiveBuilder().u16(0xFFFF).u16(1).u16(0xFFFF).bytes, E::badClass},
        {"name cut", ArchiveBuilder().u16(0xFFFF).u16(1).u16(10).raw("su_CO").bytes, E::badClass},
        {"unknown class", ArchiveBuilder().newClass("moSketchBlockMgr_c").bytes, E::badClass},
        {"class tag 0", ArchiveBuilder().classTag(0).bytes, E::badIndex},
        {"class tag past the end", ArchiveBuilder().classTag(0x55).bytes, E::badIndex},
        {"big class tag past the end", ArchiveBuilder().u16(0x7FFF).u32(0xFFFFFFFF).bytes, E::badIndex},
        {"object tag past the end", ArchiveBuilder().objectTag(1).bytes, E::badIndex},
        {"big object tag past the end", ArchiveBuilder().u16(0x7FFF).u32(0x7FFFFFFF).bytes, E::badIndex},
        {"object tag of a class", inList().objectTag(1).bytes, E::badClass},
        {"class tag of an object", inList().classTag(2).bytes, E::badClass},
        {"count past the end", ArchiveBuilder().object("su_CObList").count(0xFFFFFFFF).raw("12345678").bytes, E::endOfFile},
        {"count of values past the end", ArchiveBuilder().object("su_CDWordArray").count(3).raw("12345678").bytes, E::endOfFile},
        {"list cut", ArchiveBuilder().object("su_CObList").count(3).null().null().u8(0).bytes, E::endOfFile},
    };
    for (const auto& [name, bytes, cause] : cases) {
        Loader in(bytes);
        EXPECT_EQ(causeOf([&] { in.archive.ReadObject(); }), cause) << name;
    }
}

TEST_F(ArchiveObjects, RequestedClassesHoldForNewAndForKnownObjects)
{
    Loader derived(ArchiveBuilder().object("suObList").count(0));
    EXPECT_NE(derived.archive.ReadObjectOf<su_CObList>(), nullptr);
    Loader base(ArchiveBuilder().object("su_CObList").count(0));
    EXPECT_EQ(causeOf([&] { base.archive.ReadObjectOf<suObList>(); }), suArchiveException::badClass);
    Loader known(ArchiveBuilder().object("su_CObList").count(0).objectTag(2).objectTag(2).null());
    known.archive.ReadObject();
    EXPECT_NE(known.archive.ReadObjectOf<su_CObList>(), nullptr);
    EXPECT_EQ(causeOf([&] { known.archive.ReadObjectOf<su_CStringArray>(); }), suArchiveException::badClass);
    EXPECT_EQ(known.archive.ReadObjectOf<su_CStringArray>(), nullptr);

    Storer out;
    su_CByteArray bytes;
    EXPECT_EQ(causeOf([&] { out.archive.WriteObject(&bytes, su_CObList::runtimeClass); }), suArchiveException::badClass);
}

TEST_F(ArchiveObjects, ObjectsThatHoldThemselvesAreReadStoredAndEnded)
{
    ArchiveBuilder ring;
    ring.object("uoModelData_c").count(3).object("uoModelData_c").count(2).objectTag(2).objectTag(3).objectTag(3).null();
    std::shared_ptr<su_CObject> inner;
    {
        Loader in(ring);
        const auto outer = in.archive.ReadObjectOf<uoModelData_c>();
        ASSERT_EQ(outer->elementsOf<uoModelData_c>().size(), 2u);
        inner = outer->elements[0];
        EXPECT_EQ(objectAs<uoModelData_c>(inner.get())->elements[0].get(), outer.get());
        Storer out;
        out.archive.WriteObject(outer);
        EXPECT_EQ(out.bytes(), ring.bytes);
    }
    EXPECT_EQ(livingNodes, 1); // what is still held lives, without what it held
    EXPECT_TRUE(objectAs<uoModelData_c>(inner.get())->elements.empty());
    inner.reset();

    ring.raw("behind");
    ring.bytes.resize(ring.bytes.size() - 8); // cut inside the ring
    Loader cut(ring);
    EXPECT_NE(causeOf([&] { cut.archive.ReadObject(); }), std::nullopt);
}

TEST_F(ArchiveObjects, DepthIsBoundedAlongNestingAndAlongTags)
{
    const auto nested = [](unsigned levels) {
        ArchiveBuilder out;
        for (unsigned i = 1; i < levels; ++i)
            out.object("uoModelData_c").count(1);
        return out.object("uoModelData_c").count(0).bytes;
    };
    Loader deepest(nested(su_CArchive::maximumDepth));
    auto object = deepest.archive.ReadObject();
    Storer out;
    out.archive.WriteObject(object);
    EXPECT_EQ(out.bytes(), nested(su_CArchive::maximumDepth));
    Loader tooDeep(nested(su_CArchive::maximumDepth + 1));
    EXPECT_EQ(causeOf([&] { tooDeep.archive.ReadObject(); }), suArchiveException::generic);

    // A chain of short pieces, each holding the one before it by its tag.
    ArchiveBuilder chain;
    chain.object("uoModelData_c").count(20000).object("uoModelData_c").count(0);
    for (int i = 1; i < 20000; ++i) {
        const auto before = chain.lastIndex();
        chain.object("uoModelData_c").count(1).objectTag(before);
    }
    Loader chained(chain);
    EXPECT_EQ(causeOf([&] { chained.archive.ReadObject(); }), suArchiveException::generic);

    auto top = std::make_shared<uoModelData_c>(); // what could not be read again is not stored
    top->elements.push_back(object);
    Storer refused;
    EXPECT_EQ(causeOf([&] { refused.archive.WriteObject(top); }), suArchiveException::generic);
}

TEST_F(ArchiveObjects, EmptyPartsAreBoundedByTheBytesThatCame)
{
    ArchiveBuilder strings;
    strings.object("su_CStringArray").count(2000000);
    strings.bytes.resize(strings.bytes.size() + 2000000);
    Loader empty(strings);
    EXPECT_EQ(causeOf([&] { empty.archive.ReadObject(); }), suArchiveException::generic);

    strings = ArchiveBuilder();
    strings.object("su_CStringArray").count(2000000);
    for (int i = 0; i < 2000000; ++i)
        strings.textBytes("eighteen and more");
    Loader full(strings);
    EXPECT_EQ(full.archive.ReadObjectOf<su_CStringArray>()->elements.size(), 2000000u);
}

TEST_F(ArchiveObjects, AReplacementTakesTheDataAndTheObjectIsTold)
{
    ArchiveBuilder bytes;
    bytes.object("uoModelData_c").count(1).null().object("uoModelData_c").count(0);
    Loader in(bytes);
    const auto replacement = std::make_shared<su_CObArray>();
    in.archive.readNextInto(replacement);
    const auto read = in.archive.ReadObjectOf<uoModelData_c>();
    EXPECT_EQ(read->replacement, replacement.get());
    EXPECT_EQ(read->elements.size(), 0u);
    EXPECT_EQ(replacement->elements.size(), 1u);
    EXPECT_EQ(in.archive.ReadObjectOf<uoModelData_c>()->replacement, nullptr);
}

} // namespace
} // namespace kvdm::test
