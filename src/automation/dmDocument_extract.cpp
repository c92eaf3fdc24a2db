// Streams of the document written to files that the client names.
#include "automation/dmConfiguration_c.h"
#include "automation/dmDocument_c.h"
#include "common/exceptions.h"
#include "platform/files/files.h"
#include "storage/suStructuredStorage.h"

#include <vector>

namespace kvdm {

namespace {

constexpr std::size_t blockSize = 0x10000;

// A new file, or one emptied; null when the system refuses.
std::unique_ptr<OpenFile> createFile(std::u16string_view path)
{
    std::uint32_t error = errorNone;
    return openFile(path, FileAccess::readWrite, FileCreation::createAlways, error);
}

// Copies what the attached node holds. Throws suFileException when the file does not take it.
void copyNode(suStructuredStorage& storage, OpenFile& file, std::vector<std::uint8_t>& block)
{
    std::uint64_t offset = 0;
    for (std::size_t read = 0; (read = storage.getArchive().Read(block.data(), block.size())) > 0; offset += read) {
        std::size_t written = 0;
        const std::uint32_t error = file.writeAt(offset, block.data(), read, written);
        if (error != errorNone || written != read)
            throw suFileException(suFileException::generic, static_cast<std::int32_t>(error));
    }
}

} // namespace

void dmDocument_c::getLumoviewData(std::u16string_view fileName, KvDmLmvDataError& error)
{
    const ComPtr<IStorage> root = getStorage();
    if (!root)
        return;
    suStructuredStorage storage(root.get());
    if (!storage.attachToNode(false, u"Contents", false, 0))
        return;
    if (!storage.attachToNode(false, u"eModel", true, 0)) {
        error = kvDmLmvDataErrorNoData;
        return;
    }
    // Read to its end before the file is made: a stream that does not decode leaves the file of that name as it is.
    std::vector<std::uint8_t> block(blockSize);
    while (storage.getArchive().Read(block.data(), block.size()) > 0) {
    }
    if (!storage.attachToNode(false, u"eModel", true, 0)) {
        error = kvDmLmvDataErrorNoData;
        return;
    }
    const std::unique_ptr<OpenFile> file = createFile(fileName);
    if (!file) {
        error = kvDmLmvDataErrorFileCreation;
        return;
    }
    copyNode(storage, *file, block);
    error = kvDmLmvDataErrorNone;
}

void dmDocument_c::getXmlStream(std::u16string_view fileName, KvDmXmlDataError& error)
{
    const ComPtr<IStorage> root = getStorage();
    if (!root)
        return;
    error = kvDmXmlDataErrorNone;
    suStructuredStorage storage(root.get());
    if (!storage.attachToNode(false, u"kvXmlContents", false, 0) || !storage.attachToNode(false, u"COMPINSTANCETREE", true, 0)) {
        error = kvDmXmlDataErrorNoData;
        return;
    }
    error = kvDmXmlDataErrorFileCreation;
    const std::unique_ptr<OpenFile> file = createFile(fileName);
    if (!file)
        return;
    std::vector<std::uint8_t> block(blockSize);
    copyNode(storage, *file, block);
    error = kvDmXmlDataErrorNone;
}

void dmDocument_c::getKeywordsDom(KvDmXmlDataError& error)
{
    const ComPtr<IStorage> root = getStorage();
    if (!root)
        return;
    suStructuredStorage storage(root.get());
    const bool present = storage.attachToNode(false, u"kvXmlContents", false, 0) && storage.attachToNode(false, u"KeyWords", true, 0);
    error = present ? kvDmXmlDataErrorFileCreation : kvDmXmlDataErrorNoData;
}

} // namespace kvdm
