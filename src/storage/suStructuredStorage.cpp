#include "storage/suStructuredStorage.h"

#include "common/automationText.h"
#include "common/exceptions.h"
#include "common/trace.h"
#include "storage/codecs/suCompressedFile_c.h"
#include "storage/lockbytes/suFileLockBytes.h"

namespace kvdm {

namespace {

constexpr DWORD readWriteMode = STGM_TRANSACTED | STGM_SHARE_DENY_WRITE | STGM_READWRITE;
constexpr DWORD readMode = STGM_TRANSACTED | STGM_SHARE_DENY_NONE | STGM_NOSNAPSHOT;
constexpr DWORD snapshotMode = STGM_TRANSACTED | STGM_SHARE_DENY_NONE;
constexpr DWORD createMode = STGM_DELETEONRELEASE | STGM_TRANSACTED | STGM_CREATE | STGM_READWRITE;

struct SplitName
{
    std::u16string path;      // of the file to open
    std::u16string innerName; // of the document inside it, or empty
};

// "<outer>inner" as the last component names a document inside another file.
SplitName splitDocumentName(std::u16string_view name)
{
    std::size_t begin = name.find_last_of(u"\\/");
    begin = begin == std::u16string_view::npos || begin == 0 ? 0 : begin + 1;
    const std::u16string_view last = name.substr(begin);
    const std::size_t close = last.starts_with(u'<') ? last.find(u'>') : std::u16string_view::npos;
    if (close == std::u16string_view::npos)
        return {std::u16string(name), {}};
    SplitName result{std::u16string(name.substr(0, begin)), std::u16string(last.substr(close + 1))};
    result.path += last.substr(1, close - 1);
    return result;
}

HRESULT openOn(ILockBytes& bytes, DWORD mode, ComPtr<IStorage>& out)
{
    const HRESULT status = StgOpenStorageOnILockBytes(&bytes, nullptr, mode, nullptr, 0, out.put());
    if (FAILED(status))
        (void)out.detach();
    return status;
}

} // namespace

suCipherHooks suStructuredStorage::cipherHooks;

suStructuredStorage::suStructuredStorage(IStorage* storage, suStorageDocument* owner) : document(owner), rootStorage(ComPtr<IStorage>::share(storage))
{
    if (document)
        storageName = document->getStorageName();
}

suStructuredStorage::suStructuredStorage(std::u16string_view name, bool readWrite, suStorageDocument* owner, IStorage* storage, bool snapshot,
                                         bool checkIsStorage)
    : document(owner), rootStorage(ComPtr<IStorage>::share(storage)), storageName(name)
{
    const SplitName split = splitDocumentName(name);
    lockBytes = ComPtr<suFileLockBytes>::adopt(new suFileLockBytes);
    if (rootStorage || name.empty()) {
        if (!split.innerName.empty() && document && document->getEmbeddedStorage())
            iReuseEmbedded();
        return;
    }
    const bool isOpen = SUCCEEDED(lockBytes->open(split.path, readWrite)); // a failure shows in the next step
    if (checkIsStorage && (isOpen ? StgIsStorageILockBytes(lockBytes.get()) : StgIsStorageFile(toOle(split.path))) == S_FALSE) {
        lockBytes = ComPtr<suFileLockBytes>::adopt(new suFileLockBytes); // lets go of a file that is none of ours
        return;
    }
    if (split.innerName.empty())
        iOpenPlain(readWrite, snapshot);
    else
        iOpenEmbedded(split.innerName, readWrite, snapshot);
    ownsStorages = true;
    if (embeddedRefsWrapper)
        embeddedRefsWrapper->ownsStorages = true;
    if (embeddedDocWrapper)
        embeddedDocWrapper->ownsStorages = true;
}

void suStructuredStorage::iOpenPlain(bool readWrite, bool snapshot)
{
    const DWORD first = readWrite ? readWriteMode : snapshot ? snapshotMode : readMode;
    HRESULT status = openOn(*lockBytes, first, rootStorage);
    if (status == STG_E_LOCKVIOLATION && !readWrite)
        status = openOn(*lockBytes, STGM_TRANSACTED, rootStorage);
    else if (status == STG_E_TOOMANYOPENFILES && !readWrite && first == readMode)
        status = openOn(*lockBytes, snapshotMode, rootStorage);
    if (status == STG_E_FILENOTFOUND && readWrite) {
        status = StgCreateDocfileOnILockBytes(lockBytes.get(), createMode, 0, rootStorage.put());
        if (FAILED(status))
            (void)rootStorage.detach();
    }
    if (FAILED(status)) {
        lastError = status;
        throw suOleException(status);
    }
}

void suStructuredStorage::iOpenEmbedded(const std::u16string& innerName, bool readWrite, bool snapshot)
{
    const DWORD first = readWrite ? readWriteMode : snapshot ? snapshotMode : readMode;
    HRESULT status = openOn(*lockBytes, first, topStorage);
    if (status == STG_E_SHAREVIOLATION)
        status = openOn(*lockBytes, snapshotMode, topStorage);
    if (topStorage) {
        // A file that is open for reading lends its storages for reading alone; one that is open for writing gets those
        // that are missing.
        const auto attach = [readWrite](suStructuredStorage& wrapper, const std::u16string& name) {
            return wrapper.attachToNode(true, name, false, 0) || (!readWrite && wrapper.attachToNode(false, name, false, 0));
        };
        embeddedRefsWrapper = std::make_unique<suStructuredStorage>(topStorage.get(), document);
        attach(*embeddedRefsWrapper, u"Embedded References");
        embeddedDocWrapper = std::make_unique<suStructuredStorage>(embeddedRefsWrapper->getChildStorage(), document);
        attach(*embeddedDocWrapper, innerName);
        rootStorage = embeddedDocWrapper->childStorage;
        if (document) {
            document->setTopStorage(topStorage.get());
            document->setEmbeddedReferencesStorage(embeddedRefsWrapper->getChildStorage());
            document->setEmbeddedStorage(rootStorage.get());
        }
    }
    if (status == STG_E_FILENOTFOUND && readWrite) {
        status = StgCreateDocfileOnILockBytes(lockBytes.get(), createMode, 0, rootStorage.put());
        if (FAILED(status))
            (void)rootStorage.detach();
    }
    if (FAILED(status)) {
        lastError = status;
        throw suOleException(status);
    }
}

// The document holds what the gateway that opened the file found.
void suStructuredStorage::iReuseEmbedded()
{
    embeddedRefsWrapper = std::make_unique<suStructuredStorage>(document->getTopStorage(), document);
    embeddedRefsWrapper->childStorage = ComPtr<IStorage>::share(document->getEmbeddedReferencesStorage());
    embeddedDocWrapper = std::make_unique<suStructuredStorage>(embeddedRefsWrapper->getChildStorage(), document);
    embeddedDocWrapper->childStorage = ComPtr<IStorage>::share(document->getEmbeddedStorage());
    rootStorage = embeddedDocWrapper->childStorage;
}

suStructuredStorage::~suStructuredStorage()
{
    lockBytes.reset();
    try {
        if (!streamReleased)
            releaseStream();
    } catch (const std::exception&) {
        // A stream that could not be flushed has told so to the one who released it; here nobody is left to be told.
    }
    iReleaseWrapper(embeddedDocWrapper, true);
    iReleaseWrapper(embeddedRefsWrapper, false);
    releaseChildStorage();
    if (ownsStorages && document && topStorage && document->getTopStorage() == topStorage.get()) { // lent until here
        document->setEmbeddedStorage(nullptr);
        document->setEmbeddedReferencesStorage(nullptr);
        document->setTopStorage(nullptr);
    }
}

// Commits what was written below the wrapper's child. The embedded document's wrapper shares its child with our root, which
// is committed by its owner alone.
void suStructuredStorage::iReleaseWrapper(std::unique_ptr<suStructuredStorage>& wrapper, bool sparesRoot)
{
    if (!wrapper)
        return;
    if (sparesRoot && rootStorage.get() == wrapper->childStorage.get())
        wrapper->childStorage.reset();
    wrapper->releaseChildStorage();
    wrapper.reset();
}

bool suStructuredStorage::topStorageIsPresent() const
{
    trace("suStructuredStorage::topStorageIsPresent()");
    return static_cast<bool>(topStorage);
}

HRESULT suStructuredStorage::writeClassStg(REFCLSID id)
{
    trace("suStructuredStorage::writeClassStg()");
    return rootStorage ? WriteClassStg(rootStorage.get(), id) : STG_E_INVALIDPOINTER;
}

HRESULT suStructuredStorage::readClassStg(CLSID& id)
{
    trace("suStructuredStorage::readClassStg()");
    return rootStorage ? ReadClassStg(rootStorage.get(), &id) : STG_E_INVALIDPOINTER;
}

} // namespace kvdm
