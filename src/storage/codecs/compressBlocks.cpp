#include "storage/codecs/compressBlocks.h"

#include "common/exceptions.h"
#include "storage/codecs/CPRawCodec.h"

#include <algorithm>
#include <memory>
#include <new>

#include <zlib.h>

namespace kvdm {

namespace {

constexpr std::uint32_t headerSize = 8;

void putSize(std::uint8_t* place, std::uint32_t size)
{
    for (int i = 0; i < 4; ++i)
        place[i] = static_cast<std::uint8_t>(size >> (8 * i));
}

bool writeInPieces(suBlockWriter writer, void* context, const std::uint8_t* bytes, std::uint32_t count)
{
    while (count > 0) {
        const std::uint32_t piece = std::min(count, longestPiece);
        if (writer(bytes, piece, context) != 0)
            return false;
        bytes += piece;
        count -= piece;
    }
    return true;
}

std::uint32_t readBlock(suBlockReader reader, void* context, std::uint8_t* block)
{
    std::uint32_t filled = 0;
    while (filled < blockUncompressedLimit) {
        std::uint32_t length = blockUncompressedLimit - filled;
        if (reader(block + filled, &length, context) == 0)
            break;
        filled += std::min(length, blockUncompressedLimit - filled);
    }
    return filled;
}

} // namespace

int compressBlocks(const CPRawCodec& codec, suBlockReader reader, suBlockWriter writer, void* context)
{
    if (!writeInPieces(writer, context, blockFormMagic.data(), blockFormMagic.size()))
        return 1;
    const auto input = std::make_unique_for_overwrite<std::uint8_t[]>(blockUncompressedLimit);
    std::unique_ptr<std::uint8_t[]> output;
    std::uint32_t outputRoom = 0;
    std::uint32_t filled = 0;
    do {
        filled = readBlock(reader, context, input.get());
        if (filled == 0)
            break;
        const auto room = static_cast<std::uint32_t>(filled * 1.01 + 20);
        if (outputRoom < room) {
            output = std::make_unique_for_overwrite<std::uint8_t[]>(headerSize + room);
            outputRoom = room;
        }
        std::uint32_t compressed = room;
        const int result = codec.compressBlock(output.get() + headerSize, compressed, input.get(), filled);
        if (result == Z_MEM_ERROR)
            throw std::bad_alloc();
        if (result != Z_OK)
            throw suFileException(suFileException::generic);
        putSize(output.get(), filled);
        putSize(output.get() + 4, compressed);
        if (!writeInPieces(writer, context, output.get(), headerSize + compressed))
            return 1;
    } while (filled == blockUncompressedLimit);
    constexpr std::uint8_t terminator[headerSize] = {};
    return writeInPieces(writer, context, terminator, headerSize) ? 0 : 1;
}

} // namespace kvdm
