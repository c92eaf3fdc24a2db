#include "storage/codecs/suCompressedArchiveData_c.h"

#include "storage/archive/su_CArchive.h"

#include <algorithm>

namespace kvdm {

suCompressedArchiveData_c::suCompressedArchiveData_c(su_CArchive& archive, bool isStoring, int compressionType)
    : suCompressedStream_c(isStoring, compressionType), underlying(archive)
{
    if (isStoring) {
        underlying.Flush();
        sizeFieldPosition = iFile().GetPosition();
        underlying << dataSize;
        underlying.Flush();
    } else {
        underlying >> dataSize;
    }
    iStart();
}

suCompressedArchiveData_c::~suCompressedArchiveData_c()
{
    iEndQuietly();
}

suFile& suCompressedArchiveData_c::iFile() const
{
    if (!underlying.getFile())
        throw suArchiveException(suArchiveException::generic);
    return *underlying.getFile();
}

void suCompressedArchiveData_c::writeCompressed(const std::uint8_t* bytes, std::size_t count)
{
    if (count > UINT32_MAX - dataSize)
        throw suFileException(suFileException::generic); // more than the length can tell
    underlying.Write(bytes, count);
    dataSize += static_cast<std::uint32_t>(count);
}

std::size_t suCompressedArchiveData_c::readCompressed(std::uint8_t* bytes, std::size_t count)
{
    const std::size_t got = underlying.Read(bytes, std::min<std::size_t>(count, dataSize - dataRead));
    dataRead += static_cast<std::uint32_t>(got);
    return got;
}

void suCompressedArchiveData_c::closeUnderlying()
{
    if (isStoring) {
        underlying.Flush();
        iFile().Seek(static_cast<std::int64_t>(sizeFieldPosition), suFile::Origin::begin);
        underlying << dataSize;
        underlying.Flush();
        iFile().Seek(0, suFile::Origin::end);
        return;
    }
    std::uint8_t skipped[2048];
    while (dataRead < dataSize && readCompressed(skipped, sizeof skipped) > 0) {
        // the rest belongs to the data, wanted or not
    }
}

} // namespace kvdm
