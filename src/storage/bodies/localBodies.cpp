#include "storage/bodies/localBodies.h"

#include "storage/archive/su_CArchive.h"

#include <algorithm>
#include <vector>

namespace kvdm {

namespace {

constexpr int firstVersionWithFirstValue = 2894;
constexpr int firstVersionWithSecondValue = 3228;

LocalBody readEntry(su_CArchive& archive, int version)
{
    archive.ReadString();
    if (version >= firstVersionWithFirstValue)
        archive.read<std::uint32_t>();
    if (version >= firstVersionWithSecondValue)
        archive.read<std::uint32_t>();
    archive.read<std::uint8_t>();
    LocalBody body;
    archive.readExactly(body.head.data(), body.head.size());
    for (std::size_t i = 0; i < sizeof body.payloadSize; ++i)
        body.payloadSize |= std::uint32_t{body.head[1 + i]} << (8 * i);
    archive.requireBytes(body.payloadSize, 1);
    return body;
}

// An end within is met by the next entry.
void passOver(su_CArchive& archive, std::uint64_t count)
{
    std::vector<std::uint8_t> piece(static_cast<std::size_t>(std::min<std::uint64_t>(count, 0x10000)));
    while (count > 0) {
        const std::size_t got = archive.Read(piece.data(), static_cast<std::size_t>(std::min<std::uint64_t>(count, piece.size())));
        if (got == 0)
            return;
        count -= got;
    }
}

} // namespace

std::int32_t readLocalBodyCount(su_CArchive& archive)
{
    return archive.read<std::int32_t>();
}

std::optional<LocalBody> findLocalBody(su_CArchive& archive, int version, std::int32_t index)
{
    const std::int32_t count = readLocalBodyCount(archive);
    if (index < 0 || index >= count)
        return std::nullopt;
    for (std::int32_t i = 0; i < index; ++i)
        passOver(archive, readEntry(archive, version).payloadSize);
    return readEntry(archive, version);
}

} // namespace kvdm
