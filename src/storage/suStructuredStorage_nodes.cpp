// Renaming and removing nodes; whole-file conversion; what the user is told of compression.
#include "storage/suStructuredStorage.h"

#include "common/automationText.h"
#include "common/exceptions.h"
#include "common/trace.h"
#include "platform/text/casing.h"
#include "platform/ui/messageHook.h"
#include "storage/codecs/suCompressedFile_c.h"
#include "storage/codecs/suPkZipProc_c.h"
#include "storage/elements.h"
#include "storage/lockbytes/suFileLockBytes.h"

#include <kvdocmgr/text.h>

namespace kvdm {

namespace {

constexpr ULONG batchSize = 512;

} // namespace

bool suStructuredStorage::renameNode(const std::u16string& name, const std::u16string& newName)
{
    trace([&] { return "suStructuredStorage::renameNode(), inName : " + toUtf8(name) + ", newName : " + toUtf8(newName); });
    IStorage* storage = iCurrentStorage();
    return storage && storage->RenameElement(toOle(name), toOle(newName)) == S_OK;
}

bool suStructuredStorage::iDestroyNode(const std::u16string& storedName)
{
    trace([&] { return "suStructuredStorage::iDestroyNode(), inName : " + toUtf8(storedName); });
    IStorage* storage = iCurrentStorage();
    return storage && storage->DestroyElement(toOle(storedName)) == S_OK;
}

bool suStructuredStorage::destroyNode(const std::u16string& name)
{
    trace([&] { return "suStructuredStorage::destroyNode(), inName : " + toUtf8(name); });
    const int form = isNodeCompressed(name);
    if (form == -1 && !iIsStorage(name))
        return true;        // there is nothing to remove
    compressionType = form; // stays: the next releaseStream clears it
    return iDestroyNode(iGetStreamName(name));
}

// Whether the current storage holds a storage of that name.
bool suStructuredStorage::iIsStorage(const std::u16string& name)
{
    IStorage* storage = iCurrentStorage();
    ComPtr<IStorage> found;
    if (!storage || FAILED(storage->OpenStorage(toOle(name), nullptr, STGM_SHARE_EXCLUSIVE, nullptr, 0, found.put()))) {
        (void)found.detach();
        return false;
    }
    return true;
}

// The enumerator shows the elements of one moment, so that removals do not disturb the walk.
template <class Matches> void suStructuredStorage::iDestroyMatching(Matches&& matches)
{
    IStorage* storage = iCurrentStorage();
    if (!storage)
        return;
    const ComPtr<IEnumSTATSTG> enumerator = enumerateElements(*storage);
    suElementBatch batch(batchSize);
    do {
        const std::size_t count = batch.fetch(*enumerator);
        for (std::size_t i = 0; i < count; ++i) {
            const std::u16string name = lowerText(batch.name(i));
            if (matches(name))
                destroyNode(name);
        }
    } while (batch.isFull());
}

bool suStructuredStorage::destroyAllStreams(const std::u16string& prefix)
{
    trace([&] { return "suStructuredStorage::destroyAllStreams(), streamPrefixIn : " + toUtf8(prefix); });
    const std::u16string wanted = lowerText(prefix);
    iDestroyMatching([&](const std::u16string& name) { return name.starts_with(wanted); });
    return true;
}

bool suStructuredStorage::syncStreams(std::span<const std::u16string> keep)
{
    trace("suStructuredStorage::syncStreams()");
    std::vector<std::u16string> kept;
    for (const std::u16string& prefix : keep)
        kept.push_back(lowerText(prefix));
    iDestroyMatching([&](const std::u16string& name) {
        return std::none_of(kept.begin(), kept.end(), [&](const std::u16string& prefix) { return name.starts_with(prefix); });
    });
    return true;
}

bool suStructuredStorage::mem2stream(suFile& source, suFile& destination)
{
    trace("suStructuredStorage::mem2stream()");
    try {
        source.Seek(0, suFile::Origin::begin);
        destination.Seek(0, suFile::Origin::begin);
        suPkZipProc_c conversion(source, destination, true);
        compressionRatio = static_cast<std::int32_t>(conversion.compress());
        return compressionRatio != -1;
    } catch (const suFileException&) {
        return false;
    }
}

bool suStructuredStorage::stream2mem(suFile& source, suFile& destination)
{
    trace("suStructuredStorage::stream2mem()");
    for (const int version : {0, 2995}) {
        try {
            source.Seek(0, suFile::Origin::begin);
            destination.Seek(0, suFile::Origin::begin);
            suPkZipProc_c conversion(source, destination, false);
            return conversion.decompress(version) != 0;
        } catch (const std::exception&) {
            // once more, as the other form
        }
    }
    return false;
}

void suStructuredStorage::showDetailsOfCompression()
{
    trace("suStructuredStorage::showDetailsOfCompression()");
    releaseStream();
    showMessage(u"The Compression details for " + nodeName + u"\nRatio : 100 : " + fromUtf8(std::to_string(compressionRatio)) + u"\nTime  : " +
                fromUtf8(std::to_string(compressionSeconds)) + u"secs");
}

} // namespace kvdm
