#include "storage/codecs/suHuffmanProc_c.h"

#include "storage/archive/suMemoryFile.h"
#include "storage/codecs/codecSupport.h"

namespace kvdm::test {
namespace {

Bytes entry(char value, std::uint32_t count)
{
    return Bytes{static_cast<std::uint8_t>(value)} + little(count, 4);
}

TEST(HuffmanConversion, CodesAreThoseOfTheTreeInTableOrder)
{
    // "aab" and the appended "0": "0" and "b" are joined first, then "a" (first of equals in the table) with the joint.
    suMemoryFile source(bytesOf("aab")), target;
    EXPECT_EQ(suHuffmanProc_c(source, target, true).compress(), 600U);
    const Bytes expected = little(4, 4) + little(3, 4) + entry('0', 1) + entry('a', 2) + entry('b', 1) + Bytes{0x38};
    EXPECT_EQ(target.content(), expected);
    EXPECT_EQ(textOf(source.content()), "aab0");

    suMemoryFile packed(expected), clear;
    EXPECT_EQ(suHuffmanProc_c(packed, clear, false).decompress(0), 1);
    EXPECT_EQ(textOf(clear.content()), "aab0");
}

TEST(HuffmanConversion, SourcesOfEveryShapeComeBack)
{
    Bytes allValues;
    for (int i = 0; i < 70000; ++i)
        allValues.push_back(static_cast<std::uint8_t>(i % 256 < 200 ? i % 7 : i / 3));
    for (const Bytes& clear : {Bytes{}, bytesOf("00000"), allValues, noise(3000)}) {
        suMemoryFile source(clear), packed, back;
        EXPECT_NE(suHuffmanProc_c(source, packed, true).compress(), suCompressProc_c::failed);
        packed.Seek(0, suFile::Origin::begin);
        EXPECT_EQ(suHuffmanProc_c(packed, back, false).decompress(0), 1);
        EXPECT_EQ(back.content(), clear + bytesOf("0"));
    }
}

TEST(HuffmanConversion, HostileHeadersAreRefused)
{
    const struct
    {
        const char* name;
        Bytes input;
    } cases[] = {
        {"empty", {}},
        {"no values", little(0, 4) + little(0, 4)},
        {"too many values", little(4, 4) + little(257, 4) + Bytes(2000, 1)},
        {"table cut off", little(2, 4) + little(2, 4) + entry('a', 1)},
        {"values repeat", little(2, 4) + little(2, 4) + entry('a', 1) + entry('a', 1) + Bytes{0}},
        {"count of 0", little(1, 4) + little(2, 4) + entry('a', 1) + entry('b', 0) + Bytes{0}},
        {"counts do not add up", little(9, 4) + little(2, 4) + entry('a', 1) + entry('b', 1) + Bytes{0}},
        {"counts add up by overflow", little(1, 4) + little(2, 4) + entry('a', 0xFFFFFFFF) + entry('b', 2) + Bytes{0}},
        {"a single value without measure", little(0xFFFFFFFF, 4) + little(1, 4) + entry('a', 0xFFFFFFFF)},
        {"more bytes than bits", little(0xFFFFFFFE, 4) + little(2, 4) + entry('a', 0x7FFFFFFF) + entry('b', 0x7FFFFFFF) + Bytes(3)},
    };
    for (const auto& each : cases) {
        suMemoryFile source(each.input), target;
        EXPECT_EQ(suHuffmanProc_c(source, target, false).decompress(0), 0) << each.name;
        EXPECT_LE(target.content().size(), 8 * each.input.size()) << each.name;
    }
}

} // namespace
} // namespace kvdm::test
