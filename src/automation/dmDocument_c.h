// The document in memory: one object per open file or storage, without an automation surface of its own.
#pragma once

#include "common/stringMap.h"
#include "storage/headers/dmConfigMgrHeader_c.h"
#include "storage/headers/moHeader_c.h"
#include "storage/headers/suRefNameMgr_c.h"

#include <kvdocmgr/kvdocmgr.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kvdm {

class CKvDMConfigurationMgr;
class CKvDMDocument;
class dmConfiguration_c;
class suDocumentProperties_c;
class suPropertyStore_c;
class suStructuredStorage;
class suSummaryInformation_c;

// Owns the compound storage, reads each piece at first need and keeps it until it dies, and writes the pieces back on save.
// Wrappers and core point at each other plainly; the core dies with the last of its wrappers. For one thread.
// Opening a file for writing that the system refuses raises suOleException; all else that cannot be read is simply not there.
class dmDocument_c
{
public:
    // Reads nothing but what opening needs. A file that is no document gives a core whose operations fail one by one; null
    // only on exhausted memory.
    static std::unique_ptr<dmDocument_c> openByPath(std::u16string path, bool readOnly);
    // Reads everything that opening reads at once, since the owner of the storage may go away; null when it cannot.
    static std::unique_ptr<dmDocument_c> openByStorage(IStorage& storage);
    ~dmDocument_c();
    dmDocument_c(const dmDocument_c&) = delete;
    dmDocument_c& operator=(const dmDocument_c&) = delete;

    // The single wrapper of a core, which the wrappers own from then on. A null core hands out nothing, with status 0.
    static HRESULT wrapDocument(std::unique_ptr<dmDocument_c> core, IKvDMDocument** out);
    HRESULT wrapDocument(IKvDMDocument** out);
    // Called by the wrapper's destructor as its last act: the core may be gone afterwards.
    void releaseDocumentWrapper() noexcept;

    HRESULT wrapConfigurationMgr(IKvDMConfigurationMgr** out);
    void releaseConfigMgrWrapper() noexcept;
    // Moves the object to the retired ones, where a look-up or a save finds it again.
    void releaseConfiguration(dmConfiguration_c& configuration) noexcept;

    const std::u16string& getFullPath() const noexcept { return fullPath; }

    // The root storage, opened when it is closed; empty when there is none to be had.
    ComPtr<IStorage> getStorage();
    // False, and the output left alone, without a storage.
    bool getFileVersion(LONG& version);
    void close() noexcept;

    // Each is read at the first call and never again, failed reads included.
    moHeader_c* getHeader();
    dmConfigMgrHeader_c* getConfigMgrHeader();
    suDocumentProperties_c* getProperties();
    suSummaryInformation_c* getSummary();
    suRefNameMgr_c* getRefNames();

    // -1 without a readable list; deleted ones are not counted, listed or found.
    LONG getConfigurationCount();
    bool getConfigurationNames(std::vector<std::u16string>& names);
    std::u16string getActiveConfigurationName(); // empty when none is active
    dmConfigHeader_c* getActiveConfigurationHeader();
    // The internal object of that name, exact in case; null when there is none. It stays the core's.
    dmConfiguration_c* getConfiguration(std::u16string_view name);
    // False for a name that is empty, in use, or holds "@" or "/".
    bool isNewConfigurationName(std::u16string_view name);

    // The visible or the invisible custom properties; null without a storage.
    suPropertyStore_c* getCustomProperties(bool visible);
    // The value of an invisible property, as its getter gives it; empty when there is none.
    std::u16string invisibleValue(std::u16string_view name);

    // Answers from the header.
    LONG getLastUpdateStamp();
    bool isDetachedDrawing(bool& detached);
    bool isSmartComponentDocument(bool& smart);
    std::vector<std::u16string> getLinkedAttachments();
    LONG getComponentCount();

    KvDmToolboxPartType getToolboxPart();
    void setToolboxPart(KvDmToolboxPartType type);
    LONG getSheetCount();
    std::u16string getActiveSheetName();
    // False when the document does not tell its sheets.
    bool getSheetNames(std::vector<std::u16string>& names);

    LONG getHyperLinksCount();
    // False for an index at or above the size; a negative one is suInvalidArgumentException.
    bool getHyperLinkAt(LONG at, std::u16string& link) const;
    bool modifyHyperLinkAt(LONG at, std::u16string_view link);

    // Streams written to files; the error is left alone where no storage can be had.
    void getLumoviewData(std::u16string_view fileName, KvDmLmvDataError& error);
    void getXmlStream(std::u16string_view fileName, KvDmXmlDataError& error);

    // The DOM of the keywords is not to be had here: the error says whether the document holds any.
    void getKeywordsDom(KvDmXmlDataError& error);
    // Stores the tags as keywords of the summary and saves.
    void saveKeywords(std::u16string_view tags);

    // Writes into the open storage and commits; false when nothing was saved.
    bool save(KvDmDocumentSaveError& error);
    // Writes a new file and goes on in it.
    bool saveAs(const std::u16string& newPath, KvDmDocumentSaveError& error);

private:
    dmDocument_c();
    template <class Member, class Read> auto* iReadOnce(Member& member, bool& tried, Read&& read);
    void iOpenTables();
    void iEndIfUnused() noexcept;
    bool iWrite(suStructuredStorage& storage, KvDmDocumentSaveError& error);
    void iStoreLinks(suDocumentProperties_c& store);

    bool readOnly = true;
    std::u16string fullPath; // empty for a document on a storage
    ComPtr<IStorage> rootStorage;
    std::shared_ptr<dmConfigMgrHeader_c> configMgrHeader;
    std::shared_ptr<moHeader_c> header;
    std::unique_ptr<suDocumentProperties_c> properties;
    std::unique_ptr<suSummaryInformation_c> summary;
    std::unique_ptr<suRefNameMgr_c> refNames;
    bool configMgrHeaderTried = false;
    bool headerTried = false;
    bool propertiesTried = false;
    bool summaryTried = false;
    bool refNamesTried = false;
    std::vector<std::u16string> lastSavedLinkNames;                   // of the invisible store; refilled by the count, never emptied
    std::vector<std::u16string> currentLinkNames;                     // of the main store; what a save writes to both
    std::size_t storedLinks = 0;                                      // of the file, as the last count found them
    std::vector<std::pair<std::size_t, std::u16string>> linkChanges;  // in the order in which clients made them
    CKvDMConfigurationMgr* configMgrWrapper = nullptr;                // not counted
    StringMap<std::unique_ptr<dmConfiguration_c>> liveConfigurations; // those with a wrapper
    StringMap<std::unique_ptr<dmConfiguration_c>> retiredConfigurations;
    CKvDMDocument* documentWrapper = nullptr; // not counted
    LONG fileVersion = 0;                     // read at each opening by path
    LONG componentCount = -2;                 // -2 not read, -1 cannot be had
};

} // namespace kvdm
