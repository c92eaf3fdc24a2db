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

#include <vector>

namespace kvdm {

namespace {

constexpr int firstVersionWithLongPrefix = 2066;
constexpr int firstVersionWithFirstValue = 2894;
constexpr int firstVersionWithSecondValue = 3228;
constexpr std::size_t partitionPrefix = 4;
constexpr std::size_t bodyHead = 5; // of an imported body: a byte and the size of its payload
constexpr std::u16string_view bodyFile = u"tempPS_From_Stream";
constexpr std::u16string_view partitionFile = u"tempPS_Partition.xmp_bin";

std::size_t bodyPrefix(int version)
{
    return version < firstVersionWithLongPrefix ? 4 : 5;
}

// What is left of the attached node.
std::vector<std::uint8_t> readRest(su_CArchive& archive)
{
    std::vector<std::uint8_t> bytes;
    constexpr std::size_t piece = 0x10000;
    for (std::size_t read = piece; read == piece;) {
        const std::size_t at = bytes.size();
        bytes.resize(at + piece);
        read = archive.Read(bytes.data() + at, piece);
        bytes.resize(at + read);
    }
    return bytes;
}

// One attempt at the conversion through the temporary file, which stays behind when the client's file cannot be created.
KvDmBodyError convert(const std::vector<std::uint8_t>& bytes, std::u16string_view temporaryName, std::size_t prefix, std::u16string_view fileName,
                      int versionHint)
{
    std::unique_ptr<ConversionFile> temporary;
    try {
        temporary = std::make_unique<ConversionFile>(temporaryName);
        temporary->write(bytes.data(), bytes.size());
    } catch (const suFileException&) {
        return kvBodyErrorFileCreation;
    }
    const std::unique_ptr<suDiskFile> source = suDiskFile::open(temporary->path(), FileAccess::read, FileCreation::openExisting);
    const std::unique_ptr<suDiskFile> target = source ? suDiskFile::open(fileName, FileAccess::readWrite, FileCreation::createAlways) : nullptr;
    if (!target) {
        temporary->leaveBehind();
        return kvBodyErrorFileCreation;
    }
    source->Seek(static_cast<std::int64_t>(prefix), suFile::Origin::begin);
    suPkZipProc_c conversion(*source, *target, false);
    const bool done = conversion.decompress(versionHint) != 0;
    return done && target->GetLength() >= 1 ? kvDmBodyErrorNone : kvBodyErrorDecompression;
}

// The second hint is for data that the first one was wrong about.
KvDmBodyError extract(const std::vector<std::uint8_t>& bytes, std::u16string_view temporaryName, std::size_t prefix, std::u16string_view fileName)
{
    const KvDmBodyError first = convert(bytes, temporaryName, prefix, fileName, 0);
    const KvDmBodyError outcome = first == kvBodyErrorDecompression ? convert(bytes, temporaryName, prefix, fileName, 2995) : first;
    removeConversionFolder();
    return outcome;
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
    if (!storage.attachToNode(false, iContainerName(), false, 0))
        return 0;
    bodyStreamNames.clear();
    const std::u16string node = getStreamName();
    const ComPtr<IEnumSTATSTG> enumerator = enumerateElements(*storage.getChildStorage());
    suElementBatch batch(64);
    do {
        const std::size_t count = batch.fetch(*enumerator);
        for (std::size_t i = 0; i < count; ++i)
            if (batch.name(i).find(u"Body") != std::u16string_view::npos && batch.name(i).find(node) != std::u16string_view::npos)
                bodyStreamNames.emplace_front(batch.name(i)); // clients know the reverse of the directory's order
    } while (batch.isFull());
    bodiesCounted = true;
    return static_cast<LONG>(bodyStreamNames.size());
}

KvDmBodyError dmConfiguration_c::getBody(LONG index, std::u16string_view fileName)
{
    if (bodyStreamNames.empty())
        return bodiesCounted ? kvDmBodyErrorNone : kvDmBodyErrorGetCountNotCalled;
    const ComPtr<IStorage> root = core->getStorage();
    if (!root)
        return kvDmBodyErrorNone;
    suStructuredStorage storage(root.get());
    const int version = storage.loadVersion();
    if (index < 0 || static_cast<std::size_t>(index) >= bodyStreamNames.size() || !storage.attachToNode(false, iContainerName(), false, 0) ||
        !storage.attachToNode(false, bodyStreamNames[static_cast<std::size_t>(index)], true, 0))
        return kvBodyErrorNoData;
    return extract(readRest(storage.getArchive()), bodyFile, bodyPrefix(version), fileName);
}

LONG dmConfiguration_c::getImportedBodiesCount()
{
    const ComPtr<IStorage> root = header ? core->getStorage() : nullptr;
    if (!root)
        return 0;
    suStructuredStorage storage(root.get());
    if (!storage.attachToNode(false, getStreamName() + u"-FeatureBodies", false, 0) || !storage.attachToNode(false, u"LocalBodies", true, 0))
        return 0;
    try {
        return storage.getArchive().read<std::int32_t>();
    } catch (const std::exception&) {
        return 0;
    }
}

KvDmBodyError dmConfiguration_c::getImportedBody(LONG index, std::u16string_view fileName)
{
    const ComPtr<IStorage> root = header ? core->getStorage() : nullptr;
    if (!root)
        return kvDmBodyErrorNone;
    suStructuredStorage storage(root.get());
    const int version = storage.loadVersion();
    if (!storage.attachToNode(false, getStreamName() + u"-FeatureBodies", false, 0) || !storage.attachToNode(false, u"LocalBodies", true, 0))
        return kvBodyErrorNoData;
    try {
        su_CArchive& archive = storage.getArchive();
        const auto count = archive.read<std::int32_t>();
        if (index < 0 || index >= count)
            return kvBodyErrorNoData;
        std::vector<std::uint8_t> body;
        for (LONG i = 0; i <= index; ++i) {
            archive.ReadString();
            if (version >= firstVersionWithFirstValue)
                archive.read<std::uint32_t>();
            if (version >= firstVersionWithSecondValue)
                archive.read<std::uint32_t>();
            archive.read<std::uint8_t>();
            std::uint8_t head[bodyHead];
            archive.readExactly(head, sizeof head);
            const std::uint32_t payload = head[1] | std::uint32_t{head[2]} << 8 | std::uint32_t{head[3]} << 16 | std::uint32_t{head[4]} << 24;
            archive.readValues(body, payload);
            if (i == index)
                body.insert(body.begin(), head, head + bodyHead);
        }
        return extract(body, bodyFile, bodyPrefix(version), fileName);
    } catch (const suArchiveException&) {
        return kvBodyErrorNoData;
    }
}

KvDmBodyError dmConfiguration_c::getPartitionStream(std::u16string_view fileName)
{
    const ComPtr<IStorage> root = header ? core->getStorage() : nullptr;
    if (!root)
        return kvDmBodyErrorNone;
    suStructuredStorage storage(root.get());
    std::u16string name;
    if (!getPartitionStreamName(name) || !storage.attachToNode(false, u"Contents", false, 0) || !storage.attachToNode(false, name, true, 0))
        return kvBodyErrorNoData;
    return extract(readRest(storage.getArchive()), partitionFile, partitionPrefix, fileName);
}

} // namespace kvdm
