// Files that the engine did not make are read as they were made.
#include "common/automationObject.h"
#include "platform/compoundfile/compoundFile.h"
#include "support/StorageTools.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace kvdm::test {
namespace {

std::u16string number(std::size_t value)
{
    const std::string digits = std::to_string(value);
    return {digits.begin(), digits.end()};
}

void addSample(BuilderNode& root)
{
    root.clsid = {0x78, 0x56, 0x34, 0x12, 0xCD, 0xAB, 0x01, 0xEF, 1, 2, 3, 4, 5, 6, 7, 8};
    for (const std::size_t size : {0, 1, 63, 64, 65, 511, 512, 513, 4095, 4096, 4097, 70000})
        root.stream(u"size " + number(size), patternBytes(size, static_cast<std::uint32_t>(size)));
    BuilderNode& inner = root.storage(u"Inner");
    inner.stateBits = 0x1234;
    inner.created = 0x01D0000000000001;
    inner.modified = 0x01D0000000000002;
    inner.storage(u"Deeper").stream(u"\u0005Leaf", "leaf");
    inner.storage(u"Empty");
    BuilderNode& many = root.storage(u"Many");
    for (char16_t i = 0; i < 700; ++i)
        many.stream(u"n" + std::u16string(i % 7, u'x') + static_cast<char16_t>(u'\u4E00' + i), patternBytes(i, i));
}

// A byte array as strangers write them: reads come in small pieces, it cannot tell its size and knows no locks.
class SparingLockBytes final : public SharedObject<ILockBytes>
{
public:
    explicit SparingLockBytes(Bytes content) : bytes(std::move(content)) {}

    HRESULT STDMETHODCALLTYPE ReadAt(ULARGE_INTEGER offset, void* buffer, ULONG count, ULONG* read) override
    {
        const std::size_t at = std::min<std::uint64_t>(offset.QuadPart, bytes.size());
        const std::size_t piece = std::min<std::size_t>({count, bytes.size() - at, 100});
        std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(at), piece, static_cast<std::uint8_t*>(buffer));
        *read = static_cast<ULONG>(piece);
        return at >= failFrom ? STG_E_READFAULT : S_OK;
    }
    HRESULT STDMETHODCALLTYPE WriteAt(ULARGE_INTEGER, const void*, ULONG, ULONG*) override { return STG_E_ACCESSDENIED; }
    HRESULT STDMETHODCALLTYPE Flush() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER) override { return STG_E_ACCESSDENIED; }
    HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Stat(STATSTG*, DWORD) override { return E_NOTIMPL; }

    std::uint64_t failFrom = ~std::uint64_t{0};

private:
    Bytes bytes;
};

TEST(CompoundFileReading, EveryLayoutOfOtherWritersGivesTheSameTree)
{
    for (const unsigned version : {3u, 4u}) {
        for (int form = 0; form < 16; ++form) {
            CompoundFileBuilder::Options options;
            options.version = version;
            options.treeAsChain = (form & 1) != 0;
            options.interleaved = (form & 2) != 0;
            options.backwards = (form & 4) != 0;
            options.tablesLast = (form & 8) != 0;
            options.spareFatSectors = form == 10 ? 400 : 0; // three DIFAT sectors in version 3
            CompoundFileBuilder builder(options);
            addSample(builder.root());
            const auto storage = openStorageOf(builder.build());
            ASSERT_TRUE(storage);
            EXPECT_EQ(differences(readTree(*storage), treeOf(builder.root())), "") << "version " << version << " form " << form;
        }
    }
}

