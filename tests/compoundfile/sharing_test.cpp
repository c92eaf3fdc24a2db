// Files of the system: share modes between handles and between processes, readers beside a writer, processes that are killed.
#include "platform/compoundfile/checker.h"
#include "platform/compoundfile/lockBytes.h"
#include "support/StorageTools.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <functional>

namespace kvdm::test {
namespace {

constexpr DWORD writing = 0x10022, readingOn = 0x210040, readingSnapshot = 0x10040;

// A file of its own for one test.
class SharedFile : public ::testing::Test
{
protected:
    SharedFile()
    {
        CompoundFileBuilder builder;
        builder.root().stream(u"large", patternBytes(100000));
        builder.root().stream(u"small", patternBytes(100));
        builder.write(nativeName);
        name = std::u16string(nativeName.begin(), nativeName.end());
    }

    HRESULT open(DWORD mode, ComPtr<IStorage>& storage) { return StgOpenStorage(name.c_str(), nullptr, mode, nullptr, 0, storage.put()); }
    HRESULT status(DWORD mode)
    {
        ComPtr<IStorage> storage;
        return open(mode, storage);
    }
    // What another process gets when it runs this; its exit code.
    int inChild(const std::function<int()>& body)
    {
        const pid_t child = fork();
        if (child == 0)
            _exit(body());
        int result = 0;
        waitpid(child, &result, 0);
        return WIFEXITED(result) ? WEXITSTATUS(result) : -1;
    }
    std::size_t fileSize() const { return readWholeFile(nativeName).size(); }

