#include "archiveTools.h"

#include "storage/archive/maps.h"
#include "storage/archive/objectCollections.h"
#include "storage/archive/pointerCollections.h"
#include "storage/archive/stringCollections.h"
#include "storage/archive/valueArrays.h"

namespace kvdm::test {
namespace {

// The bytes are read as an object and stored again: the same bytes must come out.
template <class Collection> std::shared_ptr<Collection> readAndStore(const ArchiveBuilder& bytes)
{
    Loader in(bytes);
    auto collection = in.archive.ReadObjectOf<Collection>();
    Storer out;
    out.archive.WriteObject(collection);
    EXPECT_EQ(out.bytes(), bytes.bytes) << Collection::streamName;
    return collection;
}

TEST(Collections, ArraysOfValuesLieRawBehindTheirCount)
{
    EXPECT_EQ(readAndStore<su_CByteArray>(ArchiveBuilder().object("su_CByteArray").count(3).raw("abc"))->elements,
              (std::vector<std::uint8_t>{'a', 'b', 'c'}));
    EXPECT_EQ(readAndStore<su_CWordArray>(ArchiveBuilder().object("su_CWordArray").count(2).u16(1).u16(65535))->elements,
              (std::vector<std::uint16_t>{1, 65535}));
    EXPECT_EQ(readAndStore<suDWordArray>(ArchiveBuilder().object("suDWordArray").count(1).u32(0x80000001))->elements,
              (std::vector<std::uint32_t>{0x80000001}));
    EXPECT_EQ(readAndStore<suUIntArray>(ArchiveBuilder().object("suUIntArray").count(0))->elements.size(), 0u);
    ArchiveBuilder large;
    large.object("su_CUIntArray").count(100000);
    for (std::uint32_t i = 0; i < 100000; ++i)
        large.u32(i * 3);
    EXPECT_EQ(readAndStore<su_CUIntArray>(large)->elements[99999], 299997u);
}

TEST(Collections, StringsAndObjectsFollowTheirCount)
{
    EXPECT_EQ(readAndStore<su_CStringList>(ArchiveBuilder().object("su_CStringList").count(2).textUtf16(u"one").textUtf16(u""))->elements,
              (std::vector<std::u16string>{u"one", u""}));
    ArchiveBuilder objects;
    objects.object("suSelfDestroyObArray").count(2).object("su_CByteArray").count(0).null();
    EXPECT_EQ(readAndStore<su_CObArray>(objects)->elements.size(), 2u);
}

// A list whose element makes it longer while it is being stored.
TEST(Collections, AListThatChangesWhileItIsStoredIsAFileException)
{
    struct Meddler : su_CByteArray
    {
        explicit Meddler(su_CObList& of) : list(of) {}
        void serialize(su_CArchive&) override { list.elements.push_back(nullptr); }
        su_CObList& list;
    };
    su_CObList list;
    list.elements.push_back(std::make_shared<Meddler>(list));
    Storer out;
    try {
        out.archive.WriteObject(&list);
        FAIL();
    } catch (const suFileException& failure) {
        EXPECT_EQ(failure.cause, suFileException::generic);
    }
}

// "a" is 97, bucket 12; "b" 98, bucket 13; "r" 114, bucket 12 as well: the newer key comes first there.
TEST(Collections, StringMapsAreStoredInTheOrderOfTheHashTable)
{
    su_CMapStringToWord map;
    map.set(u"b", 1);
    map.set(u"a", 2);
    map.set(u"r", 3);
    map.set(u"a", 4); // a known key keeps its place
    Storer out;
    out.archive.WriteObject(&map);
    ArchiveBuilder expected;
    expected.object("su_CMapStringToWord").count(3).textUtf16(u"r").u16(3).textUtf16(u"a").u16(4).textUtf16(u"b").u16(1);
    EXPECT_EQ(out.bytes(), expected.bytes);
    Loader in(expected);
    const auto back = in.archive.ReadObjectOf<su_CMapStringToWord>();
    EXPECT_EQ(*back->find(u"a"), 4);
    EXPECT_EQ(back->find(u"A"), nullptr);
    EXPECT_TRUE(back->remove(u"b"));
    EXPECT_EQ(back->size(), 2u);
}

TEST(Collections, MapsKeepTheirPairs)
{
    EXPECT_EQ(
        *readAndStore<su_CMapStringToString>(ArchiveBuilder().object("su_CMapStringToString").count(1).textUtf16(u"k").textUtf16(u"v"))->find(u"k"),
        u"v");
    EXPECT_EQ(*readAndStore<su_CMapStringToPtr>(ArchiveBuilder().object("su_CMapStringToPtr").count(1).textUtf16(u"k").u64(1ull << 40))->find(u"k"),
              1ull << 40);
    ArchiveBuilder objects;
    objects.object("suMapStringToOb").count(1).textUtf16(u"k").object("su_CByteArray").count(1).u8(5);
    EXPECT_NE(*readAndStore<su_CMapStringToOb>(objects)->find(u"k"), nullptr);
    ArchiveBuilder words;
    words.object("su_CMapWordToOb").count(2).u16(1).null().u16(65535).object("su_CByteArray").count(0);
    EXPECT_EQ(readAndStore<su_CMapWordToOb>(words)->entries.size(), 2u);
    EXPECT_EQ(readAndStore<su_CMapWordToString>(ArchiveBuilder().object("su_CMapWordToString").count(1).u16(3).textUtf16(u"x"))->entries[3], u"x");
    ArchiveBuilder texts;
    texts.object("su_CMapObToString").count(1).object("su_CByteArray").count(0).textUtf16(u"of it");
    EXPECT_EQ(readAndStore<su_CMapObToString>(texts)->entries.at(0).second, u"of it");
}

TEST(Collections, RawPointersAreNotStored)
{
    Storer out;
    su_CPtrArray pointers;
    EXPECT_THROW(out.archive.WriteObject(&pointers), suNotSupportedException);
    Loader in(ArchiveBuilder().null());
    EXPECT_THROW(in.archive.ReadObject(&su_CPtrList::runtimeClass), suNotSupportedException);
}

} // namespace
} // namespace kvdm::test