TEST(CompoundFileReading, StatAndEnumerationTellWhatTheEntriesHold)
{
    CompoundFileBuilder builder;
    addSample(builder.root());
    const auto storage = openStorageOf(builder.build());
    ASSERT_TRUE(storage);
    CLSID clsid{};
    EXPECT_EQ(ReadClassStg(storage.get(), &clsid), S_OK);
    EXPECT_EQ(clsid, (CLSID{0x12345678, 0xABCD, 0xEF01, {1, 2, 3, 4, 5, 6, 7, 8}}));

    ComPtr<IStorage> inner;
    ASSERT_EQ(storage->OpenStorage(u"iNNER", nullptr, readElement, nullptr, 0, inner.put()), S_OK); // case does not matter
    STATSTG told{};
    ASSERT_EQ(inner->Stat(&told, STATFLAG_DEFAULT), S_OK);
    EXPECT_EQ(std::u16string(told.pwcsName), u"Inner");
    CoTaskMemFree(told.pwcsName);
    EXPECT_EQ(told.type, STGTY_STORAGE);
    EXPECT_EQ(told.grfMode, readElement);
    EXPECT_EQ(told.grfStateBits, 0x1234u);
    EXPECT_EQ(told.ctime.dwLowDateTime, 1u);
    EXPECT_EQ(told.mtime.dwLowDateTime, 2u);
    ASSERT_EQ(inner->Stat(&told, STATFLAG_NONAME), S_OK);
    EXPECT_EQ(told.pwcsName, nullptr);
    EXPECT_EQ(inner->Stat(&told, 7), STG_E_INVALIDFLAG);

    ComPtr<IEnumSTATSTG> elements, copy;
    ASSERT_EQ(inner->EnumElements(0, nullptr, 0, elements.put()), S_OK);
    STATSTG batch[64];
    ULONG fetched = 9;
    EXPECT_EQ(elements->Next(2, batch, nullptr), STG_E_INVALIDPOINTER);
    EXPECT_EQ(elements->Skip(1), S_OK);
    EXPECT_EQ(elements->Clone(copy.put()), S_OK);
    for (IEnumSTATSTG* each : {elements.get(), copy.get()}) {
        ASSERT_EQ(each->Next(64, batch, &fetched), S_FALSE); // shorter names come first
        ASSERT_EQ(fetched, 1u);
        EXPECT_EQ(std::u16string(batch[0].pwcsName), u"Deeper");
        CoTaskMemFree(batch[0].pwcsName);
    }
    EXPECT_EQ(elements->Skip(1), S_FALSE);
    EXPECT_EQ(elements->Reset(), S_OK);
    EXPECT_EQ(elements->Skip(2), S_OK);
}

TEST(CompoundFileReading, NamesComeByLengthThenByUpperCase)
{
    CompoundFileBuilder builder;
    for (const char16_t* name : {u"zz", u"B", u"a", u"_", u"\u00E9", u"\u00C8x", u"aaa", u"Zy"})
        builder.root().stream(name, "");
    const auto storage = openStorageOf(builder.build());
    ASSERT_TRUE(storage);
    ComPtr<IEnumSTATSTG> elements;
    ASSERT_EQ(storage->EnumElements(0, nullptr, 0, elements.put()), S_OK);
    std::u16string all;
    STATSTG element;
    while (elements->Next(1, &element, nullptr) == S_OK) {
        all += element.pwcsName + std::u16string(u" ");
        CoTaskMemFree(element.pwcsName);
    }
    EXPECT_EQ(all, u"a B _ \u00E9 Zy zz \u00C8x aaa ");
    for (const char16_t* name : {u"ZZ", u"\u00C9", u"\u00E8X"})
        EXPECT_TRUE(readStream(*storage, name));
}

