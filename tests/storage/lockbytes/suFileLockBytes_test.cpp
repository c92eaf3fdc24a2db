#include "storage/lockbytes/suFileLockBytes.h"

#include "storage/lockbytes/clientStream.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace kvdm::test {
namespace {

constexpr HRESULT invalidHandle = kvHresult(0x80070006);
constexpr HRESULT lockViolation = kvHresult(0x80070021);

struct FileLockBytes : testing::Test
{
    std::string native = testing::TempDir() + "kvdmFileLockBytes" + std::to_string(processId());
    std::u16string path = pathFromNative(native);
    ComPtr<suFileLockBytes> bytes = makeObject<suFileLockBytes>();

    ~FileLockBytes() override { std::remove(native.c_str()); }
    void makeFile(const std::string& content)
    {
        std::FILE* file = std::fopen(native.c_str(), "wb");
        std::fwrite(content.data(), 1, content.size(), file);
        std::fclose(file);
    }
};

TEST_F(FileLockBytes, ReadsAndWritesByPosition)
{
    ASSERT_EQ(bytes->create(path), S_OK);
    ULONG done = 0;
    EXPECT_EQ(bytes->WriteAt(large(4), "text", 4, &done), S_OK);
    EXPECT_EQ(done, 4U);
    EXPECT_EQ(bytes->WriteAt(large(0x180000000), "far", 3, nullptr), S_OK);
    EXPECT_EQ(bytes->Flush(), S_OK);
    char buffer[9] = {};
    EXPECT_EQ(bytes->ReadAt(large(0x180000001), buffer, 8, &done), S_OK);
    EXPECT_EQ(done, 2U) << "fewer only at the end";
    EXPECT_STREQ(buffer, "ar");
    EXPECT_EQ(bytes->SetSize(large(6)), S_OK);
    EXPECT_EQ(bytes->ReadAt(large(0), buffer, 8, &done), S_OK);
    EXPECT_EQ(std::string(buffer, done), std::string("\0\0\0\0te", 6));
    EXPECT_EQ(bytes->ReadAt(large(6), buffer, 8, &done), S_OK);
    EXPECT_EQ(done, 0U);
}

TEST_F(FileLockBytes, OpeningTellsTheSystemsError)
{
    EXPECT_EQ(bytes->open(path, false), kvHresult(0x80070002));
    EXPECT_EQ(bytes->open(path + u"/x", false), kvHresult(0x80070003));
    EXPECT_EQ(bytes->open(pathFromNative(testing::TempDir()), false), kvHresult(0x80070005));
    makeFile("abc");
    EXPECT_EQ(bytes->open(path, false), S_OK);
    EXPECT_EQ(bytes->WriteAt(large(0), "x", 1, nullptr), kvHresult(0x80070005)) << "opened for reading";
    EXPECT_EQ(bytes->open(path, true), S_OK);
    EXPECT_EQ(bytes->WriteAt(large(0), "x", 1, nullptr), S_OK);
    EXPECT_EQ(bytes->create(path), S_OK);
    STATSTG statistics;
    EXPECT_EQ(bytes->Stat(&statistics, STATFLAG_NONAME), S_OK);
    EXPECT_EQ(statistics.cbSize.QuadPart, 0U) << "an existing file is emptied";
}

TEST_F(FileLockBytes, WithoutAFileEverythingIsAnInvalidHandle)
{
    char byte = 0;
    ULONG done = 77;
    STATSTG statistics;
    EXPECT_EQ(bytes->ReadAt(large(0), &byte, 1, &done), invalidHandle);
    EXPECT_EQ(done, 0U);
    EXPECT_EQ(bytes->WriteAt(large(0), &byte, 1, &done), invalidHandle);
    EXPECT_EQ(bytes->Flush(), invalidHandle);
    EXPECT_EQ(bytes->SetSize(large(0)), invalidHandle);
    EXPECT_EQ(bytes->LockRegion(large(0), large(1), LOCK_EXCLUSIVE), invalidHandle);
    EXPECT_EQ(bytes->UnlockRegion(large(0), large(1), LOCK_EXCLUSIVE), invalidHandle);
    EXPECT_EQ(bytes->Stat(&statistics, STATFLAG_DEFAULT), invalidHandle);
    EXPECT_EQ(statistics.pwcsName, nullptr);
}

TEST_F(FileLockBytes, ReadersDoNotTakeTheFormatsOwnLocks)
{
    makeFile("abc");
    const ComPtr<suFileLockBytes> writer = makeObject<suFileLockBytes>();
    ASSERT_EQ(bytes->open(path, false), S_OK);
    ASSERT_EQ(writer->open(path, true), S_OK);
    const struct
    {
        std::uint64_t offset;
        bool isIgnored;
    } cases[] = {{0x7FFFFF91, false}, {0x7FFFFF92, true}, {0x7FFFFFE2, true}, {0x7FFFFFE3, false}, {0x17FFFFF92, false}};
    for (const auto& each : cases) {
        EXPECT_EQ(bytes->LockRegion(large(each.offset), large(1), LOCK_EXCLUSIVE), S_OK) << each.offset;
        EXPECT_EQ(writer->LockRegion(large(each.offset), large(1), LOCK_ONLYONCE), each.isIgnored ? S_OK : lockViolation) << each.offset;
        EXPECT_EQ(bytes->UnlockRegion(large(each.offset), large(1), LOCK_EXCLUSIVE), S_OK) << each.offset;
        if (each.isIgnored) // the writer's own lock holds against other writers
            EXPECT_EQ(writer->LockRegion(large(each.offset), large(1), LOCK_EXCLUSIVE), lockViolation) << each.offset;
        else
            EXPECT_EQ(writer->LockRegion(large(each.offset), large(1), LOCK_EXCLUSIVE), S_OK) << each.offset;
        EXPECT_EQ(writer->UnlockRegion(large(each.offset), large(1), LOCK_EXCLUSIVE), S_OK) << each.offset;
    }
    for (const DWORD type : {0U, 1U, 3U, 6U}) {
        EXPECT_EQ(bytes->LockRegion(large(0x7FFFFF92), large(1), type), STG_E_INVALIDFUNCTION);
        EXPECT_EQ(writer->UnlockRegion(large(0), large(1), type), STG_E_INVALIDFUNCTION);
    }
}

TEST_F(FileLockBytes, StatDescribesTheFile)
{
    makeFile("abc");
    ASSERT_EQ(bytes->open(path, false), S_OK);
    STATSTG statistics;
    ASSERT_EQ(bytes->Stat(&statistics, STATFLAG_DEFAULT), S_OK);
    EXPECT_EQ(std::u16string(reinterpret_cast<const char16_t*>(statistics.pwcsName)), path);
    CoTaskMemFree(statistics.pwcsName);
    EXPECT_EQ(statistics.type, STGTY_LOCKBYTES);
    EXPECT_EQ(statistics.cbSize.QuadPart, 3U);
    EXPECT_EQ(statistics.grfMode, 0U);
    EXPECT_EQ(statistics.grfLocksSupported, 6U);
    for (const FILETIME& time : {statistics.ctime, statistics.atime, statistics.mtime})
        EXPECT_GT(time.dwHighDateTime, 0x01D00000U) << "after 2014";
    ASSERT_EQ(bytes->Stat(&statistics, STATFLAG_NONAME), S_OK);
    EXPECT_EQ(statistics.pwcsName, nullptr);
}

} // namespace
} // namespace kvdm::test
