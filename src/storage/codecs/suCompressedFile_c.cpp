#include "storage/codecs/suCompressedFile_c.h"

#include <exception>
#include <utility>

namespace kvdm {

suCompressedFile_c::suCompressedFile_c(suFile& stream, bool isStoring, int compressionType)
    : suCompressedFile_c(NotStarted(), stream, isStoring, compressionType)
{
    iStart();
}

suCompressedFile_c::suCompressedFile_c(NotStarted, suFile& stream, bool isStoring, int compressionType)
    : suCompressedStream_c(isStoring, compressionType), underlying(stream)
{}

suCompressedFile_c::~suCompressedFile_c()
{
    iEndQuietly();
}

std::uint64_t suCompressedFile_c::GetPosition()
{
    const std::lock_guard lock(underlyingGuard);
    return underlying.GetPosition();
}

std::uint64_t suCompressedFile_c::GetLength()
{
    const std::lock_guard lock(underlyingGuard);
    return underlying.GetLength();
}

std::u16string suCompressedFile_c::GetFileName() const
{
    const std::lock_guard lock(underlyingGuard);
    return underlying.GetFileName();
}

void suCompressedFile_c::writeCompressed(const std::uint8_t* bytes, std::size_t count)
{
    const std::lock_guard lock(underlyingGuard);
    underlying.Write(bytes, count);
}

std::size_t suCompressedFile_c::readCompressed(std::uint8_t* bytes, std::size_t count)
{
    const std::lock_guard lock(underlyingGuard);
    return underlying.Read(bytes, count);
}

void suCompressedFile_c::closeUnderlying()
{
    underlying.Close();
}

suCompressedFile2_c::suCompressedFile2_c(suFile& stream, bool isStoring, int compressionType)
    : suCompressedFile_c(NotStarted(), stream, isStoring, compressionType)
{
    if (!isStoring)
        iStart();
}

suCompressedFile2_c::~suCompressedFile2_c()
{
    iEndQuietly();
}

void suCompressedFile2_c::Write(const void* source, std::size_t count)
{
    if (deferred)
        throw suFileException(suFileException::accessDenied);
    iKeep(source, count);
}

void suCompressedFile2_c::runDeferred()
{
    if (std::exchange(deferred, true))
        return;
    if (isStoring)
        iCompressKept();
}

void suCompressedFile2_c::Close()
{
    std::exception_ptr failure;
    try {
        if (isStoring && iIsOpen())
            runDeferred();
    } catch (...) {
        failure = std::current_exception();
    }
    suCompressedFile_c::Close();
    if (failure)
        std::rethrow_exception(failure);
}

} // namespace kvdm