    TemporaryFolder folder;
    std::string nativeName = folder / "shared.kvdprt";
    std::u16string name;
};

TEST_F(SharedFile, WhatOneHandleDeniesAnotherDoesNotGet)
{
    struct Pair
    {
        DWORD first, second;
        HRESULT status;
    };
    const Pair pairs[] = {
        {writing, writing, STG_E_SHAREVIOLATION},
        {writing, readingOn, S_OK},
        {writing, readingSnapshot, S_OK},
        {writing, 0x10000, S_OK},
        {writing, 0x20, STG_E_LOCKVIOLATION},
        {writing, 0x10, STG_E_LOCKVIOLATION},
        {readingOn, writing, S_OK},
        {readingOn, readingOn, S_OK},
        {readingOn, 0x10012, STG_E_LOCKVIOLATION},
        {0x20, writing, STG_E_SHAREVIOLATION},
        {0x20, 0x20, S_OK},
        {0x20, readingSnapshot, S_OK},
        {0x10012, readingOn, STG_E_SHAREVIOLATION},
        {0x10012, writing, STG_E_SHAREVIOLATION},
        {0x10, readingOn, STG_E_SHAREVIOLATION},
    };
    for (const Pair& pair : pairs) {
        ComPtr<IStorage> first;
        ASSERT_EQ(open(pair.first, first), S_OK) << std::hex << pair.first;
        EXPECT_EQ(status(pair.second), pair.status) << std::hex << pair.first << " then " << pair.second;
        EXPECT_EQ(inChild([&] { return status(pair.second) == pair.status ? 0 : 1; }), 0) << std::hex << "in another process: " << pair.second;
        first.reset();
        EXPECT_EQ(status(0x10012), S_OK) << "everything is given back";
    }
}

TEST_F(SharedFile, CreationDoesNotPullAFileAwayFromAnybody)
{
    ComPtr<IStorage> held, made;
    const Bytes before = readWholeFile(nativeName);
    for (const DWORD mode : {writing, readingOn, readingSnapshot}) {
        ASSERT_EQ(open(mode, held), S_OK);
        EXPECT_EQ(StgCreateDocfile(name.c_str(), 0x11022, 0, made.put()), STG_E_SHAREVIOLATION);
        EXPECT_EQ(inChild([&] { return StgCreateDocfile(name.c_str(), 0x11022, 0, made.put()) == STG_E_SHAREVIOLATION ? 0 : 1; }), 0);
        held.reset();
        EXPECT_EQ(readWholeFile(nativeName), before);
    }
    // Who comes between creation and commit keeps what is there then.
    ASSERT_EQ(StgCreateDocfile(name.c_str(), 0x11022, 0, made.put()), S_OK);
    ASSERT_TRUE(writeStream(*made, u"other", patternBytes(50000)));
    ASSERT_EQ(open(readingOn, held), S_OK);
    const Tree old = readTree(*held);
    EXPECT_EQ(differences(readTree(*openStorageOf(before)), old), "") << "nothing is gone before the commit";
    ASSERT_EQ(made->Commit(STGC_DEFAULT), S_OK);
    made.reset();
    EXPECT_EQ(differences(readTree(*held), old), "");
    EXPECT_EQ(readTree(*openStorageOf(readWholeFile(nativeName))), (Tree{{u"other", patternBytes(50000)}}));
    held.reset();
    ASSERT_EQ(StgCreateDocfile(name.c_str(), 0x11022, 0, made.put()), S_OK);
    ASSERT_TRUE(writeStream(*made, u"last", patternBytes(40000)));
    ASSERT_EQ(made->Commit(STGC_DEFAULT), S_OK);
    ASSERT_TRUE(writeStream(*made, u"never", patternBytes(70000)));
    made.reset();
    EXPECT_LT(fileSize(), 60000u) << "nobody needs the old one: the new one moves to its place";
    EXPECT_TRUE(checkCompoundFile(*lockBytesOf(readWholeFile(nativeName))).empty());
    EXPECT_EQ(readTree(*openStorageOf(readWholeFile(nativeName))), (Tree{{u"last", patternBytes(40000)}}));
    EXPECT_EQ(StgCreateDocfile(name.c_str(), 0x10022, 0, made.put()), STG_E_FILEALREADYEXISTS);
    EXPECT_EQ(StgCreateDocfile(name.c_str(), 0x11022, 0, made.put()), S_OK);
    EXPECT_EQ(status(writing), STG_E_SHAREVIOLATION);
    made.reset();
    EXPECT_EQ(StgCreateDocfile((name + u"/none/x").c_str(), 0x11022, 0, made.put()), STG_E_PATHNOTFOUND);
    EXPECT_EQ(StgCreateDocfile(nullptr, 0x4011012, 0, made.put()), S_OK);
    STATSTG told{};
    ASSERT_EQ(made->Stat(&told, STATFLAG_DEFAULT), S_OK);
    const std::u16string temporary(told.pwcsName);
    CoTaskMemFree(told.pwcsName);
    EXPECT_EQ(StgIsStorageFile(temporary.c_str()), S_OK);
    made.reset();
    EXPECT_EQ(StgIsStorageFile(temporary.c_str()), STG_E_FILENOTFOUND) << "deleted on release";
}

// The file itself stays, with its owner, its rights and whatever leads to it; nothing is needed of its folder.
TEST_F(SharedFile, ANewFileTakesThePlaceOfWhateverIsThereAsAWhole)
{
    CompoundFileBuilder wideSectors(4);
    wideSectors.root().stream(u"old", patternBytes(20000));
    Bytes damaged = readWholeFile(nativeName);
    putLe32(damaged, 48, 0x00ABCDEF); // no directory
    for (const Bytes& old : {readWholeFile(nativeName), wideSectors.build(), damaged, Bytes(100000, 'x'), Bytes(512, 0)}) {
        ASSERT_TRUE(writeWholeFile(nativeName, old));
        const std::string link = folder / "link";
        std::filesystem::create_symlink(nativeName, link);
        std::filesystem::permissions(nativeName, std::filesystem::perms(0640));
        ComPtr<IStorage> made, inner;
        ASSERT_EQ(StgCreateDocfile(std::u16string(link.begin(), link.end()).c_str(), 0x11022, 0, made.put()), S_OK);
        ASSERT_TRUE(writeStream(*made, u"reverted", patternBytes(30000, 3)));
        ASSERT_EQ(made->Revert(), S_OK);
        EXPECT_TRUE(readTree(*made).empty());
        ASSERT_TRUE(writeStream(*made, u"lost", patternBytes(30000, 4)));
        made.reset();
        EXPECT_TRUE(readWholeFile(nativeName) == old) << "what was not committed never was";
        // A transaction below goes on over the commit that makes the file.
        ASSERT_EQ(StgCreateDocfile(std::u16string(link.begin(), link.end()).c_str(), 0x11022, 0, made.put()), S_OK);
        ASSERT_TRUE(writeStream(*made, u"large", patternBytes(30000, 5)));
        ASSERT_EQ(made->CreateStorage(u"Inner", writeElement | STGM_TRANSACTED, 0, 0, inner.put()), S_OK);
        ASSERT_TRUE(writeStream(*inner, u"deep", patternBytes(9000, 6)));
        ASSERT_EQ(inner->Commit(STGC_DEFAULT), S_OK);
        ASSERT_EQ(made->Commit(STGC_DEFAULT), S_OK);
        ComPtr<IStream> deep;
        ULONG written = 0;
        ASSERT_EQ(inner->OpenStream(u"deep", nullptr, writeElement, 0, deep.put()), S_OK);
        ASSERT_EQ(deep->Write("patch", 5, &written), S_OK);
        ASSERT_TRUE(writeStream(*made, u"other", patternBytes(60000, 7)));
        ASSERT_EQ(made->Commit(STGC_DEFAULT), S_OK);
        ASSERT_EQ(inner->Commit(STGC_DEFAULT), S_OK);
        ASSERT_EQ(made->Commit(STGC_DEFAULT), S_OK);
        deep.reset();
        inner.reset();
        made.reset();
        Bytes patched = patternBytes(9000, 6);
        std::copy_n("patch", 5, patched.begin());
        const Bytes now = readWholeFile(nativeName);
        EXPECT_EQ(
            differences(readTree(*openStorageOf(now)),
                        (Tree{{u"large", patternBytes(30000, 5)}, {u"Inner/", {}}, {u"Inner/deep", patched}, {u"other", patternBytes(60000, 7)}})),
            "");
        EXPECT_TRUE(checkCompoundFile(*lockBytesOf(now)).empty());
        EXPECT_LT(now.size(), 220000u);
        EXPECT_TRUE(std::filesystem::is_symlink(link));
        EXPECT_EQ(std::filesystem::status(nativeName).permissions(), std::filesystem::perms(0640));
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(std::filesystem::path(link).parent_path()), {}), 2);
        std::filesystem::remove(link);
    }
}