TEST(CompoundFileReading, StreamsAreReadByPosition)
{
    CompoundFileBuilder builder(CompoundFileBuilder::Options{.interleaved = true, .backwards = true});
    const Bytes content = patternBytes(100000);
    builder.root().stream(u"Large", content);
    builder.root().stream(u"Other", patternBytes(100000, 2));
    builder.root().stream(u"Small", Bytes(content.begin(), content.begin() + 3000));
    const auto storage = openStorageOf(builder.build());
    ASSERT_TRUE(storage);
    for (const char16_t* name : {u"Large", u"Small"}) {
        ComPtr<IStream> stream, clone;
        ASSERT_EQ(storage->OpenStream(name, nullptr, readElement, 0, stream.put()), S_OK);
        const std::int64_t size = name[0] == u'L' ? 100000 : 3000;
        std::uint8_t block[700];
        ULARGE_INTEGER position;
        for (const std::int64_t at : {size - 1, std::int64_t{511}, std::int64_t{0}, size / 2, size - 700}) {
            ASSERT_EQ(stream->Seek(distance(at), STREAM_SEEK_SET, nullptr), S_OK);
            ULONG read = 0;
            ASSERT_EQ(stream->Read(block, sizeof block, &read), S_OK);
            ASSERT_EQ(read, std::min<std::int64_t>(sizeof block, size - at));
            EXPECT_TRUE(std::equal(block, block + read, content.begin() + at));
        }
        ASSERT_EQ(stream->Clone(clone.put()), S_OK);
        EXPECT_EQ(clone->Seek(distance(0), STREAM_SEEK_CUR, &position), S_OK);
        EXPECT_EQ(position.QuadPart, static_cast<std::uint64_t>(size));
        EXPECT_EQ(clone->Seek(distance(-10), STREAM_SEEK_END, nullptr), S_OK);
        EXPECT_EQ(stream->Seek(distance(0), STREAM_SEEK_CUR, &position), S_OK);
        EXPECT_EQ(position.QuadPart, static_cast<std::uint64_t>(size)) << "a clone has its own place";
        EXPECT_EQ(stream->Seek(distance(-size - 1), STREAM_SEEK_CUR, nullptr), STG_E_INVALIDFUNCTION);
        EXPECT_EQ(stream->Seek(distance(0), 3, nullptr), STG_E_INVALIDFUNCTION);
        ULONG read = 1;
        EXPECT_EQ(stream->Seek(distance(50), STREAM_SEEK_END, nullptr), S_OK);
        EXPECT_EQ(stream->Read(block, 10, &read), S_OK);
        EXPECT_EQ(read, 0u);
        EXPECT_EQ(stream->Read(nullptr, 10, &read), STG_E_INVALIDPOINTER);
        EXPECT_EQ(stream->Write(block, 1, &read), STG_E_ACCESSDENIED);
        EXPECT_EQ(stream->SetSize(wide(0)), STG_E_ACCESSDENIED);
        ComPtr<IStream> copy;
        ASSERT_EQ(CreateStreamOnHGlobal(nullptr, 1, copy.put()), S_OK);
        ULARGE_INTEGER got, put;
        ASSERT_EQ(clone->CopyTo(copy.get(), wide(~0ull), &got, &put), S_OK);
        EXPECT_EQ(got.QuadPart, 10u);
        EXPECT_EQ(readAll(*copy), Bytes(content.begin() + size - 10, content.begin() + size));
    }
}

TEST(CompoundFileReading, ElementsOpenOnceAndOnlyForTheirOpener)
{
    CompoundFileBuilder builder;
    addSample(builder.root());
    auto storage = openStorageOf(builder.build());
    ASSERT_TRUE(storage);
    ComPtr<IStream> stream, second;
    ComPtr<IStorage> inner, again;
    struct Refusal
    {
        const char16_t* name;
        DWORD mode;
        HRESULT status;
    };
    for (const Refusal& refusal : {Refusal{u"size 63", STGM_READ | STGM_SHARE_DENY_NONE, STG_E_INVALIDFLAG},
                                   Refusal{u"size 63", STGM_READ | STGM_SHARE_EXCLUSIVE | STGM_TRANSACTED, STG_E_INVALIDFUNCTION},
                                   Refusal{u"size 63", writeElement, STG_E_ACCESSDENIED}, Refusal{u"absent", readElement, STG_E_FILENOTFOUND},
                                   Refusal{u"Inner", readElement, STG_E_FILENOTFOUND}, Refusal{u"", readElement, STG_E_INVALIDNAME},
                                   Refusal{u"a name of thirty-two units here!", readElement, STG_E_INVALIDNAME}})
        EXPECT_EQ(storage->OpenStream(refusal.name, nullptr, refusal.mode, 0, stream.put()), refusal.status);
    EXPECT_EQ(storage->OpenStream(nullptr, nullptr, readElement, 0, stream.put()), STG_E_INVALIDNAME);
    EXPECT_EQ(storage->OpenStorage(u"size 63", nullptr, readElement, nullptr, 0, inner.put()), STG_E_FILENOTFOUND);

    ASSERT_EQ(storage->OpenStream(u"size 63", nullptr, readElement, 0, stream.put()), S_OK);
    EXPECT_EQ(storage->OpenStream(u"SIZE 63", nullptr, readElement, 0, second.put()), STG_E_ACCESSDENIED);
    stream.reset();
    EXPECT_EQ(storage->OpenStream(u"SIZE 63", nullptr, readElement, 0, second.put()), S_OK);
    ASSERT_EQ(storage->OpenStorage(u"Inner", nullptr, readElement, nullptr, 0, inner.put()), S_OK);
    EXPECT_EQ(storage->OpenStorage(u"Inner", nullptr, readElement, nullptr, 0, again.put()), STG_E_ACCESSDENIED);

    STATSTG told{};
    ULONG read = 0;
    storage.reset(); // whatever is open below it goes with it
    EXPECT_EQ(inner->Stat(&told, STATFLAG_NONAME), STG_E_REVERTED);
    EXPECT_EQ(second->Read(&told, 1, &read), STG_E_REVERTED);
}

