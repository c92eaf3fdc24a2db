// One block in memory, compressed or decompressed.
#pragma once

#include <cstdint>

namespace kvdm {

// outputLength holds the room on entry and what was produced on return, also when the block failed. The result is that of
// zlib, 0 for success.
class CPRawCodec
{
public:
    virtual ~CPRawCodec() = default;

    virtual int compressBlock(std::uint8_t* output, std::uint32_t& outputLength, const std::uint8_t* input,
                              std::uint32_t inputLength) const noexcept = 0;
    virtual int decompressBlock(std::uint8_t* output, std::uint32_t& outputLength, const std::uint8_t* input,
                                std::uint32_t inputLength) const noexcept = 0;
};

// Blocks are zlib streams, written at level 1.
class CPRawCodecZLib final : public CPRawCodec
{
public:
    int compressBlock(std::uint8_t* output, std::uint32_t& outputLength, const std::uint8_t* input,
                      std::uint32_t inputLength) const noexcept override;
    int decompressBlock(std::uint8_t* output, std::uint32_t& outputLength, const std::uint8_t* input,
                        std::uint32_t inputLength) const noexcept override;
};

} // namespace kvdm
