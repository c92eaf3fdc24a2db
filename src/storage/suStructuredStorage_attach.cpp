// Attaching and releasing streams, compressed streams and child storages.
#include "storage/suStructuredStorage.h"

#include "common/automationText.h"
#include "common/exceptions.h"
#include "common/trace.h"
#include "storage/codecs/conversionFolder.h"
#include "storage/codecs/deferredCompression.h"
#include "storage/codecs/suCompressedFile_c.h"
#include "storage/lockbytes/suFileLockBytes.h"

#include <kvdocmgr/text.h>

namespace kvdm {

namespace {

constexpr DWORD readStream = STGM_SHARE_EXCLUSIVE;
constexpr DWORD writeStream = STGM_SHARE_EXCLUSIVE | STGM_READWRITE;
constexpr DWORD createStream = writeStream | STGM_CREATE;
constexpr int compressedZlib = 4;
constexpr int compressedZip = 2;
constexpr int wantCompressed = 3;
constexpr std::size_t archiveBuffer = 65536;
constexpr std::size_t longestNodeName = 30;
constexpr std::size_t suffixLength = 5;

} // namespace

bool suStructuredStorage::attachToNode(bool isStoring, const std::u16string& name, bool isStream, int wantCompress)
{
    trace([&] {
        return "suStructuredStorage::attachToNode(), isStoring : " + std::to_string(isStoring) + ", inName : " + toUtf8(name) +
               ", isStream : " + std::to_string(isStream) + ", wantCompress : " + std::to_string(wantCompress);
    });
    if (!isStream)
        return iAttachToStorage(isStoring, name);
    if (!isStoring) {
        const int form = isNodeCompressed(name);
        if (form == 0)
            return iAttachToStream(false, name);
        if (form < 0)
            return false;
        storedCompressionType = form;
        return attachToCompressedStream(false, name, form);
    }
    IStorage* storage = iCurrentStorage();
    if (!storage)
        return false;
    if (wantCompress != 0)
        return takeCareIfAlreadyThereUnComp(*storage, name) ? attachToCompressedStream(true, name, wantCompress) : iAttachToStream(true, name);
    return takeCareIfAlreadyThereComp(*storage, name) ? iAttachToStream(true, name) : attachToCompressedStream(true, name, wantCompressed);
}

su_CArchive& suStructuredStorage::getArchive()
{
    trace("suStructuredStorage::getArchive()");
    if (!archive)
        throw suArchiveException(suArchiveException::generic, storageName);
    return *archive;
}

int suStructuredStorage::isNodeCompressed(const std::u16string& name)
{
    trace([&] { return "suStructuredStorage::isNodeCompressed(), id : " + toUtf8(name); });
    releaseStream();
    IStorage* storage = iCurrentStorage();
    if (!storage)
        return -1;
    try {
        const auto holdsFourBytes = [this] {
            std::uint8_t head[4];
            const bool enough = streamFile.Read(head, sizeof head) == sizeof head;
            streamFile.Close();
            return enough;
        };
        if (streamFile.openStream(*storage, name + u"__ZLB", readStream))
            return holdsFourBytes() ? compressedZlib : -1;
        if (streamFile.openStream(*storage, name, readStream)) {
            streamFile.Close();
            return 0;
        }
        if (streamFile.openStream(*storage, name + u"__Zip", readStream) && holdsFourBytes())
            return compressedZip;
    } catch (const std::exception&) {
        streamFile.attach(nullptr);
    }
    return -1;
}

std::u16string suStructuredStorage::iGetStreamName(const std::u16string& name) const
{
    trace([&] { return "suStructuredStorage::iGetStreamName(), origname : " + toUtf8(name); });
    if (compressionType < 1)
        return name;
    return name + (compressionType == compressedZlib ? u"__ZLB" : u"__Zip");
}

void suStructuredStorage::iBuildArchive(suFile& file, bool isStoring)
{
    archive =
        std::make_unique<su_CArchive>(&file, (isStoring ? su_CArchive::store : su_CArchive::load) | su_CArchive::noFlushOnDelete, archiveBuffer);
    archive->m_pDocument = document;
    archive->m_bForceFlat = false;
    if (archive->m_strFileName.empty())
        archive->m_strFileName = storageName;
    streamReleased = false;
}

bool suStructuredStorage::iAttachToStream(bool isStoring, const std::u16string& name)
{
    trace([&] { return "suStructuredStorage::iAttachToStream(), isStoring : " + std::to_string(isStoring) + ", inName : " + toUtf8(name); });
    releaseStream();
    nodeName = name;
    IStorage* storage = iCurrentStorage();
    if (!storage)
        return false;
    if (!isStoring) {
        if (!streamFile.openStream(*storage, name, readStream))
            return false;
    } else if (streamFile.openStream(*storage, name, writeStream)) {
        streamFile.SetLength(0);
    } else if (!streamFile.createStream(*storage, name, createStream)) {
        return false;
    }
    iBuildArchive(streamFile, isStoring);
    return true;
}

bool suStructuredStorage::attachToCompressedStream(bool isStoring, const std::u16string& name, int whatType)
{
    trace([&] {
        return "suStructuredStorage::attachToCompressedStream(), isStoring : " + std::to_string(isStoring) + ", inName : " + toUtf8(name) +
               ", whatType : " + std::to_string(whatType);
    });
    releaseStream();
    compressionType = whatType;
    compressedStoring = isStoring;
    nodeName = name;
    if (!isStoring) {
        commitDeCompression();
        return true;
    }
    compressedFile.reset();
    archive.reset();
    compressionType = compressedZlib; // every new compressed node gets the current form
    if (whatType != wantCompressed)
        return true;
    if (!streamFile.createStream(*iCurrentStorage(), iGetStreamName(name), createStream))
        iThrowStreamFailure();
    compressedFile = deferredCompressionIsOn() ? std::make_unique<suCompressedFile2_c>(streamFile, true, wantCompressed)
                                               : std::make_unique<suCompressedFile_c>(streamFile, true, wantCompressed);
    iBuildArchive(*compressedFile, true);
    return true;
}

void suStructuredStorage::commitDeCompression()
{
    trace("suStructuredStorage::commitDeCompression()");
    compressedFile.reset();
    archive.reset();
    if (!streamFile.openStream(*iCurrentStorage(), iGetStreamName(nodeName), readStream))
        iThrowStreamFailure();
    compressedFile = std::make_unique<suCompressedFile_c>(streamFile, false, storedCompressionType);
    iBuildArchive(*compressedFile, false);
}

void suStructuredStorage::iThrowStreamFailure()
{
    compressionType = 0;
    if (fileCauseOfStatus(streamFile.lastError()) == suFileException::fileNotFound)
        throw suArchiveException(suArchiveException::badSchema, storageName);
    throwFileStatus(streamFile.lastError(), storageName);
}

bool suStructuredStorage::releaseStream()
{
    trace("suStructuredStorage::releaseStream()");
    if (compressionType != 0)
        return releaseCompressedStream();
    if (!archive)
        return false;
    streamReleased = true;
    const std::unique_ptr<su_CArchive> released = std::move(archive);
    if (onMemoryFile) {
        onMemoryFile = false;
        released->Flush();
        memoryFile.Close();
        return true;
    }
    try {
        released->Flush();
        if (released->IsStoring() && document)
            document->setByteTotal(document->getByteTotal() + streamFile.GetLength());
        streamFile.Close();
    } catch (...) {
        streamFile.attach(nullptr);
        throw;
    }
    return true;
}

bool suStructuredStorage::releaseCompressedStream()
{
    trace("suStructuredStorage::releaseCompressedStream()");
    if (!compressedStoring) {
        compressionType = 0;
        const bool attached = archive != nullptr;
        streamReleased = streamReleased || attached;
        archive.reset();
        const std::unique_ptr<suCompressedFile_c> pipe = std::move(compressedFile);
        if (attached && pipe)
            pipe->Close();
        return true;
    }
    const std::unique_ptr<su_CArchive> released = std::move(archive);
    bool done = true;
    if (released && compressionType != 0) {
        streamReleased = true;
        try {
            released->Flush();
            if (compressedFile->defers())
                static_cast<suCompressedFile2_c&>(*compressedFile).runDeferred();
        } catch (...) {
            commitCompression();
            throw;
        }
    }
    done = commitCompression();
    removeConversionFolder();
    return done;
}

// Ends the pipe and closes the stream under it; false when the last bytes could not be written.
bool suStructuredStorage::commitCompression()
{
    trace("suStructuredStorage::commitCompression()");
    bool done = true;
    const std::unique_ptr<suCompressedFile_c> pipe = std::move(compressedFile);
    compressedStoring = false;
    compressionType = 0;
    try {
        if (pipe)
            pipe->Close();
        streamFile.Close();
    } catch (const suFileException&) {
        streamFile.attach(nullptr);
        done = false;
    }
    return done;
}

bool suStructuredStorage::iAttachToStorage(bool isStoring, const std::u16string& name)
{
    trace([&] { return "suStructuredStorage::iAttachToStorage(), isStoring : " + std::to_string(isStoring) + ", inName : " + toUtf8(name); });
    releaseChildStorage();
    if (!rootStorage)
        return false;
    HRESULT status = rootStorage->OpenStorage(toOle(name), nullptr, isStoring ? writeStream : readStream, nullptr, 0, childStorage.put());
    if (isStoring && status == STG_E_FILENOTFOUND) {
        (void)childStorage.detach();
        iDestroyNode(name); // a stream of that name gives way
        status = rootStorage->CreateStorage(toOle(name), writeStream, 0, 0, childStorage.put());
    }
    if (FAILED(status))
        (void)childStorage.detach();
    return static_cast<bool>(childStorage);
}

void suStructuredStorage::releaseChildStorage()
{
    trace("suStructuredStorage::releaseChildStorage()");
    if (!childStorage)
        return;
    const ComPtr<IStorage> released = std::move(childStorage);
    released->Commit(STGC_ONLYIFCURRENT);
}

bool suStructuredStorage::takeCareIfAlreadyThereUnComp(IStorage& storage, const std::u16string& name)
{
    trace([&] { return "suStructuredStorage::takeCareIfAlreadyThereUnComp(), id : " + toUtf8(name); });
    try {
        releaseStream();
        if (name.size() + suffixLength > longestNodeName)
            return false; // the suffix would not fit, so the node is stored as it is
        if (!streamFile.openStream(storage, name, readStream))
            return true;
        streamFile.Close();
        return iDestroyNode(name);
    } catch (const std::exception&) {
        return false;
    }
}

// Only the old form is looked for: a "__ZLB" twin stays, and a reader finds it ahead of the new plain stream. This is meant.
bool suStructuredStorage::takeCareIfAlreadyThereComp(IStorage& storage, const std::u16string& name)
{
    trace([&] { return "suStructuredStorage::takeCareIfAlreadyThereComp(), id : " + toUtf8(name); });
    try {
        releaseStream();
        const std::u16string old = name + u"__Zip";
        if (!streamFile.openStream(storage, old, readStream))
            return true;
        streamFile.Close();
        return iDestroyNode(old);
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace kvdm
