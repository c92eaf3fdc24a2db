#include "storage/codecs/suCompressedArchiveData_c.h"
#include "storage/codecs/suCompressedFile_c.h"

#include "storage/archive/su_CArchive.h"
#include "storage/archive/suMemoryFile.h"
#include "storage/codecs/codecSupport.h"
#include "storage/codecs/CPRawCodec.h"
#include "storage/codecs/decompressBlocks.h"
#include "storage/codecs/deferredCompression.h"

#include <sys/resource.h>

#include <memory>
#include <optional>

namespace kvdm::test {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool underSanitizer = true;
#elif defined(__has_feature)
constexpr bool underSanitizer = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
constexpr bool underSanitizer = false;
#endif

constexpr int zip = 2, zlb = 4, storing = 3;

const auto diskFails = [] { throw suFileException(suFileException::hardIO, 23); };
const auto memoryFails = [] { throw std::bad_alloc(); };

Bytes decoded(const Bytes& stream)
{
    PieceReader source{stream};
    CollectingWriter target;
    decompressBlocks(CPRawCodecZLib(), &PieceReader::read, &source, &CollectingWriter::write, &target, 2048);
    return target.bytes;
}

Bytes readAll(suFile& file, std::size_t callSize = 65536)
{
    Bytes all;
    Bytes part(callSize);
    while (const std::size_t got = file.Read(part.data(), part.size()))
        all.insert(all.end(), part.begin(), part.begin() + static_cast<std::ptrdiff_t>(got));
    return all;
}

// What Close says: the decode result, 0 when nothing was thrown, the cause of another file exception above 1000.
int closeResult(suFile& file)
{
    try {
        file.Close();
        return 0;
    } catch (const suCompressedStreamException& exception) {
        return exception.decodeResult;
    } catch (const suFileException& exception) {
        return 1000 + exception.cause;
    }
}

// ---- reading ----

TEST(CompressedStream, EveryFormReadsInCallsOfAnySize)
{
    const Bytes clear = corpusBytes("tables.xml");
    const struct
    {
        const char* name;
        int type;
    } forms[] = {{"tables.blocks", zlb}, {"tables.imploded", zlb}, {"tables.chunks", zlb}, {"tables.imploded", zip}};
    // What lies behind the end makes the node one that is worth a worker.
    for (const std::size_t padding : {0, 40000}) {
        for (const bool isDeferred : {false, true}) {
            for (const auto& form : forms) {
                for (const std::size_t callSize : {1, 1000, 65536}) {
                    ScriptedFile node(corpusBytes(form.name) + Bytes(padding));
                    std::optional<DeferredCompressionScope> scope;
                    if (isDeferred)
                        scope.emplace();
                    suCompressedFile_c file(node, false, form.type);
                    scope.reset();
                    EXPECT_EQ(readAll(file, callSize), clear) << form.name << ' ' << callSize;
                    EXPECT_EQ(closeResult(file), 0);
                    EXPECT_EQ(node.closed, 1);
                    if (padding == 0 || isDeferred) {
                        EXPECT_EQ(node.users, std::set{std::this_thread::get_id()});
                    }
                }
            }
        }
    }
}

TEST(CompressedStream, FewBytesOfManyBlocksDecodeAsTheyAreTaken)
{
    const Bytes block(0x100000, ' ');
    ScriptedFile node(blockForm({block, block, block}));
    suCompressedFile_c file(node, false, zlb);
    EXPECT_EQ(node.users, std::set{std::this_thread::get_id()});
    EXPECT_EQ(readAll(file), block + block + block);
    EXPECT_EQ(closeResult(file), 0);
}

TEST(CompressedStream, BlocksOfAMebibyteComeInOrder)
{
    const std::vector<Bytes> blocks = {noise(0x100000), Bytes(0x100000, ' '), noise(0x100000), noise(77)};
    ScriptedFile node(blockForm(blocks));
    suCompressedFile_c file(node, false, zlb);
    EXPECT_EQ(readAll(file, 0x12345), blocks[0] + blocks[1] + blocks[2] + blocks[3]);
    EXPECT_EQ(closeResult(file), 0);
    EXPECT_EQ(node.users.size(), 2U) << "what is large is left to the worker";
}

TEST(CompressedStream, OldNodeThatHoldsNoImplodedDataFailsAtClose)
{
    ScriptedFile node(corpusBytes("tables.chunks"));
    suCompressedFile_c file(node, false, zip);
    EXPECT_TRUE(readAll(file).empty());
    EXPECT_EQ(closeResult(file), -1);
    EXPECT_EQ(closeResult(file), 0) << "once";
}

// Whether Close throws depends on the bytes that the client took, never on how far the worker is.
TEST(CompressedStream, CloseFailsExactlyWhenAllBytesWereTaken)
{
    const Bytes fourBytes = {0x00, 0x04, 0x82, 0x24}; // "A", then the input runs out
    ImplodedBits bits({0, 6});
    bits.literal('x');
    for (int i = 0; i < 1000; ++i)
        bits.longestPair(1);
    const Bytes& longer = bits.bytes;
    const std::size_t longerSize = 1 + 1000 * 518;
    const struct
    {
        const char* name;
        Bytes node;
        std::vector<std::size_t> reads;
        std::size_t lastRead;
        int result;
    } cases[] = {
        {"nothing read", fourBytes, {}, 0, 0},
        {"read past the end", fourBytes, {10}, 1, 2},
        {"read up to the end", fourBytes, {1}, 1, 2},
        {"read at the end again", fourBytes, {1, 1}, 0, 2},
        {"no bytes at all", {2}, {}, 0, -1},
        {"half", longer, {longerSize / 2}, longerSize / 2, 0},
        {"all but one byte", longer, {longerSize - 1}, longerSize - 1, 0},
        {"all", longer, {longerSize - 1, 1}, 1, 2},
    };
    for (int round = 0; round < 20; ++round) {
        for (const auto& each : cases) {
            ScriptedFile node(each.node);
            suCompressedFile_c file(node, false, zip);
            Bytes buffer(longerSize);
            std::size_t last = 0;
            for (const std::size_t count : each.reads)
                EXPECT_NO_THROW(last = file.Read(buffer.data(), count)) << each.name;
            EXPECT_EQ(last, each.lastRead) << each.name;
            EXPECT_EQ(closeResult(file), each.result) << each.name;
            EXPECT_EQ(node.closed, 1) << each.name;
        }
    }
}

TEST(CompressedStream, CloseOfAHalfReadStreamEndsTheWorker)
{
    const Bytes stream = blockForm({noise(0x100000), noise(0x100000), noise(0x100000), noise(0x100000)});
    for (const std::size_t count : {1, 0x80000, 0x100000, 0x180000}) {
        ScriptedFile node(stream);
        suCompressedFile_c file(node, false, zlb);
        Bytes buffer(count);
        EXPECT_EQ(file.Read(buffer.data(), count), count);
        EXPECT_EQ(closeResult(file), 0);
        EXPECT_LT(node.position, stream.size()) << "the worker does not run far ahead";
        EXPECT_THROW(file.Read(buffer.data(), 1), suFileException);
    }
    ScriptedFile node(stream);
    {
        const suCompressedFile_c abandoned(node, false, zlb);
    }
    EXPECT_EQ(node.closed, 1);
}

TEST(CompressedStream, FailureOfTheNodeComesBehindTheBytesBeforeIt)
{
    const Bytes first = noise(0x100000);
    const Bytes stream = blockForm({first, noise(0x100000)});
    for (const bool isDeferred : {false, true}) {
        const auto open = [&](ScriptedFile& node) {
            node.failReadAt = blockForm({first}).size() + 10000;
            node.failure = diskFails;
            if (isDeferred) {
                const DeferredCompressionScope scope;
                return std::make_unique<suCompressedFile_c>(node, false, zlb);
            }
            return std::make_unique<suCompressedFile_c>(node, false, zlb);
        };
        Bytes buffer(first.size() + 1);

        ScriptedFile nodes[3] = {ScriptedFile(stream), ScriptedFile(stream), ScriptedFile(stream)};
        auto file = open(nodes[0]);
        EXPECT_EQ(file->Read(buffer.data(), first.size()), first.size());
        EXPECT_EQ(Bytes(buffer.begin(), buffer.end() - 1), first);
        EXPECT_THROW(file->Read(buffer.data(), 1), suFileException);
        EXPECT_EQ(closeResult(*file), 0) << "it was thrown before";

        file = open(nodes[1]);
        EXPECT_EQ(file->Read(buffer.data(), first.size()), first.size());
        EXPECT_EQ(closeResult(*file), suCompressedStreamException::fileFailed) << "not asked for";

        file = open(nodes[2]);
        EXPECT_EQ(file->Read(buffer.data(), first.size() - 1), first.size() - 1);
        EXPECT_EQ(closeResult(*file), 0) << "given up";
    }
}

TEST(CompressedStream, FailureOfAnOldNodeComesBehindWhatWasDecoded)
{
    ImplodedBits bits({0, 6});
    const Bytes clear = noise(9000);
    for (const std::uint8_t byte : clear)
        bits.literal(byte);
    ScriptedFile node(bits.end().bytes);
    node.failReadAt = 8192; // the second window of 4096 bytes is not whole by then
    node.failure = diskFails;
    suCompressedFile_c file(node, false, zip);
    Bytes buffer(4096);
    EXPECT_EQ(file.Read(buffer.data(), 4096), 4096U);
    EXPECT_TRUE(std::equal(buffer.begin(), buffer.end(), clear.begin()));
    EXPECT_THROW(file.Read(buffer.data(), 1), suFileException);
}

TEST(CompressedStream, OtherFailuresKeepTheirType)
{
    ScriptedFile node(blockForm({noise(10)}));
    node.failReadAt = 0;
    node.failure = memoryFails;
    suCompressedFile_c file(node, false, zlb);
    char byte;
    EXPECT_THROW(file.Read(&byte, 1), std::bad_alloc);
    EXPECT_NO_THROW(file.Close());

    ScriptedFile closing(blockForm({noise(10)}));
    closing.failClose = true;
    closing.failure = diskFails;
    suCompressedFile_c healthy(closing, false, zlb);
    EXPECT_EQ(closeResult(healthy), 1000 + suFileException::hardIO);
}

// ---- storing ----

TEST(CompressedStream, WritesOfAnySizeGiveTheBlockForm)
{
    const Bytes clear = noise(0x280001);
    for (const std::size_t callSize : {1000U, 4096U, 65536U, 0x280001U}) {
        ScriptedFile node;
        suCompressedFile_c file(node, true, storing);
        for (std::size_t at = 0; at < clear.size(); at += callSize)
            file.Write(clear.data() + at, std::min(callSize, clear.size() - at));
        file.Close();
        EXPECT_EQ(decoded(node.bytes), clear) << callSize;
        EXPECT_EQ(Bytes(node.bytes.begin() + 16, node.bytes.begin() + 20), little(0x100000, 4));
        EXPECT_EQ(Bytes(node.bytes.end() - 8, node.bytes.end()), Bytes(8));
        EXPECT_LE(node.longestWrite, 2048U);
        EXPECT_EQ(node.users.count(std::this_thread::get_id()), 0U);
        EXPECT_EQ(node.closed, 1);
    }
    for (const std::size_t size : {0, 1, 4095, 4096, 4097, 0xFFFFF, 0x100000, 0x100001}) {
        ScriptedFile node;
        suCompressedFile_c file(node, true, storing);
        file.Write(clear.data(), size);
        file.Close();
        EXPECT_EQ(decoded(node.bytes), Bytes(clear.begin(), clear.begin() + static_cast<std::ptrdiff_t>(size))) << size;
        EXPECT_EQ(Bytes(node.bytes.end() - 8, node.bytes.end()), Bytes(8)) << size;
    }
    ScriptedFile abandoned;
    {
        suCompressedFile_c file(abandoned, true, storing);
        file.Write("abc", 3);
    }
    EXPECT_EQ(textOf(decoded(abandoned.bytes)), "abc") << "the destructor finishes what Close was not called for";
}

TEST(CompressedStream, FailedWritingShowsAtTheNextHandOverOrAtClose)
{
    const Bytes clear = noise(0x100000);
    const struct
    {
        const char* name;
        std::size_t failAt;            // of the node
        std::vector<std::size_t> good; // writes that pass
        std::size_t bad;               // the write that throws, 0 for Close
    } cases[] = {
        {"the magic, when 4096 bytes have to go to the worker", 0, {4095}, 1},
        {"the magic, with few bytes", 0, {100}, 0},
        {"the first block, 4096 bytes behind it", 50000, {clear.size(), 4095}, 10},
        {"the last block", 500, {10000}, 0},
    };
    for (const auto& each : cases) {
        ScriptedFile node;
        node.failWriteAt = each.failAt;
        node.failure = diskFails;
        suCompressedFile_c file(node, true, storing);
        for (const std::size_t count : each.good)
            EXPECT_NO_THROW(file.Write(clear.data(), count)) << each.name;
        for (int i = 0; i < 2 && each.bad != 0; ++i)
            EXPECT_THROW(file.Write(clear.data(), each.bad), suFileException) << each.name;
        EXPECT_EQ(closeResult(file), each.bad != 0 ? 0 : 1000 + suFileException::hardIO) << each.name;
        EXPECT_EQ(closeResult(file), 0) << each.name;
        EXPECT_EQ(node.closed, 1) << each.name;
    }
}

TEST(CompressedStream, ThreadThatCannotBeMadeIsAMemoryFailure)
{
    if (underSanitizer)
        GTEST_SKIP() << "a sanitizer's memory map does not bear the limit";
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto constructWithoutRoomForAStack = [] {
        const rlimit limit{1 << 20, 1 << 20};
        setrlimit(RLIMIT_AS, &limit);
        ScriptedFile node;
        try {
            suCompressedFile_c file(node, true, storing);
        } catch (const std::bad_alloc&) {
            _Exit(node.closed == 0 ? 42 : 1);
        }
        _Exit(0);
    };
    EXPECT_EXIT(constructWithoutRoomForAStack(), testing::ExitedWithCode(42), "");
}

// ---- deferred ----

TEST(CompressedFile2, CompressesOnTheClientsThreadWhenItIsTold)
{
    const Bytes clear = noise(0x180000);
    ScriptedFile node;
    suCompressedFile2_c file(node, true, storing);
    EXPECT_TRUE(file.defers());
    file.Write(clear.data(), clear.size());
    EXPECT_TRUE(node.users.empty());
    file.runDeferred();
    EXPECT_EQ(node.users, std::set{std::this_thread::get_id()});
    EXPECT_EQ(decoded(node.bytes), clear);
    EXPECT_THROW(file.Write(clear.data(), 1), suFileException) << "the compressed stream has its end";
    const std::size_t size = node.bytes.size();
    file.Close();
    EXPECT_EQ(node.bytes.size(), size);
    EXPECT_EQ(node.closed, 1);
}

TEST(CompressedFile2, CloseWritesWhatWasNotRun)
{
    ScriptedFile node;
    suCompressedFile2_c file(node, true, storing);
    file.Write("abc", 3);
    file.Close();
    EXPECT_EQ(textOf(decoded(node.bytes)), "abc");

    ScriptedFile full;
    full.failWriteAt = 20;
    full.failure = diskFails;
    suCompressedFile2_c failing(full, true, storing);
    failing.Write("abc", 3);
    EXPECT_EQ(closeResult(failing), 1000 + suFileException::hardIO);
    EXPECT_EQ(full.closed, 1);
}

// ---- inside an archive ----

TEST(CompressedArchiveData, LiesBehindItsLengthBetweenOtherFields)
{
    const Bytes clear = corpusBytes("tables.xml");
    suMemoryFile file;
    su_CArchive archive(&file, su_CArchive::store);
    archive << std::uint32_t{0x11111111};
    suCompressedArchiveData_c data(archive, true, storing);
    data.Write(clear.data(), clear.size());
    data.Close();
    archive << std::uint32_t{0x22222222};
    archive.Flush();

    const Bytes& content = file.content();
    const std::size_t size = content.size() - 12;
    EXPECT_EQ(Bytes(content.begin(), content.begin() + 8), little(0x11111111, 4) + little(static_cast<std::uint32_t>(size), 4));
    EXPECT_EQ(decoded(Bytes(content.begin() + 8, content.end() - 4)), clear);
    EXPECT_EQ(Bytes(content.end() - 4, content.end()), little(0x22222222, 4));
}

TEST(CompressedArchiveData, ArchiveGoesOnBehindTheDataHoweverMuchWasRead)
{
    for (const char* form : {"tables.blocks", "tables.imploded", "tables.chunks"}) {
        const Bytes packed = corpusBytes(form);
        for (const std::size_t wanted : {0, 1, 5000, 11230, 20000}) {
            suMemoryFile file(little(static_cast<std::uint32_t>(packed.size()), 4) + packed + little(0x33333333, 4));
            su_CArchive archive(&file, su_CArchive::load, 128);
            suCompressedArchiveData_c data(archive, false, zlb);
            Bytes buffer(wanted);
            EXPECT_EQ(data.Read(buffer.data(), wanted), std::min<std::size_t>(wanted, 11230));
            EXPECT_EQ(closeResult(data), 0);
            EXPECT_EQ(archive.read<std::uint32_t>(), 0x33333333U) << form << ' ' << wanted;
        }
    }
    suMemoryFile lying(little(0xFFFFFFFF, 4) + corpusBytes("tables.blocks"));
    su_CArchive archive(&lying, su_CArchive::load);
    suCompressedArchiveData_c data(archive, false, zlb);
    EXPECT_EQ(readAll(data), corpusBytes("tables.xml"));
    EXPECT_EQ(closeResult(data), 0);
    suMemoryFile cut(Bytes{1, 2, 3});
    su_CArchive short3(&cut, su_CArchive::load);
    EXPECT_THROW(suCompressedArchiveData_c(short3, false, zlb), suArchiveException);
}

} // namespace
} // namespace kvdm::test
