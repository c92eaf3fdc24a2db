// What is written: statuses, transactions, bytes that others can rely on.
#include "platform/compoundfile/checker.h"
#include "support/StorageTools.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace kvdm::test {
namespace {

std::u16string numbered(const char16_t* stem, int value)
{
    const std::string digits = std::to_string(value);
    return stem + std::u16string(digits.begin(), digits.end());
}

ComPtr<IStorage> openFor(ILockBytes& bytes, DWORD mode)
{
    ComPtr<IStorage> storage;
    EXPECT_EQ(StgOpenStorageOnILockBytes(&bytes, nullptr, mode, nullptr, 0, storage.put()), S_OK);
    return storage;
}

ComPtr<IStorage> createOn(ILockBytes& bytes, DWORD mode = 0x11022)
{
    ComPtr<IStorage> storage;
    EXPECT_EQ(StgCreateDocfileOnILockBytes(&bytes, mode, 0, storage.put()), S_OK);
    return storage;
}

ComPtr<IStorage> childOf(IStorage& parent, const char16_t* name, DWORD mode = writeElement)
{
    ComPtr<IStorage> storage;
    EXPECT_EQ(parent.OpenStorage(name, nullptr, mode, nullptr, 0, storage.put()), S_OK);
    return storage;
}

ComPtr<IStorage> newChildOf(IStorage& parent, const char16_t* name, DWORD mode = writeElement)
{
    ComPtr<IStorage> storage;
    EXPECT_EQ(parent.CreateStorage(name, mode, 0, 0, storage.put()), S_OK);
    return storage;
}

#define EXPECT_SOUND(array)                                                                                                                          \
    do {                                                                                                                                             \
        const std::vector<std::string> faults = checkCompoundFile(*(array));                                                                         \
        EXPECT_TRUE(faults.empty()) << faults.front();                                                                                               \
    } while (false)

TEST(CompoundFileWriting, ANewFileIsSoundBeforeAndAfterItsFirstCommit)
{
    for (const DWORD mode : {0x11022u, 0x4011002u, 0x1012u}) {
        const auto array = lockBytesOf({1, 2, 3});
        auto storage = createOn(*array, mode);
        EXPECT_SOUND(array);
        CLSID clsid{1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}}, found;
        EXPECT_EQ(WriteClassStg(storage.get(), clsid), S_OK);
        EXPECT_TRUE(writeStream(*storage, u"stream", patternBytes(5000)));
        EXPECT_EQ(storage->Commit(STGC_DEFAULT), S_OK);
        storage.reset();
        EXPECT_SOUND(array);
        storage = openFor(*array, readElement);
        EXPECT_EQ(readStream(*storage, u"stream"), patternBytes(5000));
        EXPECT_EQ(ReadClassStg(storage.get(), &found), S_OK);
        EXPECT_EQ(found, clsid);
    }
    const auto array = lockBytesOf({1});
    ComPtr<IStorage> storage;
    EXPECT_EQ(StgCreateDocfileOnILockBytes(array.get(), 0x10022, 0, storage.put()), STG_E_FILEALREADYEXISTS);
    EXPECT_EQ(StgCreateDocfileOnILockBytes(array.get(), 0x11020, 0, storage.put()), STG_E_INVALIDFLAG);
    EXPECT_EQ(bytesOf(*array), Bytes{1});
}

TEST(CompoundFileWriting, UncommittedChangesGoWithRevertAndWithTheRoot)
{
    const auto array = lockBytesOf({});
    auto storage = createOn(*array);
    ASSERT_TRUE(writeStream(*storage, u"kept", patternBytes(10000)));
    ASSERT_EQ(storage->Commit(STGC_DEFAULT), S_OK);
    const std::size_t committed = bytesOf(*array).size();
    const Tree tree = readTree(*storage);
    for (const bool byRevert : {true, false}) {
        ASSERT_TRUE(writeStream(*storage, u"kept", patternBytes(50000, 2)));
        ASSERT_TRUE(writeStream(*storage, u"new", patternBytes(300000, 3)));
        ComPtr<IStream> open;
        ASSERT_EQ(storage->OpenStream(u"new", nullptr, readElement, 0, open.put()), S_OK);
        if (byRevert) {
            EXPECT_EQ(storage->Revert(), S_OK);
            ULONG read = 0;
            EXPECT_EQ(open->Read(&read, 1, &read), STG_E_REVERTED);
            EXPECT_EQ(differences(readTree(*storage), tree), "");
        } else
            storage.reset();
        EXPECT_EQ(bytesOf(*array).size(), committed) << "what was written beside the committed state is cut off again";
    }
    EXPECT_EQ(differences(readTree(*openFor(*array, readElement)), tree), "");
}