TEST(CompoundFileReading, StrangersByteArraysMayGiveLessAndFail)
{
    CompoundFileBuilder builder;
    addSample(builder.root());
    const Bytes bytes = builder.build();
    const auto sparing = ComPtr<SparingLockBytes>::adopt(new SparingLockBytes(bytes));
    ComPtr<IStorage> storage;
    ASSERT_EQ(StgOpenStorageOnILockBytes(sparing.get(), nullptr, readElement, nullptr, 0, storage.put()), S_OK);
    EXPECT_EQ(differences(readTree(*storage), treeOf(builder.root())), "");
    storage.reset();
    for (std::uint64_t from = 0; from < bytes.size(); from += 512) {
        const auto failing = ComPtr<SparingLockBytes>::adopt(new SparingLockBytes(bytes));
        failing->failFrom = from;
        const HRESULT status = StgOpenStorageOnILockBytes(failing.get(), nullptr, readElement, nullptr, 0, storage.put());
        EXPECT_TRUE(from >= 1024 || status == STG_E_READFAULT) << from;
        if (SUCCEEDED(status)) {
            EXPECT_NE(differences(readTree(*storage), treeOf(builder.root())), "") << from;
        }
    }
}

TEST(CompoundFileReading, ModesAndFormsThatCannotOpenSayWhy)
{
    CompoundFileBuilder builder;
    builder.root().stream(u"x", "x");
    const Bytes good = builder.build();
    const auto openIn = [](const Bytes& bytes, DWORD mode) {
        ComPtr<IStorage> storage;
        return StgOpenStorageOnILockBytes(lockBytesOf(bytes).get(), nullptr, mode, nullptr, 0, storage.put());
    };
    for (const DWORD mode : {0x10022u, 0x10040u, 0x210040u, 0x10000u, 0x10u, 0x20u, 0x10012u})
        EXPECT_EQ(openIn(good, mode), S_OK) << std::hex << mode;
    for (const DWORD mode : {0x200010u, 0x210010u, 0x210020u, 0x1010u, 0x4000010u, 0x50u, 0x13u, 0x80000010u})
        EXPECT_EQ(openIn(good, mode), STG_E_INVALIDFLAG) << std::hex << mode;
    EXPECT_EQ(openIn({}, 0x10), STG_E_FILENOTFOUND);
    EXPECT_EQ(openIn(Bytes(100, 0xD0), 0x10), STG_E_FILEALREADYEXISTS);
    EXPECT_EQ(openIn(Bytes(600, 0x20), 0x10), STG_E_FILEALREADYEXISTS);
    EXPECT_EQ(StgIsStorageILockBytes(lockBytesOf(good).get()), S_OK);
    EXPECT_EQ(StgIsStorageILockBytes(lockBytesOf(Bytes(600, 0x20)).get()), S_FALSE);
    EXPECT_EQ(StgIsStorageILockBytes(lockBytesOf({}).get()), S_FALSE);
    ComPtr<IStorage> storage;
    EXPECT_EQ(StgOpenStorageOnILockBytes(nullptr, nullptr, 0x10, nullptr, 0, storage.put()), STG_E_INVALIDPOINTER);
    EXPECT_EQ(StgOpenStorageOnILockBytes(lockBytesOf(good).get(), nullptr, 0x10, nullptr, 0, nullptr), STG_E_INVALIDPOINTER);
    EXPECT_EQ(StgOpenStorageOnILockBytes(lockBytesOf(good).get(), nullptr, 0x10, nullptr, 1, storage.put()), STG_E_INVALIDPARAMETER);
}

TEST(CompoundFileReading, AByteArrayServesSeveralReadersWhoseStreamsAreTheirOwn)
{
    CompoundFileBuilder builder;
    addSample(builder.root());
    const auto bytes = lockBytesOf(builder.build());
    ComPtr<IStorage> first, second;
    ASSERT_EQ(StgOpenStorageOnILockBytes(bytes.get(), nullptr, 0x10040, nullptr, 0, first.put()), S_OK);
    ASSERT_EQ(StgOpenStorageOnILockBytes(bytes.get(), nullptr, 0x210040, nullptr, 0, second.put()), S_OK);
    ComPtr<IStream> held;
    ASSERT_EQ(first->OpenStream(u"size 63", nullptr, readElement, 0, held.put()), S_OK);
    EXPECT_EQ(differences(readTree(*second), treeOf(builder.root())), "");
}

} // namespace
} // namespace kvdm::test
