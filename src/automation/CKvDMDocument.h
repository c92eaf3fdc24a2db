// The automation face of one dmDocument_c, which it keeps alive: checks, forwards, converts.
#pragma once

#include "automation/module.h"

namespace kvdm {

class dmDocument_c;

class CKvDMDocument final : public ErrorInfoObject<ICommonCadDocument, IKvDMDocument11, IKvDMDocument12>
{
public:
    explicit CKvDMDocument(dmDocument_c& document) noexcept : core(&document) {}

    // IKvDMDocument
    HRESULT STDMETHODCALLTYPE get_Application(IKvDMApplication** application) noexcept override;
    HRESULT STDMETHODCALLTYPE get_FullName(BSTR* fullName) noexcept override;
    HRESULT STDMETHODCALLTYPE GetAllExternalReferences(IKvDMSearchOption* option, VARIANT* listOfFiles) noexcept override;
    HRESULT STDMETHODCALLTYPE WhereUsed(IKvDMSearchOption* option, VARIANT* listOfFiles) noexcept override;
    HRESULT STDMETHODCALLTYPE get_ConfigurationManager(IKvDMConfigurationMgr** manager) noexcept override;
    HRESULT STDMETHODCALLTYPE GetLumoviewData(BSTR eModelFileName, KvDmLmvDataError* error) noexcept override;
    HRESULT STDMETHODCALLTYPE ReplaceReference(BSTR originalReference, BSTR replacementReference) noexcept override;
    HRESULT STDMETHODCALLTYPE GetLastUpdateStamp(LONG* stamp) noexcept override;
    HRESULT STDMETHODCALLTYPE AddCustomProperty(BSTR fieldName, KvDmCustomInfoType fieldType, BSTR fieldValue, VARIANT_BOOL* added) noexcept override;
    HRESULT STDMETHODCALLTYPE GetCustomProperty(BSTR fieldName, KvDmCustomInfoType* fieldType, BSTR* fieldValue) noexcept override;
    HRESULT STDMETHODCALLTYPE SetCustomProperty(BSTR fieldName, BSTR newValue) noexcept override;
    HRESULT STDMETHODCALLTYPE DeleteCustomProperty(BSTR fieldName, VARIANT_BOOL* deleted) noexcept override;
    HRESULT STDMETHODCALLTYPE GetCustomPropertyCount(LONG* count) noexcept override;
    HRESULT STDMETHODCALLTYPE GetCustomPropertyNames(VARIANT* names) noexcept override;
    HRESULT STDMETHODCALLTYPE GetVersion(LONG* modelVersion) noexcept override;
    HRESULT STDMETHODCALLTYPE CloseDoc() noexcept override;
    HRESULT STDMETHODCALLTYPE get_Title(BSTR* title) noexcept override;
    HRESULT STDMETHODCALLTYPE put_Title(BSTR title) noexcept override;
    HRESULT STDMETHODCALLTYPE get_Subject(BSTR* subject) noexcept override;
    HRESULT STDMETHODCALLTYPE put_Subject(BSTR subject) noexcept override;
    HRESULT STDMETHODCALLTYPE get_Author(BSTR* author) noexcept override;
    HRESULT STDMETHODCALLTYPE put_Author(BSTR author) noexcept override;
    HRESULT STDMETHODCALLTYPE get_Keywords(BSTR* keywords) noexcept override;
    HRESULT STDMETHODCALLTYPE put_Keywords(BSTR keywords) noexcept override;
    HRESULT STDMETHODCALLTYPE get_Comments(BSTR* comments) noexcept override;
    HRESULT STDMETHODCALLTYPE put_Comments(BSTR comments) noexcept override;
    HRESULT STDMETHODCALLTYPE get_LastSavedBy(BSTR* lastSavedBy) noexcept override;
    HRESULT STDMETHODCALLTYPE get_CreationDate(BSTR* creationDate) noexcept override;
    HRESULT STDMETHODCALLTYPE get_LastSavedDate(BSTR* lastSavedDate) noexcept override;
    HRESULT STDMETHODCALLTYPE GetHyperLinksCount(LONG* count) noexcept override;
    HRESULT STDMETHODCALLTYPE GetHyperLinkAt(LONG at, BSTR* link) noexcept override;
    HRESULT STDMETHODCALLTYPE ModifyHyperLinkAt(LONG at, BSTR newLink) noexcept override;
    HRESULT STDMETHODCALLTYPE IsDetachedDrawing(VARIANT_BOOL* detached) noexcept override;
    HRESULT STDMETHODCALLTYPE Save(KvDmDocumentSaveError* error) noexcept override;
    HRESULT STDMETHODCALLTYPE SaveAs(BSTR newName, KvDmDocumentSaveError* error) noexcept override;
    HRESULT STDMETHODCALLTYPE get_ToolboxPart(KvDmToolboxPartType* type) noexcept override;
    HRESULT STDMETHODCALLTYPE put_ToolboxPart(KvDmToolboxPartType type) noexcept override;
    HRESULT STDMETHODCALLTYPE GetXmlStream(BSTR xmlFileName, KvDmXmlDataError* error) noexcept override;