TEST(CompoundFileWriting, ACommitWithoutAChangeWritesNothing)
{
    const auto array = lockBytesOf({});
    const auto storage = createOn(*array);
    ASSERT_TRUE(writeStream(*storage, u"x", patternBytes(9000)));
    ASSERT_EQ(storage->Commit(STGC_DEFAULT), S_OK);
    const Bytes before = bytesOf(*array);
    EXPECT_TRUE(readStream(*storage, u"x"));
    EXPECT_EQ(storage->Commit(STGC_ONLYIFCURRENT), S_OK);
    EXPECT_EQ(bytesOf(*array), before);
    EXPECT_EQ(storage->Commit(0x40), STG_E_INVALIDFLAG);
}

TEST(CompoundFileWriting, FreedRoomIsUsedAgainAndShowsNoOldBytes)
{
    for (const unsigned version : {3u, 4u}) {
        CompoundFileBuilder builder(version);
        builder.root().filled(u"secret", 200000, 0xEE);
        builder.root().filled(u"small secret", 3000, 0xEE);
        const auto array = lockBytesOf(builder.build());
        std::size_t most = 0;
        for (int save = 0; save < 300; ++save) {
            const auto storage = openFor(*array, 0x10022); // a session of its own each time
            ASSERT_TRUE(writeStream(*storage, u"secret", patternBytes(static_cast<std::size_t>(save) * 977 % 200000, save)));
            ComPtr<IStream> stream;
            ASSERT_EQ(storage->OpenStream(u"small secret", nullptr, writeElement, 0, stream.put()), S_OK);
            ASSERT_EQ(stream->SetSize(wide(10)), S_OK);
            ASSERT_EQ(stream->SetSize(wide(save % 2 == 0 ? 3000 : 30000)), S_OK); // shrink, then grow: zeros
            const auto bytes = readAll(*stream);
            ASSERT_TRUE(bytes && std::all_of(bytes->begin() + 10, bytes->end(), [](std::uint8_t b) { return b == 0; }));
            stream.reset();
            ASSERT_EQ(storage->Commit(STGC_DEFAULT), S_OK);
            if (save == 20)
                most = bytesOf(*array).size();
        }
        EXPECT_SOUND(array);
        EXPECT_LE(bytesOf(*array).size(), most + 450000) << "no more than the largest state and one beside it";
        const auto storage = openFor(*array, 0x10022);
        ASSERT_TRUE(writeStream(*storage, u"at the end", patternBytes(3000000)));
        ASSERT_EQ(storage->Commit(STGC_DEFAULT), S_OK);
        ASSERT_EQ(storage->DestroyElement(u"at the end"), S_OK);
        ASSERT_EQ(storage->Commit(STGC_DEFAULT), S_OK);
        for (DWORD change = 1; change <= 3; ++change) { // the tables move down with the next changes, a few at a time
            ASSERT_EQ(storage->SetStateBits(change, 0xFF), S_OK);
            ASSERT_EQ(storage->Commit(STGC_DEFAULT), S_OK);
        }
        EXPECT_LE(bytesOf(*array).size(), most + 500000);
    }
}

TEST(CompoundFileWriting, AStreamWrittenBehindItsEndHasZerosBetween)
{
    const auto array = lockBytesOf({});
    const auto storage = createOn(*array);
    for (const std::int64_t gap : {10, 5000, 600000}) {
        ComPtr<IStream> stream;
        ASSERT_EQ(storage->CreateStream(u"gap", writeElement | STGM_CREATE, 0, 0, stream.put()), S_OK);
        ULONG written = 0;
        ASSERT_EQ(stream->Seek(distance(gap), STREAM_SEEK_SET, nullptr), S_OK);
        ASSERT_EQ(stream->Write("end", 3, &written), S_OK);
        Bytes expected(static_cast<std::size_t>(gap));
        expected.insert(expected.end(), {'e', 'n', 'd'});
        EXPECT_EQ(readAll(*stream), expected);
    }
}