TEST_F(SharedFile, AReaderThatDeniesNothingKeepsItsStateWhileAWriterCommits)
{
    for (const DWORD mode : {readingOn, readingSnapshot}) {
        for (const bool otherProcess : {false, true}) {
            ComPtr<IStorage> reader, writer;
            int ready[2], done[2];
            ASSERT_EQ(pipe(ready), 0);
            ASSERT_EQ(pipe(done), 0);
            pid_t child = 0;
            char byte = 0;
            Tree expected;
            ASSERT_EQ(open(mode, reader), S_OK);
            expected = readTree(*reader);
            if (otherProcess) {
                reader.reset();
                child = fork();
                if (child == 0) {
                    ComPtr<IStorage> own;
                    const bool good = SUCCEEDED(open(mode, own));
                    (void)!write(ready[1], "r", 1);
                    (void)!read(done[0], &byte, 1);
                    _exit(good && differences(readTree(*own), expected).empty() ? 0 : 1);
                }
                ASSERT_EQ(read(ready[0], &byte, 1), 1);
            }
            const std::size_t sizeBefore = fileSize();
            ASSERT_EQ(open(writing, writer), S_OK);
            for (std::uint32_t i = 1; i <= 10; ++i) {
                ASSERT_TRUE(writeStream(*writer, u"large", patternBytes(100000, i)));
                ASSERT_TRUE(writeStream(*writer, u"small", patternBytes(100, i)));
                ASSERT_EQ(writer->Commit(STGC_ONLYIFCURRENT), S_OK);
                if (!otherProcess) {
                    EXPECT_EQ(differences(readTree(*reader), expected), "") << "after commit " << i;
                }
            }
            EXPECT_GT(fileSize(), sizeBefore + 500000) << "nothing that the reader has may be used again";
            if (otherProcess) {
                (void)!write(done[1], "d", 1);
                int result = 1;
                waitpid(child, &result, 0);
                EXPECT_EQ(result, 0);
            }
            reader.reset();
            for (int i = 0; i < 6; ++i) { // nobody reads any more: the room is used again
                ASSERT_TRUE(writeStream(*writer, u"large", patternBytes(100000, 20 + i)));
                ASSERT_EQ(writer->Commit(STGC_ONLYIFCURRENT), S_OK);
            }
            EXPECT_LT(fileSize(), sizeBefore + 400000);
            for (const int descriptor : {ready[0], ready[1], done[0], done[1]})
                close(descriptor);
        }
    }
}

TEST_F(SharedFile, MoreReadersThanThereArePlacesAreToldSo)
{
    std::vector<ComPtr<IStorage>> readers(20);
    for (auto& reader : readers)
        ASSERT_EQ(open(readingOn, reader), S_OK);
    EXPECT_EQ(status(readingOn), STG_E_TOOMANYOPENFILES);
    EXPECT_EQ(status(readingSnapshot), S_OK) << "what the caller tries next";
    readers.pop_back();
    EXPECT_EQ(status(readingOn), S_OK);
}

