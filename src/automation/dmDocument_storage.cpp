// Opening and closing the file, the lazy reads, the life of the core.
#include "automation/dmDocument_c.h"

#include "automation/CKvDMDocument.h"
#include "automation/dmConfiguration_c.h"
#include "common/exceptions.h"
#include "properties/suDocumentProperties_c.h"
#include "properties/suOlePropertyHelper.h"
#include "properties/suSummaryInformation_c.h"
#include "storage/codecs/deferredCompression.h"
#include "storage/headers/dmSerializeContext.h"
#include "storage/headers/headerStreams.h"
#include "storage/suStructuredStorage.h"

#include <mutex>

namespace kvdm {

namespace {

// Gives the room of the storage what it needs of the rooms above it, before anything is read.
void supplyRoomsBelow()
{
    static std::once_flag once;
    std::call_once(once, [] {
        setConfigurationPropertiesFactory(
            []() -> std::unique_ptr<suConfigurationProperties> { return std::make_unique<dmConfigurationProperties>(); });
        registerPropertyClasses();
    });
}

} // namespace

std::unique_ptr<dmDocument_c> dmDocument_c::openByPath(std::u16string path, bool readOnly)
{
    std::unique_ptr<dmDocument_c> core(new (std::nothrow) dmDocument_c);
    if (!core)
        return nullptr;
    core->fullPath = std::move(path);
    core->readOnly = readOnly;
    core->iOpenTables();
    return core;
}

// The first look at the tables is what opens the storage, tests the version and fixes it.
void dmDocument_c::iOpenTables()
{
    (void)getStorage();
}

std::unique_ptr<dmDocument_c> dmDocument_c::openByStorage(IStorage& storage)
{
    std::unique_ptr<dmDocument_c> core(new (std::nothrow) dmDocument_c);
    if (!core)
        return nullptr;
    try {
        core->readOnly = false;
        suStructuredStorage wrapper(&storage);
        core->rootStorage = ComPtr<IStorage>::share(wrapper.getRootStorage());
        if (!core->rootStorage || wrapper.loadVersion() > dmSerializeContext::presentVersion)
            return nullptr;
        const DeferredCompressionScope scope; // no worker touches a client's stream
        core->getConfigMgrHeader();
        core->getHeader();
        core->getProperties();
        core->getSummary();
        return core;
    } catch (const std::exception&) {
        return nullptr;
    }
}

dmDocument_c::dmDocument_c()
{
    supplyRoomsBelow();
}

dmDocument_c::~dmDocument_c() = default;

ComPtr<IStorage> dmDocument_c::getStorage()
{
    if (rootStorage)
        return rootStorage;
    if (fullPath.empty())
        return nullptr; // a document on a storage has nothing to open again
    suStructuredStorage wrapper(fullPath, !readOnly, nullptr, nullptr, false, true);
    if (!wrapper.getRootStorage())
        return nullptr;
    try {
        fileVersion = wrapper.loadVersion();
    } catch (const std::exception&) {
        return nullptr;
    }
    if (fileVersion > dmSerializeContext::presentVersion)
        return nullptr; // nothing is kept, so that every later access tests again
    rootStorage = ComPtr<IStorage>::share(wrapper.getRootStorage() ? wrapper.getRootStorage() : wrapper.getTopStorage());
    return rootStorage;
}

bool dmDocument_c::getFileVersion(LONG& version)
{
    if (!getStorage())
        return false;
    version = fileVersion;
    return true;
}

void dmDocument_c::close() noexcept
{
    rootStorage.reset();
}

// The flag is set before the read: one that threw or found nothing is final. Without a storage it stays clear, so that a
// later call tries again.
template <class Member, class Read> auto* dmDocument_c::iReadOnce(Member& member, bool& tried, Read&& read)
{
    if (member || tried)
        return member.get();
    const ComPtr<IStorage> storage = getStorage();
    if (!storage)
        return member.get();
    tried = true;
    try {
        suStructuredStorage wrapper(storage.get());
        wrapper.knowVersion(fileVersion);
        member = read(wrapper);
    } catch (const std::exception&) {
        member.reset();
    }
    return member.get();
}

moHeader_c* dmDocument_c::getHeader()
{
    return iReadOnce(header, headerTried, [](suStructuredStorage& storage) { return readHeader(storage); });
}

dmConfigMgrHeader_c* dmDocument_c::getConfigMgrHeader()
{
    return iReadOnce(configMgrHeader, configMgrHeaderTried, [](suStructuredStorage& storage) { return readConfigMgrHeader(storage); });
}

suDocumentProperties_c* dmDocument_c::getProperties()
{
    return iReadOnce(properties, propertiesTried, [](suStructuredStorage& storage) {
        auto made = std::make_unique<suDocumentProperties_c>();
        made->Read(*storage.getRootStorage(), storage.loadVersion());
        return made;
    });
}

suSummaryInformation_c* dmDocument_c::getSummary()
{
    return iReadOnce(summary, summaryTried, [](suStructuredStorage& storage) {
        auto made = std::make_unique<suSummaryInformation_c>();
        made->Read(*storage.getRootStorage());
        return made;
    });
}

suRefNameMgr_c* dmDocument_c::getRefNames()
{
    return iReadOnce(refNames, refNamesTried, [](suStructuredStorage& storage) {
        auto made = std::make_unique<suRefNameMgr_c>();
        made->load(storage);
        return made;
    });
}

HRESULT dmDocument_c::wrapDocument(std::unique_ptr<dmDocument_c> core, IKvDMDocument** out)
{
    if (!core)
        return S_OK;
    const HRESULT status = core->wrapDocument(out);
    (void)core.release(); // its wrappers own it now; without one the call above has thrown
    return status;
}

HRESULT dmDocument_c::wrapDocument(IKvDMDocument** out)
{
    if (documentWrapper)
        return documentWrapper->QueryInterface(IID_IKvDMDocument, reinterpret_cast<void**>(out));
    const ComPtr<CKvDMDocument> made = makeObject<CKvDMDocument>(*this);
    documentWrapper = made.get();
    return made->QueryInterface(IID_IKvDMDocument, reinterpret_cast<void**>(out));
}

void dmDocument_c::releaseDocumentWrapper() noexcept
{
    documentWrapper = nullptr;
    iEndIfUnused();
}

void dmDocument_c::iEndIfUnused() noexcept
{
    if (!configMgrWrapper && !documentWrapper && liveConfigurations.empty())
        delete this;
}

} // namespace kvdm
