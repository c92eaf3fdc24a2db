// Bitmaps of every depth and layout, and those that must not decode.
#include "platform/imaging/images.h"
#include "support/pictures.h"

#include <gtest/gtest.h>

#include <climits>

namespace kvdm::test {
namespace {

constexpr std::uint32_t runLength8 = 1;
constexpr std::uint32_t runLength4 = 2;
constexpr std::uint32_t bitFields = 3;

Bytes joined(Bytes first, const Bytes& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Bytes cutTo(Bytes bytes, std::size_t length)
{
    bytes.resize(length);
    return bytes;
}

Bytes masks(std::uint32_t red, std::uint32_t green, std::uint32_t blue)
{
    return ArchiveBuilder().u32(red).u32(green).u32(blue).bytes;
}

TEST(Dib, GivesTheSamePixelsAtEveryDepthAndLayout)
{
    const Bytes rgb555{0x00, 0x7C, 0xE0, 0x03, 0x1F, 0x00, 0, 0};
    const Bytes rgb565{0x00, 0xF8, 0xE0, 0x07, 0x1F, 0x00, 0, 0};
    const Bytes runs8{2, 1, 2, 2, 0, 0, 0, 3, 1, 2, 3, 0, 0, 0, 0, 2, 1, 0, 9, 3, 0, 1, 7, 7};
    struct Case
    {
        const char* name;
        Bytes bytes;
        const char* rows;
    };
    const Case cases[] = {
        {"1 bit", dib({9, 2, 1}, "KW", 0, {0x80, 0x80, 0, 0, 0x01, 0x7F, 0, 0}), "KKKKKKKWK/WKKKKKKKW"},
        {"4 bits", dib({3, 2, 4}, "KRG", 13, {0x12, 0x10, 0, 0, 0x02, 0x1F, 0, 0}), "KGR/RGR"},
        {"8 bits", dib({3, 2, 8}, "KRGB", 252, {1, 2, 3, 9, 0, 200, 1, 9}), "KKR/RGB"},
        {"8 bits, top row first", dib({3, -2, 8}, "KRGB", 252, {1, 2, 3, 9, 0, 0, 1, 9}), "RGB/KKR"},
        {"8 bits, the colours that it uses", dib({2, 1, 8, 0, 3}, "WRG", 0, {1, 200, 0, 0}), "RK"},
        {"8 bits, all colours although it uses three", dib({2, 1, 8, 0, 3}, "WRG", 253, {1, 0, 0, 0}), "RW"},
        {"4 bits, more used than there are", dib({2, 1, 4, 0, 99}, "WRG", 13, {0x12, 0, 0, 0}), "RG"},
        {"16 bits", dib({3, 1, 16}, "", 0, rgb555), "RGB"},
        {"16 bits behind a colour for each value", dib({3, 1, 16}, "", 65536, rgb555), "RGB"},
        {"16 bits with masks", dib({3, 1, 16, bitFields}, "", 0, joined(masks(0xF800, 0x07E0, 0x001F), rgb565)), "RGB"},
        {"24 bits", sampleDib(), "RGB/WKW"},
        {"32 bits, whatever the fourth byte", dib({2, 1, 32}, "", 0, {0, 0, 255, 0, 0, 255, 0, 128}), "RG"},
        {"32 bits with masks", dib({2, 1, 32, bitFields}, "", 0, joined(masks(0xFF, 0xFF00, 0xFF0000), {255, 0, 0, 0, 0, 255, 0, 0})), "RG"},
        {"runs of 8 bits", dib({4, 3, 8, runLength8}, "KRGB", 252, runs8), "KBBB/RGBK/RRGG"},
        {"runs of 8 bits, the colours that it uses", dib({4, 3, 8, runLength8, 4, 24}, "KRGB", 0, runs8), "KBBB/RGBK/RRGG"},
        {"runs of 4 bits", dib({5, 2, 4, runLength4}, "KRGW", 12, {5, 0x12, 0, 0, 0, 5, 0x01, 0x23, 0x10, 0xFF, 0, 1}), "KRGWR/RGRGR"},
        {"runs that end early", dib({2, 2, 8, runLength8}, "GR", 254, {1, 1, 0, 7, 1}), "GG/RG"},
        {"runs beside the picture", dib({2, 1, 8, runLength8}, "GR", 254, {0, 2, 200, 0, 9, 1, 0, 2, 0, 200, 9, 1}), "GG"},
    };
    for (const Case& c : cases) {
        const std::optional<ArgbImage> image = decodeDib(c.bytes);
        ASSERT_TRUE(image) << c.name;
        EXPECT_EQ(image->pixels, pixelsOf(c.rows)) << c.name;
        EXPECT_EQ(std::uint64_t{image->width} * image->height, image->pixels.size()) << c.name;
    }
}

TEST(Dib, SpreadsChannelsOfFewerAndMoreBits)
{
    const auto one = [](std::uint16_t bits, const Bytes& tables, std::uint32_t pixel) {
        const auto image = decodeDib(dib({1, 1, bits, tables.empty() ? 0u : bitFields}, "", 0, joined(tables, ArchiveBuilder().u32(pixel).bytes)));
        return image ? image->pixels[0] : 0;
    };
    EXPECT_EQ(one(16, {}, 3 << 10 | 16 << 5 | 30), 0xFF1884F7u);
    EXPECT_EQ(one(16, masks(0xF800, 0x07E0, 0x001F), 1 << 11 | 33 << 5 | 15), 0xFF08867Bu);
    EXPECT_EQ(one(16, masks(0x4000, 0x3000, 0), 0x6FFF), 0xFFFFAA00u) << "one bit, two bits and none";
    EXPECT_EQ(one(32, masks(0x3FF00000, 0x000FFC00, 0x3FF), 0x2AAu << 20 | 0x155u << 10 | 0x3FF), 0xFFAA55FFu);
}

TEST(Dib, RefusesWhatIsNoWholePicture)
{
    const Bytes four(4, 0);
    struct Case
    {
        const char* name;
        Bytes bytes;
    };
    std::vector<Case> cases{
        {"nothing", {}},
        {"another header", dib({1, 1, 24, 0, 0, 0, 124}, "", 0, Bytes(200, 0))},
        {"compressed as JPEG", dib({1, 1, 24, 4}, "", 0, four)},
        {"masks at 24 bits", dib({1, 1, 24, bitFields}, "", 0, Bytes(16, 0))},
        {"runs of another depth", dib({1, 1, 4, runLength8}, "", 16, four)},
        {"runs, top row first", dib({1, -1, 8, runLength8}, "", 256, four)},
        {"a table that is cut", dib({1, 1, 8}, "", 200, {})},
        {"masks that are cut", dib({1, 1, 32, bitFields}, "", 0, four)},
        {"pixels that are cut", dib({3, 1, 24}, "", 0, Bytes(11, 0))},
        {"pixels that the used colours leave too few of", dib({4, 4, 8, 0, 2}, "KW", 0, Bytes(15, 0))},
        {"sides whose product has more than 64 bits", dib({INT_MAX, INT_MAX, 32}, "", 0, Bytes(64, 0))},
        {"runs of a picture that few bytes cannot mean", dib({8000, 8000, 8, runLength8}, "", 256, {0, 1})},
    };
    for (const int bits : {0, 2, 31, 64, 65535})
        cases.push_back({"a depth that there is not", dib({1, 1, static_cast<std::uint16_t>(bits)}, "", 0, Bytes(64, 0))});
    for (const auto& [width, height] : {std::pair{0, 1}, {-1, 1}, {1, 0}, {1, INT_MIN}, {INT_MIN, INT_MIN}, {1 << 16, 1 << 16}})
        cases.push_back({"impossible sides", dib({width, height, 24}, "", 0, Bytes(64, 0))});
    for (std::size_t length = 1; length < 40; length += 13)
        cases.push_back({"a header that is cut", cutTo(sampleDib(), length)});
    for (const Case& c : cases)
        EXPECT_FALSE(decodeDib(c.bytes)) << c.name;
}

} // namespace
} // namespace kvdm::test
