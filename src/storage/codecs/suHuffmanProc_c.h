// Static Huffman coding of a file: an older form, kept so that what was stored in it can be read.
//
//   32-bit count of bytes; 32-bit number of distinct byte values; for each value, ascending, its byte and its 32-bit count;
//   then the codes of the bytes, most significant bit first, the last byte filled up with zero bits
//
// The compressor appends one byte "0" to the source and codes it with the rest, so a decompressed file is longer by it.
#pragma once

#include "storage/codecs/suCompressProc_c.h"

namespace kvdm {

// Errors of the two files are suFileException. A header is believed only when its values ascend, its counts are positive and
// add up; each output byte of a tree with two values or more costs at least one bit of input, and a file of one single value,
// which has no code bits at all, is limited to singleValueLimit bytes, so output is bounded by the input.
class suHuffmanProc_c final : public suCompressProc_c
{
public:
    static constexpr std::uint32_t singleValueLimit = 0x4000000;

    using suCompressProc_c::suCompressProc_c;

    // Reads the source from its beginning.
    std::uint32_t compress() override;
    // 0 when the header is not believed or the code ends early. There is one version: the hint is ignored.
    int decompress(int version) override;
};

} // namespace kvdm
