#include "storage/lockbytes/CLockBytesOnStream.h"

#include "storage/lockbytes/clientStream.h"
#include "storage/suStreamFile.h"

#include "common/exceptions.h"

#include <gtest/gtest.h>

#include <functional>

namespace kvdm::test {
namespace {

struct LockBytesOnStream : testing::Test
{
    ComPtr<ClientStream> stream = makeObject<ClientStream>(std::uint64_t{6} << 30);
    ComPtr<CLockBytesOnStream> bytes = makeObject<CLockBytesOnStream>(*stream);

    void expectPattern(const std::vector<std::uint8_t>& got, std::uint64_t place, std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i)
            ASSERT_EQ(got[i], ClientStream::patternAt(place + i)) << i;
    }
};

TEST_F(LockBytesOnStream, ReadsWholeWhateverTheStreamsHabits)
{
    for (const ULONG mostAtOnce : {0xFFFFFFFFU, 1000U, 1U}) {
        for (const bool leavesOutParameters : {false, true}) {
            stream->mostAtOnce = mostAtOnce;
            stream->leavesOutParameters = leavesOutParameters;
            for (const std::uint64_t offset :
                 {std::uint64_t{0}, std::uint64_t{0x100000001}, stream->size - 5000, stream->size - 100, stream->size + 9}) {
                const std::uint64_t expected = std::min<std::uint64_t>(5000, offset < stream->size ? stream->size - offset : 0);
                std::vector<std::uint8_t> buffer(5000, 0xEE);
                ULONG read = 77;
                EXPECT_EQ(bytes->ReadAt(large(offset), buffer.data(), 5000, &read), S_OK);
                EXPECT_EQ(read, expected) << offset << ' ' << mostAtOnce << ' ' << leavesOutParameters;
                expectPattern(buffer, offset, expected);
                EXPECT_EQ(bytes->ReadAt(large(offset), buffer.data(), 5000, nullptr), S_OK);
            }
        }
    }
}

TEST_F(LockBytesOnStream, WritesWholeOrTellsThatTheStreamIsFull)
{
    stream->mostAtOnce = 7;
    ULONG written = 77;
    EXPECT_EQ(bytes->WriteAt(large(0x123456789), "twenty bytes of text", 20, &written), S_OK);
    EXPECT_EQ(written, 20U);
    EXPECT_EQ(std::string(stream->written.begin(), stream->written.end()), "twenty bytes of text");
    EXPECT_EQ(stream->writtenAt, 0x123456789U);
    stream->room = 12;
    EXPECT_EQ(bytes->WriteAt(large(0), "twenty bytes of text", 20, &written), STG_E_MEDIUMFULL);
    EXPECT_EQ(written, 12U);
}

TEST_F(LockBytesOnStream, FailuresOfTheStreamArePassedOn)
{
    char buffer[4];
    ULONG moved = 77;
    stream->seekStatus = STG_E_SEEKERROR;
    EXPECT_EQ(bytes->ReadAt(large(0), buffer, 4, &moved), STG_E_SEEKERROR);
    EXPECT_EQ(moved, 0U);
    EXPECT_EQ(bytes->WriteAt(large(0), buffer, 4, nullptr), STG_E_SEEKERROR);
    stream->seekStatus = S_OK;
    stream->status = STG_E_INVALIDFUNCTION;
    STATSTG statistics;
    EXPECT_EQ(bytes->ReadAt(large(0), buffer, 4, &moved), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(bytes->LockRegion(large(1), large(2), LOCK_EXCLUSIVE), STG_E_INVALIDFUNCTION) << "streams may not have it";
    EXPECT_EQ(bytes->Stat(&statistics, STATFLAG_NONAME), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(bytes->ReadAt(large(0), nullptr, 4, &moved), STG_E_INVALIDPOINTER);
}

TEST_F(LockBytesOnStream, OtherOperationsAreTheStreamsOwn)
{
    EXPECT_EQ(bytes->Flush(), S_OK);
    EXPECT_EQ(bytes->SetSize(large(0x200000001)), S_OK);
    EXPECT_EQ(bytes->LockRegion(large(0x7FFFFF92), large(1), LOCK_ONLYONCE), S_OK);
    EXPECT_EQ(bytes->UnlockRegion(large(5), large(6), LOCK_EXCLUSIVE), S_OK);
    EXPECT_EQ(stream->calls, "Commit0;SetSize;Lock2147483538,1,4;Unlock5,6,2;");
    STATSTG statistics;
    EXPECT_EQ(bytes->Stat(&statistics, STATFLAG_NONAME), S_OK);
    EXPECT_EQ(statistics.type, STGTY_LOCKBYTES);
    EXPECT_EQ(statistics.cbSize.QuadPart, 0x200000001U);
    EXPECT_EQ(statistics.grfMode, STATFLAG_NONAME) << "the flag reaches the stream";
}

TEST_F(LockBytesOnStream, CountsReferencesAndAnswersForItsInterfaces)
{
    EXPECT_TRUE(queryAs<IUnknown>(bytes.get()));
    EXPECT_TRUE(queryAs<ILockBytes>(bytes.get()));
    void* out = &out;
    EXPECT_EQ(bytes->QueryInterface(IID_IStream, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    stream->AddRef();
    EXPECT_EQ(stream->Release(), 2U) << "the array holds the stream";
    const ComPtr<ILockBytes> lent = ComPtr<ILockBytes>::share(bytes.get());
    bytes->destroy();
    stream->AddRef();
    EXPECT_EQ(stream->Release(), 1U);
    char byte;
    EXPECT_EQ(lent->ReadAt(large(0), &byte, 1, nullptr), STG_E_REVERTED);
}

struct StreamFile : testing::Test
{
    ComPtr<ClientStream> stream = makeObject<ClientStream>(10000);
    suStreamFile file;

    void SetUp() override { file.attach(ComPtr<IStream>::share(stream.get())); }
    suFileException caught(const std::function<void()>& work)
    {
        try {
            work();
        } catch (const suFileException& exception) {
            return exception;
        }
        ADD_FAILURE() << "nothing was thrown";
        return suFileException(suFileException::none);
    }
};

TEST_F(StreamFile, ReadsAndWritesWholeThroughShortCalls)
{
    stream->mostAtOnce = 300;
    std::vector<std::uint8_t> buffer(4000);
    EXPECT_EQ(file.Seek(7000, suFile::Origin::begin), 7000U);
    EXPECT_EQ(file.bytesLeft(), 3000U);
    EXPECT_EQ(file.Read(buffer.data(), buffer.size()), 3000U);
    EXPECT_EQ(buffer[2999], ClientStream::patternAt(9999));
    EXPECT_EQ(file.bytesLeft(), 0U);
    file.Write(buffer.data(), 1000);
    EXPECT_EQ(stream->written, std::vector<std::uint8_t>(buffer.begin(), buffer.begin() + 1000));
    EXPECT_EQ(file.GetLength(), 11000U);
    EXPECT_EQ(file.Seek(-1, suFile::Origin::end), 10999U);
    EXPECT_EQ(file.GetPosition(), 10999U);
    file.Close();
    EXPECT_FALSE(file.isOpen());
    stream->AddRef();
    EXPECT_EQ(stream->Release(), 1U) << "Close lets go of the stream";
}

TEST_F(StreamFile, FailuresKeepTheSystemsErrorOrTheStatus)
{
    const struct
    {
        HRESULT status;
        suFileException::Cause cause;
        std::int32_t osError;
    } cases[] = {
        {STG_E_FILENOTFOUND, suFileException::fileNotFound, 2},     {STG_E_ACCESSDENIED, suFileException::accessDenied, 5},
        {E_ACCESSDENIED, suFileException::accessDenied, 5},         {STG_E_SHAREVIOLATION, suFileException::sharingViolation, 32},
        {STG_E_MEDIUMFULL, suFileException::diskFull, 112},         {STG_E_INUSE, suFileException::sharingViolation, STG_E_INUSE},
        {STG_E_REVERTED, suFileException::generic, STG_E_REVERTED}, {E_FAIL, suFileException::generic, E_FAIL},
    };
    char byte = 0;
    for (const auto& each : cases) {
        stream->status = each.status;
        for (const suFileException& exception :
             {caught([&] { file.Read(&byte, 1); }), caught([&] { file.Write(&byte, 1); }), caught([&] { file.Flush(); }),
              caught([&] { file.GetLength(); }), caught([&] { file.SetLength(1); })}) {
            EXPECT_EQ(exception.cause, each.cause);
            EXPECT_EQ(exception.osError, each.osError);
        }
        EXPECT_EQ(file.bytesLeft(), UINT64_MAX) << "not known";
    }
    stream->status = S_OK;
    stream->seekStatus = STG_E_SEEKERROR;
    EXPECT_EQ(caught([&] { file.Seek(0, suFile::Origin::begin); }).cause, suFileException::badSeek);
    stream->seekStatus = S_OK;
    stream->room = 0;
    EXPECT_EQ(caught([&] { file.Write(&byte, 1); }).cause, suFileException::diskFull);
    file.Close();
    EXPECT_EQ(caught([&] { file.Read(&byte, 1); }).cause, suFileException::invalidFile);
    EXPECT_EQ(file.bytesLeft(), 0U);
}

} // namespace
} // namespace kvdm::test
