// The block form of a compressed stream, and its writer:
//
//   16 bytes   magic
//   per block  32-bit uncompressed size, at most 0x100000; 32-bit compressed size, at most 0x200000; one zlib stream
//   8 bytes    two zero sizes
//
// All integers are little-endian. Every block but the last holds exactly 0x100000 bytes.
#pragma once

#include "storage/codecs/codecCallbacks.h"

#include <array>
#include <cstdint>

namespace kvdm {

class CPRawCodec;

constexpr std::array<std::uint8_t, 16> blockFormMagic = {0x23, 0x1D, 0xD5, 0x71, 0xDA, 0x81, 0x48, 0xA2,
                                                         0xA8, 0x58, 0x98, 0xB2, 0x1B, 0x89, 0xEF, 0x99};
constexpr std::uint32_t blockUncompressedLimit = 0x100000;
constexpr std::uint32_t blockCompressedLimit = 0x200000;
// Nothing longer goes through a writer at once.
constexpr std::uint32_t longestPiece = 2048;

// Returns 0, or 1 when the writer refused. Throws std::bad_alloc and what the callbacks throw; a codec that fails is a file
// exception, for a block that was not compressed must not look like one.
int compressBlocks(const CPRawCodec& codec, suBlockReader reader, suBlockWriter writer, void* context);

} // namespace kvdm
