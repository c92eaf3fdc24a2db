#include "storage/archive/suMemoryFile.h"

#include "common/exceptions.h"

#include <algorithm>
#include <cstring>

namespace kvdm {

std::size_t suMemoryFile::Read(void* buffer, std::size_t count)
{
    const std::size_t piece = std::min<std::uint64_t>(count, bytesLeft());
    if (piece != 0)
        std::memcpy(buffer, bytes.data() + position, piece);
    position += piece;
    return piece;
}

void suMemoryFile::Write(const void* buffer, std::size_t count)
{
    if (count == 0)
        return;
    if (count > bytes.max_size() - position)
        throw suFileException(suFileException::diskFull);
    if (bytes.size() < position + count)
        bytes.resize(position + count);
    std::memcpy(bytes.data() + position, buffer, count);
    position += count;
}

std::uint64_t suMemoryFile::Seek(std::int64_t offset, Origin origin)
{
    const auto base = static_cast<std::int64_t>(origin == Origin::begin ? 0 : origin == Origin::current ? position : bytes.size());
    if (offset < -base || offset > static_cast<std::int64_t>(bytes.max_size()) - base)
        throw suFileException(suFileException::badSeek);
    position = static_cast<std::size_t>(base + offset);
    return position;
}

void suMemoryFile::SetLength(std::uint64_t length)
{
    if (length > bytes.max_size())
        throw suFileException(suFileException::diskFull);
    bytes.resize(static_cast<std::size_t>(length));
    position = static_cast<std::size_t>(length);
}

} // namespace kvdm
