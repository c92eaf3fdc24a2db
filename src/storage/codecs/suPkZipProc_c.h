// Conversion of a whole file in the block form, through two temporary files.
#pragma once

#include "storage/codecs/suCompressProc_c.h"

#include <cstdint>
#include <exception>
#include <memory>

namespace kvdm {

class ConversionFile;

// Nothing is thrown: a failure is shown in a message and told by the result. The names of the temporary files belong to the
// process, so one conversion runs at a time.
class suPkZipProc_c final : public suCompressProc_c
{
public:
    suPkZipProc_c(suFile& source, suFile& destination, bool isCompressing);
    ~suPkZipProc_c() override;

    std::uint32_t compress() override;
    // The version that counts is seen from the data: 2995 and above have blocks, all else is imploded and is taken as far as
    // it decodes.
    int decompress(int version) override;

    std::uint64_t getOutputLength() const noexcept { return outputLength; }

private:
    bool iPrepare(std::uint32_t sizeFactor);
    void iFinish();
    int iVersionOfInput();

    static std::uint32_t iReadForCompress(std::uint8_t* buffer, std::uint32_t* length, void* context);
    static int iWriteForCompress(const std::uint8_t* bytes, std::uint32_t length, void* context);
    static std::uint32_t iReadForDecompress(void* context, const std::uint8_t** bytes);
    static int iWriteForDecompress(void* context, const std::uint8_t* bytes, std::uint32_t length);

    std::unique_ptr<ConversionFile> input;
    std::unique_ptr<ConversionFile> output;
    std::uint32_t runningCrc = 0xFFFFFFFF; // of what went through uncompressed; never stored
    std::exception_ptr fileFailure;        // of a temporary file, kept while the decoder swallows it
    std::uint64_t inputLength = 0;
    std::uint64_t outputLength = 0;
    std::uint8_t portion[2048];
};

} // namespace kvdm