    // IKvDMDocument2
    HRESULT STDMETHODCALLTYPE AddInvisibleCustomProperty(BSTR fieldName, KvDmCustomInfoType fieldType, BSTR fieldValue,
                                                         VARIANT_BOOL* added) noexcept override;
    HRESULT STDMETHODCALLTYPE GetInvisibleCustomProperty(BSTR fieldName, KvDmCustomInfoType* fieldType, BSTR* fieldValue) noexcept override;
    HRESULT STDMETHODCALLTYPE SetInvisibleCustomProperty(BSTR fieldName, BSTR newValue) noexcept override;
    HRESULT STDMETHODCALLTYPE DeleteInvisibleCustomProperty(BSTR fieldName, VARIANT_BOOL* deleted) noexcept override;
    HRESULT STDMETHODCALLTYPE GetInvisibleCustomPropertyCount(LONG* count) noexcept override;
    HRESULT STDMETHODCALLTYPE GetInvisibleCustomPropertyNames(VARIANT* names) noexcept override;

    // IKvDMDocument3
    HRESULT STDMETHODCALLTYPE GetAllCustomPropertyNamesAndValues(VARIANT* names, VARIANT* types, VARIANT* linkedTo,
                                                                 VARIANT* values) noexcept override;

    // IKvDMDocument4
    HRESULT STDMETHODCALLTYPE GetSheetCount(LONG* count) noexcept override;
    HRESULT STDMETHODCALLTYPE GetActiveSheetName(BSTR* name) noexcept override;

    // IKvDMDocument5
    HRESULT STDMETHODCALLTYPE GetCustomPropertyValues(BSTR fieldName, KvDmCustomInfoType* fieldType, BSTR* linkedTo,
                                                      BSTR* fieldValue) noexcept override;
    HRESULT STDMETHODCALLTYPE GetLinkedAttachments(VARIANT* attachments) noexcept override;
    HRESULT STDMETHODCALLTYPE GetAllExternalReferences2(IKvDMSearchOption* option, VARIANT* brokenRefVar, VARIANT* listOfFiles) noexcept override;

    // IKvDMDocument6
    HRESULT STDMETHODCALLTYPE GetSheetNames(VARIANT* names) noexcept override;

    // IKvDMDocument7
    HRESULT STDMETHODCALLTYPE IsSmartComponentDocument(VARIANT_BOOL* smart) noexcept override;

    // IKvDMDocument8
    HRESULT STDMETHODCALLTYPE GetChangedReferences(VARIANT* originalReferences, VARIANT* newReferences) noexcept override;
    HRESULT STDMETHODCALLTYPE GetKeyWordStream(BSTR xmlFileName, KvDmXmlDataError* error) noexcept override;
    HRESULT STDMETHODCALLTYPE GetComponentCount(LONG* count) noexcept override;