TEST_F(SharedFile, AKilledProcessLeavesACommittedState)
{
    const int kills = std::getenv("KVDM_TEST_FULL") ? 400 : 12;
    for (int kill = 0; kill < kills; ++kill) {
        const pid_t child = fork();
        if (child == 0) { // each state is told by all of its streams at once
            ComPtr<IStorage> root;
            if (FAILED(open(writing, root)))
                _exit(1);
            for (std::uint32_t i = 1;; ++i) {
                writeStream(*root, u"large", patternBytes(50000 + i % 7 * 30000, i));
                writeStream(*root, u"small", patternBytes(i % 5 * 1000, i));
                writeStream(*root, u"number", {static_cast<std::uint8_t>(i), static_cast<std::uint8_t>(i >> 8)});
                if (FAILED(root->Commit(STGC_DEFAULT)))
                    _exit(1);
            }
        }
        usleep(static_cast<useconds_t>(3000 + kill * 7919 % 20000));
        ::kill(child, SIGKILL);
        int result = 0;
        waitpid(child, &result, 0);
        ASSERT_TRUE(WIFSIGNALED(result));
        ComPtr<IStorage> root;
        ASSERT_EQ(open(readingOn, root), S_OK);
        if (const auto number = readStream(*root, u"number")) {
            const std::uint32_t i = (*number)[0] | (*number)[1] << 8;
            EXPECT_EQ(readStream(*root, u"large"), patternBytes(50000 + i % 7 * 30000, i));
            EXPECT_EQ(readStream(*root, u"small"), patternBytes(i % 5 * 1000, i));
        }
        root.reset();
        const auto faults = checkCompoundFile(*lockBytesOf(readWholeFile(nativeName)));
        ASSERT_TRUE(faults.empty()) << faults.front();
    }
    EXPECT_LT(fileSize(), 2000000u) << "what killed saves left behind is used again";
}

TEST_F(SharedFile, TheLockRegionStaysOutOfEveryChainWhenAFileGrowsPastIt)
{
    CompoundFileBuilder builder(4);
    builder.root().filled(u"hole", 0x7FFFF000 - (6u << 20));
    ASSERT_TRUE(builder.write(nativeName));
    ComPtr<IStorage> root;
    ASSERT_EQ(open(writing, root), S_OK);
    const Bytes content = patternBytes(12u << 20);
    ASSERT_TRUE(writeStream(*root, u"across", content));
    ASSERT_EQ(root->Commit(STGC_DEFAULT), S_OK);
    ASSERT_TRUE(writeStream(*root, u"behind", patternBytes(100000)));
    ASSERT_EQ(root->Commit(STGC_DEFAULT), S_OK);
    root.reset();
    HRESULT status = S_OK;
    const auto bytes = openFileLockBytes(name, FileAccess::read, FileCreation::openExisting, status);
    const auto faults = checkCompoundFile(*bytes);
    EXPECT_TRUE(faults.empty()) << faults.front();
    Bytes region(4096, 1);
    ULONG read = 0;
    ASSERT_EQ(bytes->ReadAt(wide(0x7FFFF000), region.data(), 4096, &read), S_OK);
    EXPECT_EQ(region, Bytes(4096)) << "nothing is ever written there";
    ASSERT_EQ(open(readingOn, root), S_OK);
    EXPECT_TRUE(readStream(*root, u"across") == content);
    EXPECT_EQ(readStream(*root, u"behind"), patternBytes(100000));
    // Version 3 ends there.
    const auto small = lockBytesOf({});
    ASSERT_EQ(StgCreateDocfileOnILockBytes(small.get(), 0x11022, 0, root.put()), S_OK);
    ComPtr<IStream> stream;
    ASSERT_EQ(root->CreateStream(u"x", writeElement, 0, 0, stream.put()), S_OK);
    EXPECT_EQ(stream->SetSize(wide(0x80000000)), STG_E_DOCFILETOOLARGE);
}

TEST_F(SharedFile, MissingForeignAndTruncatedFilesHaveTheirStatuses)
{
    ComPtr<IStorage> storage;
    EXPECT_EQ(StgOpenStorage(u"/no/such/file", nullptr, readingOn, nullptr, 0, storage.put()), STG_E_PATHNOTFOUND);
    EXPECT_EQ(StgOpenStorage((name + u"x").c_str(), nullptr, readingOn, nullptr, 0, storage.put()), STG_E_FILENOTFOUND);
    EXPECT_EQ(StgOpenStorage(nullptr, nullptr, readingOn, nullptr, 0, storage.put()), STG_E_INVALIDNAME);
    EXPECT_EQ(status(0x40), STG_E_INVALIDFLAG); // a file that is not transacted must keep writers out
    const std::string folderName = folder / "";
    EXPECT_EQ(StgOpenStorage(std::u16string(folderName.begin(), folderName.end()).c_str(), nullptr, readingOn, nullptr, 0, storage.put()),
              STG_E_ACCESSDENIED);

    ASSERT_EQ(open(writing, storage), S_OK);
    ASSERT_TRUE(writeStream(*storage, u"new", patternBytes(10000)));
    ASSERT_EQ(truncate(nativeName.c_str(), 2000), 0);
    EXPECT_EQ(storage->Commit(STGC_DEFAULT), STG_E_DOCFILECORRUPT);
    EXPECT_FALSE(readStream(*storage, u"large"));
    storage.reset();
    ASSERT_TRUE(writeWholeFile(nativeName, {}));
    EXPECT_EQ(status(readingOn), STG_E_FILEALREADYEXISTS) << "an empty file is there, but no storage";
    ASSERT_TRUE(writeWholeFile(nativeName, Bytes(1000, 'x')));
    EXPECT_EQ(status(readingOn), STG_E_FILEALREADYEXISTS);
    EXPECT_EQ(StgIsStorageFile(name.c_str()), S_FALSE);
}

