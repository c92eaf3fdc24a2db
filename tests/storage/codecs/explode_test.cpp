#include "storage/codecs/explode.h"

#include "storage/codecs/codecSupport.h"

#include <array>

namespace kvdm::test {
namespace {

struct Exploded
{
    int result;
    Bytes bytes;
};

Exploded explodeAll(const Bytes& input, std::size_t piece = 2048)
{
    PieceReader source{input, piece};
    CollectingWriter target;
    const int result = explode(&PieceReader::read, &source, &CollectingWriter::write, &target);
    return {result, target.bytes};
}

// The codes of the first 64 byte values as they are published: bits lowest first, and how many.
constexpr std::array<std::uint16_t, 64> publishedCodes = {
    0x0490, 0x0FE0, 0x07E0, 0x0BE0, 0x03E0, 0x0DE0, 0x05E0, 0x09E0, 0x01E0, 0x00B8, 0x0062, 0x0EE0, 0x06E0, 0x0022, 0x0AE0, 0x02E0,
    0x0CE0, 0x04E0, 0x08E0, 0x00E0, 0x0F60, 0x0760, 0x0B60, 0x0360, 0x0D60, 0x0560, 0x1240, 0x0960, 0x0160, 0x0E60, 0x0660, 0x0A60,
    0x000F, 0x0250, 0x0038, 0x0260, 0x0050, 0x0C60, 0x0390, 0x00D8, 0x0042, 0x0002, 0x0058, 0x01B0, 0x007C, 0x0029, 0x003C, 0x0098,
    0x005C, 0x0009, 0x001C, 0x006C, 0x002C, 0x004C, 0x0018, 0x000C, 0x0074, 0x00E8, 0x0068, 0x0460, 0x0090, 0x0034, 0x00B0, 0x0710};
constexpr std::array<std::uint8_t, 64> publishedLengths = {11, 12, 12, 12, 12, 12, 12, 12, 12, 8,  7, 12, 12, 7,  12, 12, 12, 12, 12, 12, 12, 12,
                                                           12, 12, 12, 12, 13, 12, 12, 12, 12, 12, 4, 10, 8,  12, 10, 12, 10, 8,  7,  7,  8,  9,
                                                           7,  6,  7,  8,  7,  6,  7,  7,  7,  7,  8, 7,  7,  8,  8,  12, 11, 7,  9,  11};

TEST(Explode, PublishedExampleDecodes)
{
    const Exploded exploded = explodeAll({0x00, 0x04, 0x82, 0x24, 0x25, 0x8F, 0x80, 0x7F});
    EXPECT_EQ(exploded.result, explodeDone);
    EXPECT_EQ(textOf(exploded.bytes), "AIAIAIAIAIAIA");
}

TEST(Explode, CodedLiteralsFollowThePublishedCodes)
{
    ImplodedBits input({1, 6});
    Bytes expected;
    for (std::size_t value = 0; value < publishedCodes.size(); ++value) {
        input.put(0, 1).put(publishedCodes[value], publishedLengths[value]);
        expected.push_back(static_cast<std::uint8_t>(value));
    }
    const Exploded exploded = explodeAll(input.end().bytes);
    EXPECT_EQ(exploded.result, explodeDone);
    EXPECT_EQ(exploded.bytes, expected);
}

TEST(Explode, StreamOfSeveralWindowsDecodesFromPiecesOfAnySize)
{
    const Bytes clear = corpusBytes("tables.xml");
    for (const std::size_t piece : {1, 3, 2048, 1 << 20}) {
        const Exploded exploded = explodeAll(corpusBytes("tables.imploded"), piece);
        EXPECT_EQ(exploded.result, explodeDone) << piece;
        EXPECT_EQ(exploded.bytes, clear) << piece;
    }
}

TEST(Explode, WindowGoesToTheWriterEachTimeItFillsAndAtTheEnd)
{
    ImplodedBits input({0, 6});
    input.literal('x').literal('y');
    for (int i = 0; i < 20; ++i)
        input.longestPair(2);
    PieceReader source{input.end().bytes};
    CollectingWriter target;
    EXPECT_EQ(explode(&PieceReader::read, &source, &CollectingWriter::write, &target), explodeDone);
    EXPECT_EQ(target.pieces, (std::vector<std::uint32_t>{4096, 4096, 2 + 20 * 518 - 2 * 4096}));
    for (std::size_t i = 0; i < target.bytes.size(); ++i)
        ASSERT_EQ(target.bytes[i], i % 2 == 0 ? 'x' : 'y') << i;
}

TEST(Explode, PairReachesBackAWholeWindow)
{
    ImplodedBits input({0, 6});
    const Bytes head = noise(4096);
    for (const std::uint8_t byte : head)
        input.literal(byte);
    input.put(1, 1).put(0, 7).put(254, 8).put(0, 8).put(63, 6); // 518 bytes from a distance of 4096
    const Exploded exploded = explodeAll(input.end().bytes);
    EXPECT_EQ(exploded.result, explodeDone);
    EXPECT_EQ(exploded.bytes, head + Bytes(head.begin(), head.begin() + 518));
}

TEST(Explode, DamageIsToldByTheResultAndWhatCameOutStays)
{
    const Bytes letters = ImplodedBits({0, 6}).literal('a').literal('b').bytes;
    const struct
    {
        const char* name;
        Bytes input;
        int result;
        std::string output;
    } cases[] = {
        {"nothing", {}, explodeInputRanOut, ""},
        {"one byte", {0}, explodeInputRanOut, ""},
        {"first byte", {2}, explodeBadLiteralForm, ""},
        {"few dictionary bits", {0, 3}, explodeBadDictionary, ""},
        {"many dictionary bits", {1, 7}, explodeBadDictionary, ""},
        {"no end", letters, explodeInputRanOut, "ab"},
        {"four bytes", {0x00, 0x04, 0x82, 0x24}, explodeInputRanOut, "A"},
        {"distance before the data", ImplodedBits({0, 6}).literal('a').longestPair(2).end().bytes, explodeBadDistance, "a"},
    };
    for (const auto& each : cases) {
        const Exploded exploded = explodeAll(each.input);
        EXPECT_EQ(exploded.result, each.result) << each.name;
        EXPECT_EQ(textOf(exploded.bytes), each.output) << each.name;
    }
}

} // namespace
} // namespace kvdm::test