    // IKvDMDocument9
    HRESULT STDMETHODCALLTYPE GetKeyWordStream2(IUnknown** xmlDocument, KvDmXmlDataError* error) noexcept override;

    // IKvDMDocument10
    HRESULT STDMETHODCALLTYPE get_PreviewStreamName(BSTR* name) noexcept override;
    HRESULT STDMETHODCALLTYPE GetPreviewBitmap(KvDmPreviewError* error, IDispatch** picture) noexcept override;
    HRESULT STDMETHODCALLTYPE get_PreviewPNGStreamName(BSTR* name) noexcept override;
    HRESULT STDMETHODCALLTYPE GetPreviewPNGBitmap(KvDmPreviewError* error, IDispatch** picture) noexcept override;
    HRESULT STDMETHODCALLTYPE GetTableNames(KvDmTableType type, VARIANT* names) noexcept override;
    HRESULT STDMETHODCALLTYPE GetTable(BSTR name, IKvDMTable** table) noexcept override;
    HRESULT STDMETHODCALLTYPE GetViews(VARIANT* views) noexcept override;
    HRESULT STDMETHODCALLTYPE GetSheets(VARIANT* sheets) noexcept override;
    HRESULT STDMETHODCALLTYPE GetCutListItems(VARIANT* items) noexcept override;

    // IKvDMDocument12
    HRESULT STDMETHODCALLTYPE GetAllExternalReferences3(IKvDMSearchOption* option, VARIANT* brokenRefVar, VARIANT* isVirtual,
                                                        VARIANT* listOfFiles) noexcept override;

    // IKvDMDocument11
    HRESULT STDMETHODCALLTYPE GetPreviewPNGBitmapBytes(KvDmPreviewError* error, VARIANT* bytes) noexcept override;
    HRESULT STDMETHODCALLTYPE GetPreviewBitmapBytes(KvDmPreviewError* error, VARIANT* bytes) noexcept override;

    // ICommonCadDocument
    HRESULT STDMETHODCALLTYPE GetKeyWordStream(IUnknown** xmlDocument) noexcept override;
    HRESULT STDMETHODCALLTYPE GetDissectionListStream(IUnknown** xmlDocument) noexcept override;
    HRESULT STDMETHODCALLTYPE GetTags(BSTR* tags) noexcept override;
    HRESULT STDMETHODCALLTYPE GetCustomProperty(BSTR fieldName, BSTR* fieldValue) noexcept override;
    HRESULT STDMETHODCALLTYPE get_ConfigurationManager(ICommonCADConfigurationMgr** manager) noexcept override;
    HRESULT STDMETHODCALLTYPE GetAllExternalReferences(ICommonCADSearchOption* option, VARIANT* brokenRefVar, VARIANT* listOfFiles) noexcept override;
    HRESULT STDMETHODCALLTYPE SaveKeyWordStream(IUnknown* xmlStream, BSTR documentTags) noexcept override;
    HRESULT STDMETHODCALLTYPE DoDissectionToStore(IUnknown* store) noexcept override;

private:
    ~CKvDMDocument() override; // only Release ends it
    HRESULT iGetSummary(int index, BSTR* out) noexcept;
    HRESULT iPutSummary(int index, BSTR text) noexcept;
    HRESULT iAddProperty(bool visible, BSTR name, KvDmCustomInfoType type, BSTR value, VARIANT_BOOL* added) noexcept;
    HRESULT iGetProperty(bool visible, BSTR name, KvDmCustomInfoType* type, BSTR* value) noexcept;
    HRESULT iSetProperty(bool visible, BSTR name, BSTR value) noexcept;
    HRESULT iDeleteProperty(bool visible, BSTR name, VARIANT_BOOL* deleted) noexcept;
    HRESULT iGetPropertyCount(bool visible, LONG* count) noexcept;
    HRESULT iGetPropertyNames(bool visible, VARIANT* names) noexcept;

    dmDocument_c* core;
};

} // namespace kvdm
