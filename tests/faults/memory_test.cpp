// Memory that is refused at any moment of a save: a status comes back, the old file is whole, and a repeated save is whole too.
#include "platform/compoundfile/checker.h"
#include "support/RefusedMemory.h"
#include "support/StorageTools.h"

#include <gtest/gtest.h>

namespace kvdm::test {
namespace {

Bytes startingFile()
{
    CompoundFileBuilder builder;
    for (char16_t i = 0; i < 40; ++i)
        builder.root().stream(std::u16string(1, static_cast<char16_t>(0x4E00 + i)), patternBytes(i * 200, i));
    builder.root().storage(u"Inner").stream(u"x", patternBytes(9000));
    return builder.build();
}

const Bytes content = patternBytes(30000, 9); // made before any memory is refused

// Everything that a save does. A careful caller does not commit after a failure, a careless one does.
HRESULT save(ILockBytes& array, bool careful = true)
{
    const auto worse = [](HRESULT& all, HRESULT one) { all = FAILED(all) ? all : one; };
    HRESULT status = S_OK;
    ComPtr<IStorage> root, inner;
    worse(status, StgOpenStorageOnILockBytes(&array, nullptr, 0x10022, nullptr, 0, root.put()));
    if (FAILED(status))
        return status;
    for (const char16_t* name : {u"new 1", u"\u4E05", u"new 2"}) {
        ComPtr<IStream> stream;
        ULONG written = 0;
        worse(status, root->CreateStream(name, writeElement | STGM_CREATE, 0, 0, stream.put()));
        if (stream)
            worse(status, stream->Write(content.data(), name[0] == u'n' ? 30000 : 700, &written));
    }
    worse(status, root->DestroyElement(u"\u4E10"));
    worse(status, root->RenameElement(u"\u4E11", u"renamed"));
    worse(status, root->OpenStorage(u"Inner", nullptr, writeElement | STGM_TRANSACTED, nullptr, 0, inner.put()));
    if (inner) {
        ComPtr<IStream> stream;
        worse(status, inner->CreateStream(u"y", writeElement, 0, 0, stream.put()));
        worse(status, inner->RenameElement(u"x", u"z"));
        worse(status, inner->Commit(STGC_ONLYIFCURRENT));
    }
    if (SUCCEEDED(status) || !careful)
        worse(status, root->Commit(STGC_ONLYIFCURRENT));
    return status;
}

TEST(ExhaustedMemory, ASaveFailsWithAStatusAndLeavesAWholeFile)
{
    const Bytes before = startingFile();
    const auto reference = lockBytesOf(before);
    ASSERT_EQ(save(*reference), S_OK);
    const Tree old = readTree(*openStorageOf(before)), after = readTree(*openStorageOf(bytesOf(*reference)));
    HRESULT status = E_FAIL;
    long refusals = 0;
    for (; FAILED(status); ++refusals) {
        const auto array = lockBytesOf(before);
        allocationsLeft = refusals;
        status = save(*array);
        allocationsLeft = -1;
        const Bytes left = bytesOf(*array);
        const Tree found = readTree(*openStorageOf(left));
        ASSERT_EQ(differences(found, SUCCEEDED(status) ? after : old), "") << "allocation " << refusals;
        ASSERT_TRUE(checkCompoundFile(*array).empty()) << "allocation " << refusals;
        ASSERT_TRUE(SUCCEEDED(status) || status == E_OUTOFMEMORY) << std::hex << status;
        ASSERT_EQ(save(*array), SUCCEEDED(status) ? STG_E_FILENOTFOUND : S_OK); // the second time there is nothing to destroy
    }
    EXPECT_GT(refusals, 200);
}

TEST(ExhaustedMemory, ANewFileInThePlaceOfAnotherIsThereAsAWholeOrNotAtAll)
{
    const Bytes before = startingFile();
    const Tree old = readTree(*openStorageOf(before)), expected{{u"new", content}};
    HRESULT status = E_FAIL;
    for (long refusals = 0; FAILED(status); ++refusals) {
        const auto array = lockBytesOf(before);
        allocationsLeft = refusals;
        ComPtr<IStorage> root;
        ComPtr<IStream> stream;
        ULONG written = 0;
        status = StgCreateDocfileOnILockBytes(array.get(), 0x11022, 0, root.put());
        if (SUCCEEDED(status))
            status = root->CreateStream(u"new", writeElement, 0, 0, stream.put());
        if (SUCCEEDED(status))
            status = stream->Write(content.data(), 30000, &written);
        if (SUCCEEDED(status))
            status = root->Commit(STGC_DEFAULT);
        stream.reset();
        root.reset(); // here it moves down, if memory allows
        const long left = allocationsLeft;
        allocationsLeft = -1;
        const Bytes bytes = bytesOf(*array);
        ASSERT_EQ(differences(readTree(*openStorageOf(bytes)), SUCCEEDED(status) ? expected : old), "") << "allocation " << refusals;
        ASSERT_TRUE(checkCompoundFile(*array).empty()) << "allocation " << refusals;
        ASSERT_TRUE(SUCCEEDED(status) || status == E_OUTOFMEMORY) << std::hex << status;
        if (SUCCEEDED(status) && left <= 0)
            status = E_FAIL; // until the move down has all that it asks for
    }
}

TEST(ExhaustedMemory, ACommitInSpiteOfFailuresLeavesASoundFile)
{
    const Bytes before = startingFile();
    HRESULT status = E_FAIL;
    for (long refusals = 0; FAILED(status); ++refusals) {
        const auto array = lockBytesOf(before);
        allocationsLeft = refusals;
        status = save(*array, false);
        allocationsLeft = -1;
        ASSERT_TRUE(checkCompoundFile(*array).empty()) << "allocation " << refusals;
        for (const auto& [path, bytes] : readTree(*openStorageOf(bytesOf(*array))))
            ASSERT_NE(bytes, Bytes({'u', 'n', 'r', 'e', 'a', 'd', 'a', 'b', 'l', 'e'})) << "allocation " << refusals;
    }
}

TEST(ExhaustedMemory, ReadingFailsWithAStatusAndGoesOnAfterwards)
{
    const auto array = lockBytesOf(startingFile());
    HRESULT status = E_FAIL;
    for (long refusals = 0; FAILED(status); ++refusals) {
        allocationsLeft = refusals;
        ComPtr<IStorage> root;
        ComPtr<IStream> stream;
        ComPtr<IEnumSTATSTG> elements;
        std::uint8_t block[100];
        ULONG read = 0;
        status = StgOpenStorageOnILockBytes(array.get(), nullptr, readElement, nullptr, 0, root.put());
        if (SUCCEEDED(status))
            status = root->EnumElements(0, nullptr, 0, elements.put());
        if (SUCCEEDED(status))
            status = root->OpenStream(u"\u4E20", nullptr, readElement, 0, stream.put());
        if (SUCCEEDED(status))
            status = stream->Read(block, sizeof block, &read);
        allocationsLeft = -1;
        if (root && !stream) {
            EXPECT_TRUE(readStream(*root, u"\u4E20")) << refusals;
        }
    }
}

} // namespace
} // namespace kvdm::test
