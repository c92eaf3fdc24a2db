#include "storage/codecs/compressBlocks.h"
#include "storage/codecs/decompressBlocks.h"

#include "common/exceptions.h"
#include "storage/codecs/codecSupport.h"
#include "storage/codecs/CPRawCodec.h"

namespace kvdm::test {
namespace {

const CPRawCodecZLib zlibCodec;

struct Conversion
{
    Bytes input;
    std::size_t piece = 0x10000;
    std::size_t refuseFrom = SIZE_MAX;
    std::size_t position = 0;
    int readsPastEnd = 0;
    Bytes output = {};
    std::vector<std::uint32_t> pieces = {};

    static std::uint32_t read(std::uint8_t* buffer, std::uint32_t* length, void* context)
    {
        auto& self = *static_cast<Conversion*>(context);
        self.readsPastEnd += self.position == self.input.size();
        const std::size_t count = std::min({std::size_t{*length}, self.piece, self.input.size() - self.position});
        std::copy_n(self.input.data() + self.position, count, buffer);
        self.position += count;
        return *length = static_cast<std::uint32_t>(count);
    }
    static int write(const std::uint8_t* bytes, std::uint32_t length, void* context)
    {
        auto& self = *static_cast<Conversion*>(context);
        if (self.pieces.size() >= self.refuseFrom)
            return 1;
        self.output.insert(self.output.end(), bytes, bytes + length);
        self.pieces.push_back(length);
        return 0;
    }
    int run(const CPRawCodec& codec = zlibCodec) { return compressBlocks(codec, &read, &write, this); }
};

Bytes decompressed(const Bytes& input, std::size_t piece = 2048)
{
    PieceReader source{input, piece};
    CollectingWriter target;
    EXPECT_EQ(decompressBlocks(zlibCodec, &PieceReader::read, &source, &CollectingWriter::write, &target, static_cast<std::uint32_t>(piece)), 0);
    for (const std::uint32_t length : target.pieces)
        EXPECT_LE(length, 2048U);
    return target.bytes;
}

TEST(CompressBlocks, BlocksHoldAMebibyteEachAndComeInSmallPieces)
{
    for (const std::size_t size : {0U, 1U, 0xFFFFFU, 0x100000U, 0x100001U, 0x280000U}) { // nothing gives magic and terminator
        Conversion conversion{noise(size)};
        EXPECT_EQ(conversion.run(), 0);
        EXPECT_EQ(conversion.readsPastEnd, 1) << size;
        for (const std::uint32_t length : conversion.pieces)
            ASSERT_LE(length, 2048U);
        // read by hand, with plain zlib
        const Bytes& out = conversion.output;
        ASSERT_TRUE(std::equal(out.begin(), out.begin() + 16, magic().begin()));
        std::size_t at = 16;
        Bytes clear;
        for (std::size_t left = size; left > 0;) {
            const Bytes sizes(out.begin() + static_cast<std::ptrdiff_t>(at), out.begin() + static_cast<std::ptrdiff_t>(at) + 8);
            const std::size_t expected = std::min<std::size_t>(left, 0x100000);
            ASSERT_EQ(Bytes(sizes.begin(), sizes.begin() + 4), little(static_cast<std::uint32_t>(expected), 4));
            const std::size_t packed = sizes[4] | sizes[5] << 8 | sizes[6] << 16;
            Bytes part(expected);
            uLongf length = expected;
            ASSERT_EQ(uncompress(part.data(), &length, out.data() + at + 8, packed), Z_OK);
            clear = clear + part;
            at += 8 + packed;
            left -= expected;
        }
        EXPECT_EQ(clear, conversion.input);
        EXPECT_EQ(Bytes(out.begin() + static_cast<std::ptrdiff_t>(at), out.end()), Bytes(8));
    }
}

TEST(CompressBlocks, FailuresAreNotWrittenAsBlocks)
{
    struct BadCodec final : CPRawCodec
    {
        int result = Z_BUF_ERROR;
        int compressBlock(std::uint8_t*, std::uint32_t&, const std::uint8_t*, std::uint32_t) const noexcept override { return result; }
        int decompressBlock(std::uint8_t*, std::uint32_t&, const std::uint8_t*, std::uint32_t) const noexcept override { return result; }
    } codec;
    Conversion conversion{noise(10)};
    EXPECT_THROW(conversion.run(codec), suFileException);
    codec.result = Z_MEM_ERROR;
    EXPECT_THROW(Conversion{noise(10)}.run(codec), std::bad_alloc);
    EXPECT_EQ(conversion.output, magic());
    for (const std::size_t refused : {0, 1, 2})
        EXPECT_EQ((Conversion{noise(10), 4, refused}.run()), 1) << refused;
}

TEST(DecompressBlocks, EveryFormGivesTheSameContent)
{
    const Bytes clear = corpusBytes("tables.xml");
    for (const char* name : {"tables.blocks", "tables.imploded", "tables.chunks"}) {
        for (const std::size_t piece : {1, 7, 2048, 1 << 20})
            EXPECT_EQ(decompressed(corpusBytes(name), piece), clear) << name << ' ' << piece;
    }
}

TEST(DecompressBlocks, DamageEndsOrShortensTheOutput)
{
    const Bytes hundred = noise(100);
    const Bytes packed = zlibOf(hundred);
    const auto packedSize = static_cast<std::uint32_t>(packed.size());
    const auto record = [](std::uint32_t size, const Bytes& stream) {
        return little(size, 2) + little(static_cast<std::uint32_t>(stream.size()), 2) + stream;
    };
    Bytes broken = zlibOf(noise(5000));
    broken[broken.size() - 1] ^= 1; // the checksum: all the bytes have come out by then
    const Bytes brokenBlock = little(5000, 4) + little(static_cast<std::uint32_t>(broken.size()), 4) + broken;
    const Bytes cut(packed.begin(), packed.end() - 20);
    uLongf cutLength = 100;
    Bytes cutOutput(100);
    uncompress(cutOutput.data(), &cutLength, cut.data(), cut.size());
    std::fill(cutOutput.begin() + static_cast<std::ptrdiff_t>(cutLength), cutOutput.end(), 0);
    ASSERT_GT(cutLength, 20U);

    const struct
    {
        const char* name;
        Bytes input;
        Bytes output;
    } cases[] = {
        {"empty", {}, {}},
        {"three bytes of the magic", {0x23, 0x1D, 0xD5}, {}},
        {"magic only", magic(), {}},
        {"no blocks", magic() + Bytes(8), {}},
        {"header cut off", magic() + little(100, 4) + little(packedSize, 3), {}},
        {"no terminator", magic() + block(hundred), hundred},
        {"uncompressed size over the limit", magic() + little(0x100001, 4) + little(packedSize, 4) + packed, {}},
        {"uncompressed size of all ones", magic() + little(0xFFFFFFFF, 4) + little(packedSize, 4) + packed, {}},
        {"compressed size over the limit", magic() + little(100, 4) + little(0x200001, 4) + packed, {}},
        {"compressed size 0 with blocks behind", magic() + little(100, 4) + little(0, 4) + block(hundred), {}},
        {"compressed size past the end", magic() + little(100, 4) + little(0x200000, 4) + packed, hundred},
        {"uncompressed size too small", magic() + little(30, 4) + little(packedSize, 4) + packed + block(hundred),
         Bytes(hundred.begin(), hundred.begin() + 30) + hundred},
        {"uncompressed size too large", magic() + little(5000, 4) + little(packedSize, 4) + packed + block(hundred), hundred + hundred},
        {"bad checksum, then a good block", magic() + brokenBlock + block(hundred), noise(5000) + hundred},
        {"no zlib stream, then a good block", magic() + little(9, 4) + little(3, 4) + bytesOf("abc") + block(hundred), hundred},
        {"chunks with two records", record(100, packed) + record(100, packed) + Bytes(4), hundred + hundred},
        {"chunks without an end", record(100, packed), hundred},
        {"chunk past the input", record(100, packed) + little(100, 2) + little(500, 2) + packed, hundred},
        {"chunk that is cut leaves zeros", record(100, cut) + record(100, packed), cutOutput},
        {"chunk that is too long for its size", record(40, packed) + record(100, packed), Bytes(hundred.begin(), hundred.begin() + 40)},
        {"chunk that is short leaves zeros and goes on", record(110, packed) + record(100, packed), hundred + Bytes(10) + hundred},
        {"chunk of nothing behind a size", little(60000, 2) + little(0, 2) + Bytes(4), Bytes(60000)},
        {"imploded without an end is no chunk form either", {0, 6, 0x82, 0x24}, {}},
    };
    for (const auto& each : cases)
        EXPECT_EQ(decompressed(each.input), each.output) << each.name;
}

TEST(DecompressBlocks, ReaderThatFellShortIsNotCalledAgain)
{
    for (const char* name : {"tables.blocks", "tables.imploded"}) {
        PieceReader source{corpusBytes(name), 1000};
        CollectingWriter target;
        decompressBlocks(zlibCodec, &PieceReader::read, &source, &CollectingWriter::write, &target, 1000);
        EXPECT_EQ(source.calls, 2) << name;
        // the first call already gives fewer than the reader is said to give
        PieceReader shortSource{corpusBytes(name), 1000};
        decompressBlocks(zlibCodec, &PieceReader::read, &shortSource, &CollectingWriter::write, &target, 1001);
        EXPECT_EQ(shortSource.calls, 1) << name;
    }
}

TEST(DecompressBlocks, ExceptionsOfTheCallbacksAreSwallowed)
{
    const auto throwing = [](void*, const std::uint8_t**) -> std::uint32_t { throw suFileException(suFileException::hardIO); };
    CollectingWriter target;
    EXPECT_EQ(decompressBlocks(zlibCodec, throwing, nullptr, &CollectingWriter::write, &target, 2048), 0);
    EXPECT_TRUE(target.bytes.empty());
    PieceReader source{corpusBytes("tables.blocks")};
    const auto refusing = [](void*, const std::uint8_t*, std::uint32_t) -> int { throw std::bad_alloc(); };
    EXPECT_EQ(decompressBlocks(zlibCodec, &PieceReader::read, &source, refusing, nullptr, 2048), 0);
}

TEST(DecompressBlocks, RefusingWriterStopsTheReading)
{
    PieceReader source{blockForm({noise(0x100000), noise(0x100000), noise(0x100000)})};
    CollectingWriter target;
    target.refuseFrom = 3;
    decompressBlocks(zlibCodec, &PieceReader::read, &source, &CollectingWriter::write, &target, 2048);
    EXPECT_EQ(target.bytes.size(), 3U * 2048);
    EXPECT_LT(source.position, source.bytes.size() / 2);
}

} // namespace
} // namespace kvdm::test
