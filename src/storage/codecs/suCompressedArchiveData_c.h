// Compressed data inside an open archive: a 32-bit compressed length and then the compressed bytes, in any form.
#pragma once

#include "storage/codecs/suCompressedStream_c.h"

namespace kvdm {

// What this class needs of the archive that the data lies in.
class suArchiveBytes
{
public:
    // Fewer than count only at the end.
    virtual std::size_t readBytes(void* bytes, std::size_t count) = 0;
    virtual void writeBytes(const void* bytes, std::size_t count) = 0;
    virtual void flushBytes() = 0;
    // The file under the archive.
    virtual suFile& archiveFile() = 0;

protected:
    ~suArchiveBytes() = default;
};

// The archive is lent: it is not to be used between construction and Close, and stays open behind it. After Close it stands
// behind the compressed data, whether or not all of it was wanted; a stream that was stored has its length filled in.
class suCompressedArchiveData_c final : public suCompressedStream_c
{
public:
    // Reads or reserves the length; throws what the archive throws, and std::bad_alloc when there is no thread to be had. A
    // length that is cut off is an archive exception of cause end of file.
    suCompressedArchiveData_c(suArchiveBytes& archive, bool isStoring, int compressionType);
    ~suCompressedArchiveData_c() override;

private:
    void writeCompressed(const std::uint8_t* bytes, std::size_t count) override;
    std::size_t readCompressed(std::uint8_t* bytes, std::size_t count) override;
    void closeUnderlying() override;

    suArchiveBytes& underlying;
    std::uint32_t dataRead = 0;
    std::uint32_t dataSize = 0;
    std::uint64_t sizeFieldPosition = 0;
};

} // namespace kvdm
