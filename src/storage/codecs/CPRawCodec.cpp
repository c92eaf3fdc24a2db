#include "storage/codecs/CPRawCodec.h"

#include <zlib.h>

namespace kvdm {

namespace {

constexpr int blockLevel = 1;

} // namespace

int CPRawCodecZLib::compressBlock(std::uint8_t* output, std::uint32_t& outputLength, const std::uint8_t* input,
                                  std::uint32_t inputLength) const noexcept
{
    uLongf produced = outputLength;
    const int result = compress2(output, &produced, input, inputLength, blockLevel);
    outputLength = static_cast<std::uint32_t>(produced);
    return result;
}

int CPRawCodecZLib::decompressBlock(std::uint8_t* output, std::uint32_t& outputLength, const std::uint8_t* input,
                                    std::uint32_t inputLength) const noexcept
{
    uLongf produced = outputLength;
    const int result = uncompress(output, &produced, input, inputLength);
    outputLength = static_cast<std::uint32_t>(produced);
    return result;
}

} // namespace kvdm
