// Bodies, imported bodies and the partition as files: the node is found, a short prefix is passed over, the rest is
// decompressed to the path that the client names.
#include "automation/dmConfiguration_c.h"
#include "automation/dmDocument_c.h"
#include "common/exceptions.h"
#include "platform/files/files.h"
#include "platform/text/casing.h"
#include "storage/codecs/conversionFolder.h"
#include "storage/codecs/suPkZipProc_c.h"
#include "storage/elements.h"
#include "storage/suDiskFile.h"
#include "storage/suStructuredStorage.h"

#include <algorithm>
#include <span>
#include <vector>

namespace kvdm {

namespace {

constexpr int firstVersionWithLongPrefix = 2066;
constexpr int firstVersionWithFirstValue = 2894;
constexpr int firstVersionWithSecondValue = 3228;
constexpr int laterVersionHint = 2995;
constexpr std::size_t partitionPrefix = 4;
constexpr std::uint64_t untilEnd = UINT64_MAX;
constexpr std::size_t bodyHead = 5; // of an imported body: a byte and the size of its payload
constexpr std::u16string_view bodyFile = u"tempPS_From_Stream";
constexpr std::u16string_view partitionFile = u"tempPS_Partition.xmp_bin";

std::size_t bodyPrefix(int version)
{
    return version < firstVersionWithLongPrefix ? 4 : 5;
}

// Reads as many bytes as told, fewer where the archive ends; false when the file, where there is one, does not take them.
// Nothing is held in memory: a compressed node may be far larger than what it is stored in.
bool copyBytes(su_CArchive& archive, std::uint64_t& count, ConversionFile* file)
{
    std::vector<std::uint8_t> piece(0x10000);
    std::uint64_t copied = 0;
    while (copied < count) {
        const std::size_t got = archive.Read(piece.data(), static_cast<std::size_t>(std::min<std::uint64_t>(count - copied, piece.size())));
        if (got == 0)
            break;
        try {
            if (file)
                file->write(piece.data(), got);
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

// Puts the head and then the bytes of the archive into the temporary file and converts it. The file stays behind when the
// client's file cannot be created. Bytes that cannot be read are an exception.
KvDmBodyError extract(std::span<const std::uint8_t> head, su_CArchive& archive, std::uint64_t count, std::u16string_view temporaryName,
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
    if (!copyBytes(archive, copied, temporary.get()))
        return kvBodyErrorFileCreation;
    if (copied < count && count != untilEnd)
        return kvBodyErrorNoData;
    KvDmBodyError outcome = convert(*temporary, prefix, fileName, 0);
    if (outcome == kvBodyErrorDecompression)
        outcome = convert(*temporary, prefix, fileName, laterVersionHint); // for data that the first hint was wrong about
    if (outcome == kvBodyErrorFileCreation)
        temporary->leaveBehind();
    return outcome;
}

// What the library raises while it reads is told as data that are not there.
template <class Body> KvDmBodyError reportingBody(Body&& body)
{
    try {
        return body();
    } catch (const suException&) {
        return kvBodyErrorNoData;
    }
}

} // namespace

std::u16string dmConfiguration_c::iContainerName() const
{
    return equalNoCase(splitPath(core->getFullPath()).extension, u".kvdasm") ? u"Attachments" : u"Contents";
}

LONG dmConfiguration_c::getBodiesCount()
{
    const ComPtr<IStorage> root = header ? core->getStorage() : nullptr;
    if (!root)
        return 0;
    suStructuredStorage storage(root.get());
    bodyStreamNames.clear();
    bodiesCounted = true; // where there is no container too: none is what was counted
    if (!storage.attachToNode(false, iContainerName(), false, 0))
        return 0;
    const std::u16string node = getStreamName();
    const ComPtr<IEnumSTATSTG> enumerator = enumerateElements(*storage.getChildStorage());
    suElementBatch batch(64);
    do {
        const std::size_t count = batch.fetch(*enumerator);
        for (std::size_t i = 0; i < count; ++i)
            if (batch.name(i).find(u"Body") != std::u16string_view::npos && batch.name(i).find(node) != std::u16string_view::npos)
                bodyStreamNames.emplace_front(batch.name(i)); // clients know the reverse of the directory's order
    } while (batch.isFull());
    return static_cast<LONG>(bodyStreamNames.size());
}

KvDmBodyError dmConfiguration_c::getBody(LONG index, std::u16string_view fileName)
{
    if (bodyStreamNames.empty())
        return bodiesCounted ? kvDmBodyErrorNone : kvDmBodyErrorGetCountNotCalled;
    const ComPtr<IStorage> root = core->getStorage();
    if (!root)
        return kvDmBodyErrorNone;
    return reportingBody([&] {
        suStructuredStorage storage(root.get());
        const int version = storage.loadVersion();
        if (index < 0 || static_cast<std::size_t>(index) >= bodyStreamNames.size() || !storage.attachToNode(false, iContainerName(), false, 0) ||
            !storage.attachToNode(false, bodyStreamNames[static_cast<std::size_t>(index)], true, 0))
            return kvBodyErrorNoData;
        return extract({}, storage.getArchive(), untilEnd, bodyFile, bodyPrefix(version), fileName);
    });
}

LONG dmConfiguration_c::getImportedBodiesCount()
{
    const ComPtr<IStorage> root = header ? core->getStorage() : nullptr;
    if (!root)
        return 0;
    try {
        suStructuredStorage storage(root.get());
        if (!storage.attachToNode(false, getStreamName() + u"-FeatureBodies", false, 0) || !storage.attachToNode(false, u"LocalBodies", true, 0))
            return 0;
        return storage.getArchive().read<std::int32_t>();
    } catch (const suException&) {
        return 0;
    }
}

KvDmBodyError dmConfiguration_c::getImportedBody(LONG index, std::u16string_view fileName)
{
    const ComPtr<IStorage> root = header ? core->getStorage() : nullptr;
    if (!root)
        return kvDmBodyErrorNone;
    return reportingBody([&] {
        suStructuredStorage storage(root.get());
        const int version = storage.loadVersion();
        if (!storage.attachToNode(false, getStreamName() + u"-FeatureBodies", false, 0) || !storage.attachToNode(false, u"LocalBodies", true, 0))
            return kvBodyErrorNoData;
        su_CArchive& archive = storage.getArchive();
        const auto count = archive.read<std::int32_t>();
        if (index < 0 || index >= count)
            return kvBodyErrorNoData;
        for (LONG i = 0;; ++i) {
            archive.ReadString();
            if (version >= firstVersionWithFirstValue)
                archive.read<std::uint32_t>();
            if (version >= firstVersionWithSecondValue)
                archive.read<std::uint32_t>();
            archive.read<std::uint8_t>();
            std::uint8_t head[bodyHead];
            archive.readExactly(head, sizeof head);
            const std::uint32_t payload = head[1] | std::uint32_t{head[2]} << 8 | std::uint32_t{head[3]} << 16 | std::uint32_t{head[4]} << 24;
            archive.requireBytes(payload, 1);
            if (i == index)
                return extract(head, archive, payload, bodyFile, bodyPrefix(version), fileName);
            std::uint64_t passed = payload;
            copyBytes(archive, passed, nullptr); // an end within is met by the next entry
        }
    });
}

KvDmBodyError dmConfiguration_c::getPartitionStream(std::u16string_view fileName)
{
    const ComPtr<IStorage> root = header ? core->getStorage() : nullptr;
    if (!root)
        return kvDmBodyErrorNone;
    return reportingBody([&] {
        suStructuredStorage storage(root.get());
        std::u16string name;
        if (!getPartitionStreamName(name) || !storage.attachToNode(false, u"Contents", false, 0) || !storage.attachToNode(false, name, true, 0))
            return kvBodyErrorNoData;
        return extract({}, storage.getArchive(), untilEnd, partitionFile, partitionPrefix, fileName);
    });
}

} // namespace kvdm
