// Saving: the writer that save and saveAs share.
#include "automation/dmConfiguration_c.h"
#include "automation/dmDocument_c.h"
#include "common/automationText.h"
#include "common/exceptions.h"
#include "properties/suDocumentProperties_c.h"
#include "properties/suSummaryInformation_c.h"
#include "storage/headers/headerStreams.h"
#include "storage/suStructuredStorage.h"

namespace kvdm {

namespace {

constexpr DWORD newDocumentMode = STGM_TRANSACTED | STGM_CREATE | STGM_READWRITE | STGM_SHARE_DENY_WRITE;

void check(HRESULT status)
{
    if (FAILED(status))
        throw suOleException(status);
}

} // namespace

// What a count has read goes to both stores. Each copy of a link that repeated counts have made stands for the one link of
// the file; the last change wins. A list that would come back cut stays as it is, and without a change all that was not
// read whole.
void dmDocument_c::iStoreLinks(suDocumentProperties_c& store)
{
    const auto isWhole = [&](bool visible) { return store.getStore(visible).isLinkListWhole() && !store.getStore(visible).isLeftAlone(); };
    if (storedLinks == 0 || !store.getStore(true).isLinkListWhole() || (linkChanges.empty() && !(isWhole(true) && isWhole(false))))
        return;
    std::vector<std::u16string> wanted(currentLinkNames.begin(), currentLinkNames.begin() + static_cast<std::ptrdiff_t>(storedLinks));
    for (const auto& [at, link] : linkChanges)
        wanted[at % storedLinks] = link;
    store.SetLinkLists(wanted, nullptr);
}

bool dmDocument_c::iWrite(suStructuredStorage& storage, KvDmDocumentSaveError& error)
{
    error = kvDmDocumentSaveErrorNone;
    IStorage* root = storage.getRootStorage();
    if (!root)
        return false;
    try {
        // A header that could not be written whole must not be committed with the rest.
        bool written = true;
        if (moHeader_c* read = getHeader())
            writeHeader(*read, storage, &written);
        if (dmConfigMgrHeader_c* read = getConfigMgrHeader(); read && written)
            writeConfigMgrHeader(*read, storage, &written);
        if (!written)
            throw suFileException(suFileException::generic);
        const auto saveProperties = [&](const std::u16string&, const std::unique_ptr<dmConfiguration_c>& configuration) {
            if (configuration && configuration->getHeader())
                configuration->getHeader()->saveProperties(storage);
        };
        liveConfigurations.forEach(saveProperties);
        retiredConfigurations.forEach(saveProperties);
        if (suDocumentProperties_c* read = getProperties()) {
            iStoreLinks(*read);
            if (!read->Write(*root))
                throw suFileException(suFileException::generic);
        }
        if (suSummaryInformation_c* read = getSummary()) {
            read->stampSave();
            if (!read->Write(*root))
                throw suFileException(suFileException::generic);
        }
        if (suRefNameMgr_c* read = getRefNames())
            read->store(storage);
        check(root->Commit(STGC_ONLYIFCURRENT));
        return true;
    } catch (const std::exception&) {
        error = kvDmDocumentSaveErrorFail;
        return false;
    }
}

bool dmDocument_c::save(KvDmDocumentSaveError& error)
{
    error = kvDmDocumentSaveErrorNone;
    if (readOnly) {
        error = kvDmDocumentSaveErrorReadOnly;
        return false;
    }
    const ComPtr<IStorage> storage = getStorage();
    if (!storage)
        return false;
    suStructuredStorage wrapper(storage.get());
    return iWrite(wrapper, error);
}

bool dmDocument_c::saveAs(const std::u16string& newPath, KvDmDocumentSaveError& error)
{
    error = kvDmDocumentSaveErrorNone;
    try {
        // Before the new file is made, which takes the place of a file of that name: the document's own must be open then, so that it
        // is refused, and another one must not go for a document that has nothing to give.
        const ComPtr<IStorage> storage = getStorage();
        if (!storage)
            return false;
        ComPtr<IStorage> created;
        const HRESULT status = StgCreateDocfile(toOle(newPath), newDocumentMode, 0, created.put());
        if (FAILED(status)) {
            (void)created.detach();
            throw suOleException(status);
        }
        check(storage->CopyTo(0, nullptr, nullptr, created.get()));
        suStructuredStorage wrapper(created.get());
        if (fileVersion != 0)
            wrapper.writeVersion(fileVersion); // a document on a storage does not know its own: its marker came with the copy
        iWrite(wrapper, error);                // the outcome changes nothing here: the document goes on in the new file
        std::u16string path = newPath;
        rootStorage = std::move(created); // nothing can fail from here on
        fullPath = std::move(path);
        readOnly = false;
        return true;
    } catch (const std::exception&) {
        error = kvDmDocumentSaveErrorFail;
        return false;
    }
}

// A document whose keywords cannot be parsed here has the tags alone to keep.
void dmDocument_c::saveKeywords(std::u16string_view tags)
{
    if (suSummaryInformation_c* read = getSummary())
        read->setField(SummaryField::keywords, tags);
    KvDmDocumentSaveError error = kvDmDocumentSaveErrorNone;
    save(error);
}

} // namespace kvdm
