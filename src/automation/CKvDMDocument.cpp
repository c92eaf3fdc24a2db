// Life of the wrapper; paths, version, header answers, links, saving.
#include "automation/CKvDMDocument.h"

#include "automation/automationValues.h"
#include "automation/callOnCore.h"
#include "automation/CKvDMApplication.h"
#include "automation/dmConfiguration_c.h"
#include "automation/dmDocument_c.h"

namespace kvdm {

CKvDMDocument::~CKvDMDocument()
{
    core->releaseDocumentWrapper(); // may end the core: touch nothing after this
}

// ---- the object and its place ---------------------------------------------------------------------------------------

HRESULT CKvDMDocument::get_Application(IKvDMApplication** application) noexcept
{
    return makeApplication(application);
}

HRESULT CKvDMDocument::get_FullName(BSTR* fullName) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c& document) {
            giveText(document.getFullPath(), fullName);
            return S_OK;
        },
        fullName);
}

HRESULT CKvDMDocument::GetVersion(LONG* modelVersion) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c& document) {
            document.getFileVersion(*modelVersion);
            return S_OK;
        },
        modelVersion);
}

HRESULT CKvDMDocument::CloseDoc() noexcept
{
    if (core)
        core->close();
    return S_OK;
}

// ---- answers from the header ----------------------------------------------------------------------------------------

HRESULT CKvDMDocument::GetLastUpdateStamp(LONG* stamp) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c& document) {
            *stamp = document.getLastUpdateStamp();
            return S_OK;
        },
        stamp);
}

HRESULT CKvDMDocument::IsDetachedDrawing(VARIANT_BOOL* detached) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c& document) {
            *detached = VARIANT_FALSE;
            bool answer = false;
            const bool known = document.isDetachedDrawing(answer);
            *detached = toVariantBool(answer);
            return known ? S_OK : E_FAIL;
        },
        detached);
}

HRESULT CKvDMDocument::IsSmartComponentDocument(VARIANT_BOOL* smart) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c& document) {
            *smart = VARIANT_FALSE;
            bool answer = false;
            const bool known = document.isSmartComponentDocument(answer);
            *smart = toVariantBool(answer);
            return known ? S_OK : E_FAIL;
        },
        smart);
}

HRESULT CKvDMDocument::GetLinkedAttachments(VARIANT* attachments) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c& document) {
            VariantInit(attachments);
            const std::vector<std::u16string> texts = document.getLinkedAttachments();
            if (!texts.empty())
                *attachments = arrayOfTexts(texts).detach();
            return S_OK;
        },
        attachments);
}

HRESULT CKvDMDocument::GetComponentCount(LONG* count) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c& document) {
            *count = document.getComponentCount();
            return S_OK;
        },
        count);
}

// ---- answers from the invisible properties --------------------------------------------------------------------------

HRESULT CKvDMDocument::get_ToolboxPart(KvDmToolboxPartType* type) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c& document) {
            *type = document.getToolboxPart();
            return S_OK;
        },
        type);
}

HRESULT CKvDMDocument::put_ToolboxPart(KvDmToolboxPartType type) noexcept
{
    return callOnCore(core, [&](dmDocument_c& document) {
        document.setToolboxPart(type);
        return S_OK;
    });
}

HRESULT CKvDMDocument::GetSheetCount(LONG* count) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c& document) {
            *count = document.getSheetCount();
            return S_OK;
        },
        count);
}

HRESULT CKvDMDocument::GetActiveSheetName(BSTR* name) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c& document) {
            giveText(document.getActiveSheetName(), name);
            return S_OK;
        },
        name);
}

HRESULT CKvDMDocument::GetSheetNames(VARIANT* names) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c& document) {
            VariantInit(names);
            std::vector<std::u16string> texts;
            if (document.getSheetNames(texts))
                *names = arrayOfTexts(texts).detach();
            return S_OK;
        },
        names);
}

// ---- hyperlinks -----------------------------------------------------------------------------------------------------

HRESULT CKvDMDocument::GetHyperLinksCount(LONG* count) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c& document) {
            *count = 0;
            *count = document.getHyperLinksCount();
            return S_OK;
        },
        count);
}

HRESULT CKvDMDocument::GetHyperLinkAt(LONG at, BSTR* link) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c& document) {
            std::u16string text;
            if (!document.getHyperLinkAt(at, text))
                return E_FAIL;
            giveText(text, link);
            return S_OK;
        },
        link);
}

HRESULT CKvDMDocument::ModifyHyperLinkAt(LONG at, BSTR newLink) noexcept
{
    return callOnCore(core, [&](dmDocument_c& document) { return document.modifyHyperLinkAt(at, OwnedBstr::viewOf(newLink)) ? S_OK : E_FAIL; });
}

// ---- saving ---------------------------------------------------------------------------------------------------------

// The core's own value does not reach the client here: a read-only document reports a plain failure.
HRESULT CKvDMDocument::Save(KvDmDocumentSaveError* error) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c& document) {
            *error = kvDmDocumentSaveErrorNone;
            const bool saved = document.save(*error);
            *error = saved ? kvDmDocumentSaveErrorNone : kvDmDocumentSaveErrorFail;
            return S_OK;
        },
        error);
}

HRESULT CKvDMDocument::SaveAs(BSTR newName, KvDmDocumentSaveError* error) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c& document) {
            *error = kvDmDocumentSaveErrorNone;
            document.saveAs(std::u16string(OwnedBstr::viewOf(newName)), *error);
            return S_OK;
        },
        error);
}

// ---- streams as files -----------------------------------------------------------------------------------------------

HRESULT CKvDMDocument::GetLumoviewData(BSTR eModelFileName, KvDmLmvDataError* error) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c& document) {
            document.getLumoviewData(OwnedBstr::viewOf(eModelFileName), *error);
            return S_OK;
        },
        error);
}

HRESULT CKvDMDocument::GetXmlStream(BSTR xmlFileName, KvDmXmlDataError* error) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c& document) {
            document.getXmlStream(OwnedBstr::viewOf(xmlFileName), *error);
            return S_OK;
        },
        error);
}

} // namespace kvdm
