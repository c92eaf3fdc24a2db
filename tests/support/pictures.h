// Bitmaps and small pictures for tests, put together by hand.
#pragma once

#include "support/ArchiveBuilder.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace kvdm::test {

// The colour of a letter: Red, Green, Blue, White, blacK.
inline std::uint32_t colourOf(char letter)
{
    switch (letter) {
    case 'R':
        return 0xFFFF0000;
    case 'G':
        return 0xFF00FF00;
    case 'B':
        return 0xFF0000FF;
    case 'W':
        return 0xFFFFFFFF;
    default:
        return 0xFF000000;
    }
}

// Rows of letters, the top one first, with "/" between them.
inline std::vector<std::uint32_t> pixelsOf(std::string_view rows)
{
    std::vector<std::uint32_t> pixels;
    for (const char letter : rows)
        if (letter != '/')
            pixels.push_back(colourOf(letter));
    return pixels;
}

struct DibHeader
{
    std::int32_t width;
    std::int32_t height; // negative: the top row first
    std::uint16_t bits;
    std::uint32_t compression = 0;
    std::uint32_t coloursUsed = 0;
    std::uint32_t imageSize = 0;
    std::uint32_t headerSize = 40;
};

// What follows the header: the colours of these letters, then as many more black ones, then the pixels.
inline Bytes dib(const DibHeader& header, std::string_view colours, std::size_t moreColours, const Bytes& pixels)
{
    ArchiveBuilder out;
    out.u32(header.headerSize).u32(static_cast<std::uint32_t>(header.width)).u32(static_cast<std::uint32_t>(header.height)).u16(1).u16(header.bits);
    out.u32(header.compression).u32(header.imageSize).u32(0).u32(0).u32(header.coloursUsed).u32(0);
    for (const char letter : colours)
        out.u32(colourOf(letter) & 0xFFFFFF);
    for (std::size_t i = 0; i < moreColours; ++i)
        out.u32(0);
    return out.raw(pixels).bytes;
}

// The stream that keeps a bitmap: its size, then the bitmap.
inline Bytes previewStream(const Bytes& bitmap)
{
    return ArchiveBuilder().u32(bitmap.size()).raw(bitmap).bytes;
}

// Three by two pixels of 24 bits, "RGB/WKW".
inline Bytes sampleDib(std::uint32_t imageSize = 0)
{
    return dib({3, 2, 24, 0, 0, imageSize}, "", 0, {255, 255, 255, 0, 0, 0, 255, 255, 255, 0, 0, 0, 0, 0, 255, 0, 255, 0, 255, 0, 0, 0, 0, 0});
}

} // namespace kvdm::test
