#include "automation/previews.h"

#include "automation/automationValues.h"
#include "automation/dmConfiguration_c.h"
#include "automation/dmDocument_c.h"
#include "automation/module.h"
#include "common/exceptions.h"
#include "platform/text/casing.h"
#include "storage/previews/suDibRecord.h"
#include "storage/suStructuredStorage.h"

namespace kvdm {

namespace {

constexpr int firstVersionWithPreviewEach = 2037;

// The number that opening has found saves another walk through the root; a document on a client's storage has none.
int versionOf(dmDocument_c& document, IStorage& root)
{
    LONG version = 0;
    return document.getFileVersion(version) && version != 0 ? version : suStructuredStorage(&root).loadVersion();
}

// Reads the record of the stream that is meant. False, and the caller's error stays as it is, when there is none that can be
// read.
bool readRecord(dmDocument_c& document, const dmConfigHeader_c* configuration, PreviewForm form, suDibRecord& record)
{
    try {
        const ComPtr<IStorage> root = document.getStorage();
        if (!root)
            return false;
        suStructuredStorage storage(root.get());
        std::u16string name;
        if (!getPreviewName(document, configuration, form, name) || !storage.attachToNode(false, name, true, 0))
            return false;
        form == PreviewForm::png ? record.loadPng(storage.getArchive()) : record.load(storage.getArchive());
        return true;
    } catch (const suException&) {
        return false; // clients look at the error alone
    }
}

} // namespace

// With no configuration the document's own: that of the active one, whose record decides as any other's.
bool getPreviewName(dmDocument_c& document, const dmConfigHeader_c* configuration, PreviewForm form, std::u16string& name)
{
    const ComPtr<IStorage> root = document.getStorage();
    if (!root)
        return false;
    const dmConfigHeader_c* meant = configuration ? configuration : document.getActiveConfigurationHeader();
    const std::u16string plain = form == PreviewForm::png ? u"PreviewPNG" : u"Preview";
    name = plain;
    if (!meant)
        return true;
    if (form == PreviewForm::bitmap && versionOf(document, *root) < firstVersionWithPreviewEach)
        return equalNoCase(meant->name, document.getActiveConfigurationName()); // there is one for the document
    if (meant->configurationKind != dmConfigHeader_c::kindActive)
        name = meant->getConfigurationNodeName() + u"-" + plain;
    return true;
}

HRESULT givePicture(dmDocument_c& document, const dmConfigHeader_c* configuration, PreviewForm form, KvDmPreviewError* error, IDispatch** picture)
{
    *picture = nullptr;
    *error = kvDmPreviewErrorNoPreview;
    suDibRecord record;
    if (!readRecord(document, configuration, form, record))
        return S_OK;
    std::optional<ArgbImage> image = record.decode();
    if (!image) {
        *error = kvDmPreviewErrorMakeBmpFail;
        return S_OK;
    }
    *picture = makePicture(std::move(*image), std::make_shared<ModuleCount>()).detach();
    *error = kvDmPreviewErrorNone;
    return S_OK;
}

HRESULT givePreviewBytes(dmDocument_c& document, const dmConfigHeader_c* configuration, PreviewForm form, KvDmPreviewError* error, VARIANT* bytes)
{
    VariantInit(bytes);
    *error = kvDmPreviewErrorNoPreview;
    suDibRecord record;
    if (!readRecord(document, configuration, form, record))
        return S_OK;
    if (form == PreviewForm::bitmap) {
        const std::optional<ArgbImage> image = record.decode();
        std::optional<std::vector<std::uint8_t>> file = image ? encodeImage(*image, "image/bmp") : std::nullopt;
        if (!file) {
            *error = kvDmPreviewErrorMakeBmpFail;
            return S_OK;
        }
        record.data = std::move(*file);
    }
    *bytes = arrayOfBytes(record.data).detach();
    *error = kvDmPreviewErrorNone;
    return S_OK;
}

} // namespace kvdm
