// Compressed data inside an open archive: a 32-bit compressed length and then the compressed bytes, in any form.
#pragma once

#include "storage/codecs/suCompressedStream_c.h"

namespace kvdm {

class su_CArchive;

// The archive is lent: it is not to be used between construction and Close, and stays open behind it. After Close it stands
// behind the compressed data, whether or not all of it was wanted; a stream that was stored has its length filled in.
class suCompressedArchiveData_c final : public suCompressedStream_c
{
public:
    // Reads or reserves the length; throws what the archive throws, and std::bad_alloc when there is no thread to be had.
    suCompressedArchiveData_c(su_CArchive& archive, bool isStoring, int compressionType);
    ~suCompressedArchiveData_c() override;

private:
    void writeCompressed(const std::uint8_t* bytes, std::size_t count) override;
    std::size_t readCompressed(std::uint8_t* bytes, std::size_t count) override;
    void closeUnderlying() override;
    suFile& iFile() const;

    su_CArchive& underlying;
    std::uint32_t dataRead = 0;
    std::uint32_t dataSize = 0;
    std::uint64_t sizeFieldPosition = 0;
};

} // namespace kvdm