TEST(CompoundFileWriting, DirectoriesOfManyChildrenStayBalancedAndInOrder)
{
    const auto array = lockBytesOf({});
    const auto storage = createOn(*array);
    for (int i = 0; i < 3000; ++i) // in an order that hurts a plain tree
        ASSERT_TRUE(writeStream(*storage, numbered(u"element ", i), {}));
    for (int i = 0; i < 3000; i += 3)
        ASSERT_EQ(storage->DestroyElement(numbered(u"ELEMENT ", i).c_str()), S_OK);
    ASSERT_EQ(storage->Commit(STGC_DEFAULT), S_OK);
    EXPECT_SOUND(array);
    // The depth as the file has it: the entries' links, followed here without the engine.
    const Bytes file = bytesOf(*array);
    std::vector<std::uint32_t> sectors{getLe32(file, 48)};
    const auto next = [&](std::uint32_t sector) { return getLe32(file, 512 * (getLe32(file, 76 + 4 * (sector / 128)) + 1) + sector % 128 * 4); };
    while (next(sectors.back()) != 0xFFFFFFFE)
        sectors.push_back(next(sectors.back()));
    const auto entry = [&](std::uint32_t id) { return 512 * (std::size_t{sectors.at(id / 4)} + 1) + id % 4 * 128; };
    std::size_t deepest = 0, count = 0;
    std::vector<std::pair<std::uint32_t, std::size_t>> stack{{getLe32(file, entry(0) + 76), 1}};
    while (!stack.empty()) {
        const auto [id, depth] = stack.back();
        stack.pop_back();
        if (id == 0xFFFFFFFF)
            continue;
        ++count;
        deepest = std::max(deepest, depth);
        stack.push_back({getLe32(file, entry(id) + 68), depth + 1});
        stack.push_back({getLe32(file, entry(id) + 72), depth + 1});
    }
    EXPECT_EQ(count, 2000u);
    EXPECT_LE(deepest, 22u); // twice the logarithm
}

