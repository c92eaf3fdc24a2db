#include "storage/suDiskFile.h"

#include "common/exceptions.h"

namespace kvdm {

namespace {

void check(std::uint32_t error)
{
    if (error == errorDiskFull)
        throw suFileException(suFileException::diskFull, static_cast<std::int32_t>(error));
    if (error != errorNone)
        throw suFileException(suFileException::generic, static_cast<std::int32_t>(error));
}

} // namespace

std::unique_ptr<suDiskFile> suDiskFile::open(std::u16string_view path, FileAccess access, FileCreation creation)
{
    std::uint32_t error = errorNone;
    std::unique_ptr<OpenFile> file = openFile(path, access, creation, error);
    return file ? std::make_unique<suDiskFile>(std::move(file)) : nullptr;
}

OpenFile& suDiskFile::iFile()
{
    if (!file)
        throw suFileException(suFileException::invalidFile);
    return *file;
}

std::size_t suDiskFile::Read(void* buffer, std::size_t count)
{
    std::size_t read = 0;
    check(iFile().readAt(position, buffer, count, read));
    position += read;
    return read;
}

void suDiskFile::Write(const void* buffer, std::size_t count)
{
    std::size_t written = 0;
    check(iFile().writeAt(position, buffer, count, written));
    position += written;
    if (written != count)
        throw suFileException(suFileException::diskFull);
}

std::uint64_t suDiskFile::Seek(std::int64_t offset, Origin origin)
{
    const std::uint64_t base = origin == Origin::begin ? 0 : origin == Origin::current ? position : GetLength();
    if (offset < 0 && base < static_cast<std::uint64_t>(-offset))
        throw suFileException(suFileException::badSeek);
    position = base + static_cast<std::uint64_t>(offset);
    return position;
}

std::uint64_t suDiskFile::GetLength()
{
    std::uint64_t bytes = 0;
    check(iFile().size(bytes));
    return bytes;
}

void suDiskFile::SetLength(std::uint64_t bytes)
{
    check(iFile().setSize(bytes));
}

std::uint64_t suDiskFile::bytesLeft()
{
    const std::uint64_t bytes = GetLength();
    return bytes > position ? bytes - position : 0;
}

} // namespace kvdm
