// Bodies, imported bodies and the partition as files: here the node is found.
#include "automation/dmConfiguration_c.h"
#include "automation/dmDocument_c.h"
#include "common/exceptions.h"
#include "platform/files/files.h"
#include "platform/text/casing.h"
#include "storage/bodies/bodyExtraction.h"
#include "storage/bodies/localBodies.h"
#include "storage/elements.h"
#include "storage/suStructuredStorage.h"

#include <optional>

namespace kvdm {

namespace {

constexpr std::u16string_view bodyFile = u"tempPS_From_Stream";
constexpr std::u16string_view partitionFile = u"tempPS_Partition.xmp_bin";

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
        return extractBody({}, storage.getArchive(), untilEndOfStream, bodyFile, bodyPrefix(version), fileName);
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
        return readLocalBodyCount(storage.getArchive());
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
        const std::optional<LocalBody> body = findLocalBody(archive, version, index);
        return body ? extractBody(body->head, archive, body->payloadSize, bodyFile, bodyPrefix(version), fileName) : kvBodyErrorNoData;
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
        return extractBody({}, storage.getArchive(), untilEndOfStream, partitionFile, partitionPrefix, fileName);
    });
}

} // namespace kvdm