TEST(CompoundFileWriting, RefusalsHaveTheirStatuses)
{
    const auto array = lockBytesOf({});
    const auto storage = createOn(*array);
    ASSERT_TRUE(writeStream(*storage, u"stream", patternBytes(10)));
    newChildOf(*storage, u"storage");
    ComPtr<IStream> stream;
    ComPtr<IStorage> child;
    EXPECT_EQ(storage->CreateStream(u"stream", writeElement, 0, 0, stream.put()), STG_E_FILEALREADYEXISTS);
    EXPECT_EQ(storage->CreateStorage(u"STREAM", writeElement, 0, 0, child.put()), STG_E_FILEALREADYEXISTS);
    for (const char16_t* name : {u"", u"a/b", u"a\\b", u"a:b", u"a!b", u"a name of thirty-two units here!"})
        EXPECT_EQ(storage->CreateStream(name, writeElement, 0, 0, stream.put()), STG_E_INVALIDNAME);
    EXPECT_EQ(storage->CreateStream(u"x", STGM_READWRITE | STGM_SHARE_DENY_NONE, 0, 0, stream.put()), STG_E_INVALIDFLAG);
    EXPECT_EQ(storage->CreateStream(u"x", writeElement | STGM_TRANSACTED, 0, 0, stream.put()), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(storage->CreateStream(u"x", writeElement | STGM_DELETEONRELEASE, 0, 0, stream.put()), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(storage->CreateStream(u"x", writeElement, 1, 0, stream.put()), STG_E_INVALIDPARAMETER);
    EXPECT_EQ(storage->DestroyElement(u"absent"), STG_E_FILENOTFOUND);
    EXPECT_EQ(storage->RenameElement(u"absent", u"other"), STG_E_FILENOTFOUND);
    EXPECT_EQ(storage->RenameElement(u"stream", u"storage"), STG_E_FILEALREADYEXISTS);
    EXPECT_EQ(storage->RenameElement(u"stream", u"a/b"), STG_E_INVALIDNAME);
    EXPECT_EQ(storage->RenameElement(u"stream", u"STREAM"), S_OK);
    EXPECT_EQ(storage->MoveElementTo(u"stream", storage.get(), u"stream", STGMOVE_MOVE), STG_E_FILEALREADYEXISTS);
    EXPECT_EQ(storage->MoveElementTo(u"stream", storage.get(), u"copy", 7), STG_E_INVALIDFLAG);

    ASSERT_EQ(storage->OpenStream(u"stream", nullptr, writeElement, 0, stream.put()), S_OK);
    EXPECT_EQ(storage->RenameElement(u"stream", u"other"), STG_E_ACCESSDENIED);
    EXPECT_EQ(storage->DestroyElement(u"stream"), S_OK); // whoever has it open is told
    ULONG written = 0;
    EXPECT_EQ(stream->Write("x", 1, &written), STG_E_REVERTED);

    child = childOf(*storage, u"storage", readElement);
    EXPECT_EQ(child->SetStateBits(1, 1), STG_E_ACCESSDENIED);
    EXPECT_EQ(child->CreateStream(u"x", writeElement, 0, 0, stream.put()), STG_E_ACCESSDENIED);
    EXPECT_EQ(child->Commit(STGC_DEFAULT), STG_E_ACCESSDENIED);
    EXPECT_EQ(storage->CopyTo(0, nullptr, nullptr, child.get()), STG_E_ACCESSDENIED); // into itself
    EXPECT_EQ(storage->CopyTo(0, nullptr, nullptr, nullptr), STG_E_INVALIDPOINTER);
}

TEST(CompoundFileWriting, AReadOnlyTransactionMayBePlayedWithButNotCommitted)
{
    CompoundFileBuilder builder;
    builder.root().storage(u"Inner").stream(u"x", patternBytes(9000));
    const auto array = lockBytesOf(builder.build());
    const Bytes before = bytesOf(*array);
    const auto storage = openFor(*array, 0x10040);
    ComPtr<IStream> stream;
    EXPECT_EQ(storage->CreateStream(u"new", writeElement, 0, 0, stream.put()), STG_E_ACCESSDENIED);
    const auto inner = childOf(*storage, u"Inner");
    ASSERT_TRUE(writeStream(*inner, u"x", patternBytes(100000, 5)));
    ASSERT_TRUE(writeStream(*inner, u"y", patternBytes(700000, 6)));
    EXPECT_EQ(readStream(*inner, u"x"), patternBytes(100000, 5));
    EXPECT_EQ(readStream(*inner, u"y"), patternBytes(700000, 6));
    EXPECT_EQ(storage->Commit(STGC_DEFAULT), STG_E_ACCESSDENIED);
    EXPECT_EQ(bytesOf(*array), before);
}

TEST(CompoundFileWriting, NestedTransactionsPublishOnCommitAlone)
{
    const auto array = lockBytesOf({});
    const auto root = createOn(*array);
    ASSERT_TRUE(writeStream(*newChildOf(*root, u"A"), u"large", patternBytes(20000)));
    auto outer = childOf(*root, u"A", writeElement | STGM_TRANSACTED);
    auto inner = newChildOf(*outer, u"B", writeElement | STGM_TRANSACTED);
    ASSERT_TRUE(writeStream(*inner, u"deep", patternBytes(30000, 2)));
    ASSERT_TRUE(writeStream(*outer, u"swap 1", patternBytes(10, 3)));
    ASSERT_TRUE(writeStream(*outer, u"swap 2", patternBytes(5000, 4)));
    EXPECT_EQ(inner->Commit(STGC_ONLYIFCURRENT), S_OK);
    ASSERT_TRUE(writeStream(*inner, u"dropped", patternBytes(40000, 9)));
    inner.reset();
    EXPECT_EQ(outer->Commit(STGC_ONLYIFCURRENT), S_OK);
    // Names that change places, and a patch in the middle of what was committed a level below.
    EXPECT_EQ(outer->RenameElement(u"swap 1", u"aside"), S_OK);
    EXPECT_EQ(outer->RenameElement(u"swap 2", u"swap 1"), S_OK);
    EXPECT_EQ(outer->RenameElement(u"aside", u"swap 2"), S_OK);
    ComPtr<IStream> stream;
    ASSERT_EQ(outer->OpenStream(u"large", nullptr, writeElement, 0, stream.put()), S_OK);
    ULONG written = 0;
    ASSERT_EQ(stream->Seek(distance(7000), STREAM_SEEK_SET, nullptr), S_OK);
    ASSERT_EQ(stream->Write("patch", 5, &written), S_OK);
    ASSERT_EQ(root->Commit(STGC_DEFAULT), S_OK); // the transaction's last changes are not in this
    EXPECT_SOUND(array);
    const Tree first = readTree(*openFor(*array, 0x10040));
    EXPECT_EQ(first.at(u"A/large"), patternBytes(20000));
    EXPECT_EQ(first.at(u"A/swap 1"), patternBytes(10, 3));
    EXPECT_EQ(first.at(u"A/B/deep"), patternBytes(30000, 2));
    EXPECT_FALSE(first.contains(u"A/B/dropped"));
    EXPECT_EQ(outer->Commit(STGC_ONLYIFCURRENT), S_OK);
    ASSERT_EQ(root->Commit(STGC_DEFAULT), S_OK);
    EXPECT_SOUND(array);
    const Tree second = readTree(*openFor(*array, 0x10040));
    Bytes patched = patternBytes(20000);
    std::copy_n("patch", 5, patched.begin() + 7000);
    EXPECT_EQ(second.at(u"A/large"), patched);
    EXPECT_EQ(second.at(u"A/swap 1"), patternBytes(5000, 4));
    EXPECT_EQ(second.at(u"A/swap 2"), patternBytes(10, 3));
}

TEST(CompoundFileWriting, CopyToTakesEverythingButWhatIsExcluded)
{
    CompoundFileBuilder builder;
    builder.root().clsid[0] = 7;
    builder.root().stateBits = 0x55;
    builder.root().stream(u"plain", patternBytes(100));
    builder.root().stream(u"odd/name", patternBytes(200)); // of a writer that did not care
    BuilderNode& inner = builder.root().storage(u"Inner");
    inner.stream(u"large", patternBytes(500000));
    inner.storage(u"Deeper").modified = 12345;
    const auto source = openStorageOf(builder.build());
    ComPtr<IStorage> openInner;
    ASSERT_EQ(source->OpenStorage(u"Inner", nullptr, readElement, nullptr, 0, openInner.put()), S_OK); // open elements are copied as well

    const auto array = lockBytesOf({});
    const auto all = createOn(*array);
    ASSERT_TRUE(writeStream(*all, u"PLAIN", patternBytes(9999, 9)));
    ASSERT_EQ(source->CopyTo(0, nullptr, nullptr, all.get()), S_OK);
    EXPECT_EQ(differences(readTree(*all), treeOf(builder.root())), "");
    STATSTG told{};
    ASSERT_EQ(all->Stat(&told, STATFLAG_NONAME), S_OK);
    EXPECT_EQ(told.clsid.Data1, 7u);
    EXPECT_EQ(told.grfStateBits, 0x55u);
    ASSERT_EQ(childOf(*childOf(*all, u"Inner"), u"Deeper")->Stat(&told, STATFLAG_NONAME), S_OK);
    EXPECT_EQ(told.mtime.dwLowDateTime, 12345u);

    const auto some = createOn(*lockBytesOf({}));
    char16_t excludedName[] = u"PLAIN";
    OLECHAR* names[] = {excludedName, nullptr};
    const IID streams[] = {IID_IStream};
    ASSERT_EQ(source->CopyTo(0, nullptr, names, some.get()), S_OK);
    EXPECT_FALSE(readTree(*some).contains(u"plain"));
    const auto noStreams = createOn(*lockBytesOf({}));
    ASSERT_EQ(source->CopyTo(1, streams, nullptr, noStreams.get()), S_OK);
    EXPECT_EQ(readTree(*noStreams).count(u"plain"), 0u);
    EXPECT_EQ(readTree(*noStreams).count(u"Inner/large"), 1u);
}

TEST(CompoundFileWriting, FilesOfOtherWritersKeepTheirVersionAndTheirOddities)
{
    for (const unsigned version : {3u, 4u}) {
        for (int form = 0; form < 16; ++form) {
            CompoundFileBuilder::Options options;
            options.version = version;
            options.treeAsChain = (form & 1) != 0;
            options.interleaved = (form & 2) != 0;
            options.backwards = (form & 4) != 0;
            options.tablesLast = (form & 8) != 0;
            options.spareFatSectors = form == 7 ? 300 : 0;
            options.spareSectors = 3;
            CompoundFileBuilder builder(options);
            for (int i = 0; i < 200; ++i)
                builder.root().stream(numbered(u"n", i), patternBytes(static_cast<std::size_t>(i) * 60, i));
            const auto array = lockBytesOf(builder.build());
            const auto storage = openFor(*array, 0x10022);
            Tree expected = treeOf(builder.root());
            for (int i = 0; i < 200; i += 7) {
                ASSERT_EQ(storage->DestroyElement(numbered(u"n", i).c_str()), S_OK);
                expected.erase(numbered(u"n", i));
                ASSERT_TRUE(writeStream(*storage, numbered(u"m", i), patternBytes(i, 3)));
                expected[numbered(u"m", i)] = patternBytes(i, 3);
                if (i % 5 == 0) {
                    ASSERT_EQ(storage->Commit(STGC_DEFAULT), S_OK);
                }
            }
            ASSERT_EQ(storage->Commit(STGC_DEFAULT), S_OK);
            EXPECT_SOUND(array);
            EXPECT_EQ(bytesOf(*array)[26], version);
            EXPECT_EQ(differences(readTree(*openFor(*array, 0x10040)), expected), "") << version << " " << form;
        }
    }
}

} // namespace
} // namespace kvdm::test
