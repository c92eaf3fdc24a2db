#include "storage/bodies/bodyExtraction.h"

#include "common/exceptions.h"
#include "storage/archive/su_CArchive.h"
#include "storage/codecs/conversionFolder.h"
#include "storage/codecs/suPkZipProc_c.h"
#include "storage/suDiskFile.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace kvdm {

namespace {

constexpr int firstVersionWithLongPrefix = 2066;
constexpr int laterVersionHint = 2995;

// Copies as many bytes as told, fewer where the archive ends; false when the file does not take them.
bool copyBytes(su_CArchive& archive, std::uint64_t& count, ConversionFile& file)
{
    std::vector<std::uint8_t> piece(0x10000);
    std::uint64_t copied = 0;
    while (copied < count) {
        const std::size_t got = archive.Read(piece.data(), static_cast<std::size_t>(std::min<std::uint64_t>(count - copied, piece.size())));
        if (got == 0)
            break;
        try {
            file.write(piece.data(), got);
        } catch (const suFileException&) {
            return false;
        }
        copied += got;
    }
    count = copied;
    return true;
}

// One attempt at the conversion of what the temporary file holds.
KvDmBodyError convert(const ConversionFile& temporary, std::size_t prefix, std::u16string_view fileName, int versionHint)
{
    const std::unique_ptr<suDiskFile> source = suDiskFile::open(temporary.path(), FileAccess::read, FileCreation::openExisting);
    const std::unique_ptr<suDiskFile> target = source ? suDiskFile::open(fileName, FileAccess::readWrite, FileCreation::createAlways) : nullptr;
    if (!target)
        return kvBodyErrorFileCreation;
    source->Seek(static_cast<std::int64_t>(prefix), suFile::Origin::begin);
    suPkZipProc_c conversion(*source, *target, false);
    const bool done = conversion.decompress(versionHint) != 0;
    return done && target->GetLength() >= 1 ? kvDmBodyErrorNone : kvBodyErrorDecompression;
}

} // namespace

std::size_t bodyPrefix(int version)
{
    return version < firstVersionWithLongPrefix ? 4 : 5;
}

KvDmBodyError extractBody(std::span<const std::uint8_t> head, su_CArchive& archive, std::uint64_t count, std::u16string_view temporaryName,
                          std::size_t prefix, std::u16string_view fileName)
{
    std::unique_ptr<ConversionFile> temporary;
    try {
        temporary = std::make_unique<ConversionFile>(temporaryName);
        temporary->write(head.data(), head.size());
    } catch (const suFileException&) {
        temporary.reset();
        removeConversionFolder();
        return kvBodyErrorFileCreation;
    }
    std::uint64_t copied = count;
    if (!copyBytes(archive, copied, *temporary))
        return kvBodyErrorFileCreation;
    if (copied < count && count != untilEndOfStream)
        return kvBodyErrorNoData;
    KvDmBodyError outcome = convert(*temporary, prefix, fileName, 0);
    if (outcome == kvBodyErrorDecompression)
        outcome = convert(*temporary, prefix, fileName, laterVersionHint); // for data that the first hint was wrong about
    if (outcome == kvBodyErrorFileCreation)
        temporary->leaveBehind();
    return outcome;
}

} // namespace kvdm