TEST_F(SharedFile, ASaveOfAFileThatWasRemovedOrReplacedIsNotSilentlyLost)
{
    for (const bool replaced : {false, true}) {
        CompoundFileBuilder builder;
        builder.write(nativeName);
        builder.write(folder / "other");
        const Bytes other = readWholeFile(folder / "other");
        ComPtr<IStorage> storage;
        ASSERT_EQ(open(writing, storage), S_OK);
        ASSERT_TRUE(writeStream(*storage, u"new", patternBytes(10000)));
        if (replaced)
            std::filesystem::rename(folder / "other", nativeName);
        else
            std::filesystem::remove(nativeName);
        EXPECT_EQ(storage->Commit(STGC_DEFAULT), STG_E_FILENOTFOUND);
        EXPECT_EQ(readStream(*storage, u"new"), patternBytes(10000)) << "it can still be copied elsewhere";
        storage.reset();
        EXPECT_EQ(readWholeFile(nativeName), replaced ? other : Bytes());
    }
}

// As a user without rights meets them; the superuser has all.
TEST_F(SharedFile, FilesAndFoldersThatMayNotBeWrittenHaveTheirStatuses)
{
    const std::string inner = folder / "inner", locked = inner + "/locked", open = inner + "/open";
    std::filesystem::create_directory(inner);
    for (const std::string& path : {locked, open}) {
        std::filesystem::copy_file(nativeName, path);
        std::filesystem::permissions(path, std::filesystem::perms(path == open ? 0666 : 0444));
    }
    std::filesystem::permissions(std::filesystem::path(inner).parent_path(), std::filesystem::perms(0755));
    std::filesystem::permissions(inner, std::filesystem::perms(0555));
    const Bytes before = readWholeFile(locked);
    EXPECT_EQ(inChild([&] {
                  if (geteuid() == 0 && setuid(65534) != 0)
                      return 100;
                  const auto wideName = [](const std::string& path) { return std::u16string(path.begin(), path.end()); };
                  ComPtr<IStorage> storage;
                  if (StgOpenStorage(wideName(locked).c_str(), nullptr, writing, nullptr, 0, storage.put()) != STG_E_ACCESSDENIED)
                      return 1;
                  if (StgCreateDocfile(wideName(locked).c_str(), 0x11022, 0, storage.put()) != STG_E_ACCESSDENIED)
                      return 2;
                  if (StgCreateDocfile(wideName(inner + "/new").c_str(), 0x11022, 0, storage.put()) != STG_E_ACCESSDENIED)
                      return 3;
                  if (StgOpenStorage(wideName(locked).c_str(), nullptr, readingOn, nullptr, 0, storage.put()) != S_OK)
                      return 4;
                  // Neither a save nor a new file in the place of another one needs anything of the folder.
                  if (StgOpenStorage(wideName(open).c_str(), nullptr, writing, nullptr, 0, storage.put()) != S_OK ||
                      !writeStream(*storage, u"new", patternBytes(5000)) || storage->Commit(STGC_DEFAULT) != S_OK)
                      return 5;
                  storage.reset();
                  if (StgCreateDocfile(wideName(open).c_str(), 0x11022, 0, storage.put()) != S_OK ||
                      !writeStream(*storage, u"only", patternBytes(5000)) || storage->Commit(STGC_DEFAULT) != S_OK)
                      return 6;
                  return 0;
              }),
              0);
    std::filesystem::permissions(inner, std::filesystem::perms(0755));
    EXPECT_EQ(readWholeFile(locked), before);
    EXPECT_EQ(readTree(*openStorageOf(readWholeFile(open))), (Tree{{u"only", patternBytes(5000)}}));
}

} // namespace
} // namespace kvdm::test
