#include "storage/codecs/suCompressedArchiveData_c.h"

#include <algorithm>

namespace kvdm {

namespace {

constexpr std::size_t sizeFieldLength = 4;

} // namespace

suCompressedArchiveData_c::suCompressedArchiveData_c(suArchiveBytes& archive, bool isStoring, int compressionType)
    : suCompressedStream_c(isStoring, compressionType), underlying(archive)
{
    std::uint8_t field[sizeFieldLength] = {};
    if (isStoring) {
        underlying.flushBytes();
        sizeFieldPosition = underlying.archiveFile().GetPosition();
        underlying.writeBytes(field, sizeof field);
        underlying.flushBytes();
    } else {
        if (underlying.readBytes(field, sizeof field) != sizeof field)
            throw suArchiveException(suArchiveException::endOfFile);
        for (std::size_t i = sizeFieldLength; i-- > 0;)
            dataSize = dataSize << 8 | field[i];
    }
    iStart();
}

suCompressedArchiveData_c::~suCompressedArchiveData_c()
{
    iEndQuietly();
}

void suCompressedArchiveData_c::writeCompressed(const std::uint8_t* bytes, std::size_t count)
{
    if (count > UINT32_MAX - dataSize)
        throw suFileException(suFileException::generic); // the length field cannot tell it
    underlying.writeBytes(bytes, count);
    dataSize += static_cast<std::uint32_t>(count);
}

std::size_t suCompressedArchiveData_c::readCompressed(std::uint8_t* bytes, std::size_t count)
{
    const std::size_t got = underlying.readBytes(bytes, std::min<std::size_t>(count, dataSize - dataRead));
    dataRead += static_cast<std::uint32_t>(got);
    return got;
}

void suCompressedArchiveData_c::closeUnderlying()
{
    if (isStoring) {
        underlying.flushBytes();
        std::uint8_t field[sizeFieldLength];
        for (std::size_t i = 0; i < sizeFieldLength; ++i)
            field[i] = static_cast<std::uint8_t>(dataSize >> (8 * i));
        suFile& file = underlying.archiveFile();
        file.Seek(static_cast<std::int64_t>(sizeFieldPosition), suFile::Origin::begin);
        file.Write(field, sizeof field);
        file.Seek(0, suFile::Origin::end);
        return;
    }
    std::uint8_t skipped[2048];
    while (dataRead < dataSize && readCompressed(skipped, sizeof skipped) > 0) {
    }
}

} // namespace kvdm
