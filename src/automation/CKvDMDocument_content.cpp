// References, configurations, previews, tables, keywords, sheets: what a document of a readable kind holds beside its
// header and properties. Until the pieces behind a method can be read it reports that there is nothing.
#include "automation/automationValues.h"
#include "automation/callOnCore.h"
#include "automation/CKvDMDocument.h"
#include "automation/dmConfiguration_c.h"
#include "automation/dmDocument_c.h"
#include "automation/previews.h"

namespace kvdm {

// ---- references -----------------------------------------------------------------------------------------------------

HRESULT CKvDMDocument::GetAllExternalReferences(IKvDMSearchOption* option, VARIANT* listOfFiles) noexcept
{
    return GetAllExternalReferences3(option, nullptr, nullptr, listOfFiles);
}

HRESULT CKvDMDocument::GetAllExternalReferences2(IKvDMSearchOption* option, VARIANT* brokenRefVar, VARIANT* listOfFiles) noexcept
{
    return GetAllExternalReferences3(option, brokenRefVar, nullptr, listOfFiles);
}

HRESULT CKvDMDocument::GetAllExternalReferences3(IKvDMSearchOption*, VARIANT* brokenRefVar, VARIANT* isVirtual, VARIANT* listOfFiles) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c&) {
            for (VARIANT* out : {brokenRefVar, isVirtual, listOfFiles})
                if (out)
                    VariantInit(out);
            return S_OK;
        },
        listOfFiles);
}

HRESULT CKvDMDocument::GetAllExternalReferences(ICommonCADSearchOption* option, VARIANT* brokenRefVar, VARIANT* listOfFiles) noexcept
{
    const ComPtr<IKvDMSearchOption> asked = queryAs<IKvDMSearchOption>(option);
    return GetAllExternalReferences2(asked.get(), brokenRefVar, listOfFiles);
}

HRESULT CKvDMDocument::WhereUsed(IKvDMSearchOption* option, VARIANT* listOfFiles) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c&) {
            VariantInit(listOfFiles);
            return E_FAIL;
        },
        listOfFiles, option);
}

HRESULT CKvDMDocument::ReplaceReference(BSTR, BSTR) noexcept
{
    return callOnCore(core, [](dmDocument_c&) { return E_FAIL; });
}

HRESULT CKvDMDocument::GetChangedReferences(VARIANT* originalReferences, VARIANT* newReferences) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c& document) {
            VariantInit(originalReferences);
            VariantInit(newReferences);
            document.getRefNames();
            return S_OK;
        },
        originalReferences, newReferences);
}

// ---- configurations -------------------------------------------------------------------------------------------------

HRESULT CKvDMDocument::get_ConfigurationManager(IKvDMConfigurationMgr** manager) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c& document) {
            *manager = nullptr;
            return document.wrapConfigurationMgr(manager);
        },
        manager);
}

// The caller's pointer is never written: no class answers for the CAD-neutral manager.
HRESULT CKvDMDocument::get_ConfigurationManager(ICommonCADConfigurationMgr**) noexcept
{
    ComPtr<IKvDMConfigurationMgr> manager;
    return get_ConfigurationManager(manager.put());
}

// ---- previews -------------------------------------------------------------------------------------------------------

HRESULT CKvDMDocument::get_PreviewStreamName(BSTR* name) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c& document) {
            std::u16string text;
            const bool exists = getPreviewName(document, nullptr, PreviewForm::bitmap, text);
            giveText(exists ? text : std::u16string(), name);
            return exists ? S_OK : E_FAIL;
        },
        name);
}

HRESULT CKvDMDocument::get_PreviewPNGStreamName(BSTR* name) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c& document) {
            std::u16string text;
            const bool exists = getPreviewName(document, nullptr, PreviewForm::png, text);
            giveText(exists ? text : std::u16string(), name);
            return exists ? S_OK : E_FAIL;
        },
        name);
}

HRESULT CKvDMDocument::GetPreviewBitmap(KvDmPreviewError* error, IDispatch** picture) noexcept
{
    return callOnCore(
        core, [&](dmDocument_c& document) { return givePicture(document, nullptr, PreviewForm::bitmap, error, picture); }, error, picture);
}

HRESULT CKvDMDocument::GetPreviewPNGBitmap(KvDmPreviewError* error, IDispatch** picture) noexcept
{
    return callOnCore(
        core, [&](dmDocument_c& document) { return givePicture(document, nullptr, PreviewForm::png, error, picture); }, error, picture);
}

HRESULT CKvDMDocument::GetPreviewBitmapBytes(KvDmPreviewError* error, VARIANT* bytes) noexcept
{
    return callOnCore(
        core, [&](dmDocument_c& document) { return givePreviewBytes(document, nullptr, PreviewForm::bitmap, error, bytes); }, bytes, error);
}

HRESULT CKvDMDocument::GetPreviewPNGBitmapBytes(KvDmPreviewError* error, VARIANT* bytes) noexcept
{
    return callOnCore(
        core, [&](dmDocument_c& document) { return givePreviewBytes(document, nullptr, PreviewForm::png, error, bytes); }, bytes, error);
}

// ---- keywords -------------------------------------------------------------------------------------------------------

HRESULT CKvDMDocument::GetKeyWordStream2(IUnknown** xmlDocument, KvDmXmlDataError* error) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c& document) {
            if (xmlDocument)
                *xmlDocument = nullptr;
            document.getKeywordsDom(*error);
            return S_OK;
        },
        error);
}

HRESULT CKvDMDocument::GetKeyWordStream(BSTR, KvDmXmlDataError* error) noexcept
{
    ComPtr<IUnknown> xmlDocument;
    return GetKeyWordStream2(xmlDocument.put(), error);
}

HRESULT CKvDMDocument::GetKeyWordStream(IUnknown** xmlDocument) noexcept
{
    KvDmXmlDataError error = kvDmXmlDataErrorNone;
    return GetKeyWordStream2(xmlDocument, &error);
}

HRESULT CKvDMDocument::GetDissectionListStream(IUnknown** xmlDocument) noexcept
{
    return GetKeyWordStream(xmlDocument);
}

HRESULT CKvDMDocument::SaveKeyWordStream(IUnknown*, BSTR documentTags) noexcept
{
    return callOnCore(core, [&](dmDocument_c& document) {
        document.saveKeywords(OwnedBstr::viewOf(documentTags));
        return S_OK;
    });
}

HRESULT CKvDMDocument::DoDissectionToStore(IUnknown*) noexcept
{
    return E_NOTIMPL;
}

// ---- tables, sheets, views, cut lists -------------------------------------------------------------------------------

HRESULT CKvDMDocument::GetTableNames(KvDmTableType, VARIANT* names) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c&) {
            VariantInit(names);
            return S_OK;
        },
        names);
}

HRESULT CKvDMDocument::GetTable(BSTR, IKvDMTable**) noexcept
{
    return callOnCore(core, [](dmDocument_c&) { return S_OK; });
}

HRESULT CKvDMDocument::GetViews(VARIANT* views) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c&) {
            VariantInit(views);
            *views = emptyArray(VT_UNKNOWN).detach();
            return S_OK;
        },
        views);
}

HRESULT CKvDMDocument::GetSheets(VARIANT* sheets) noexcept
{
    return GetViews(sheets);
}

HRESULT CKvDMDocument::GetCutListItems(VARIANT* items) noexcept
{
    return GetViews(items);
}

} // namespace kvdm
