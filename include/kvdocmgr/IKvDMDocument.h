// The document object: one chain of interfaces that only ever grows, and two branches of their own.
// Strings that come out are the caller's (SysFreeString), variants too (VariantClear). Booleans are -1 and 0.
// Every method: E_POINTER for an empty out-pointer, RPC_E_DISCONNECTED on an object without a document.
#pragma once

#include <kvdocmgr/enumerations.h>
#include <kvdocmgr/identifiers.h>
#include <kvdocmgr/oletypes.h>

struct IKvDMApplication;
struct IKvDMConfigurationMgr;
struct ICommonCADConfigurationMgr;
struct ICommonCADSearchOption;
struct IKvDMSearchOption;
struct IKvDMTable;

// Paths, references, custom properties, summary, links, saving.
struct IKvDMDocument : IUnknown
{
    // A new application object at each call.
    virtual HRESULT STDMETHODCALLTYPE get_Application(IKvDMApplication** application) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_FullName(BSTR* fullName) = 0;
    // Paths of the documents that this one refers to, resolved by the search rules; option may be null.
    virtual HRESULT STDMETHODCALLTYPE GetAllExternalReferences(IKvDMSearchOption* option, VARIANT* listOfFiles) = 0;
    virtual HRESULT STDMETHODCALLTYPE WhereUsed(IKvDMSearchOption* option, VARIANT* listOfFiles) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ConfigurationManager(IKvDMConfigurationMgr** manager) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetLumoviewData(BSTR eModelFileName, KvDmLmvDataError* error) = 0;
    virtual HRESULT STDMETHODCALLTYPE ReplaceReference(BSTR originalReference, BSTR replacementReference) = 0;
    // 0 when the header cannot be read.
    virtual HRESULT STDMETHODCALLTYPE GetLastUpdateStamp(LONG* stamp) = 0;
    // False when the name is in use or the text does not fit the type.
    virtual HRESULT STDMETHODCALLTYPE AddCustomProperty(BSTR fieldName, KvDmCustomInfoType fieldType, BSTR fieldValue, VARIANT_BOOL* added) = 0;
    // The link text of a linked property, else its value; E_FAIL when there is no such property.
    virtual HRESULT STDMETHODCALLTYPE GetCustomProperty(BSTR fieldName, KvDmCustomInfoType* fieldType, BSTR* fieldValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetCustomProperty(BSTR fieldName, BSTR newValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeleteCustomProperty(BSTR fieldName, VARIANT_BOOL* deleted) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCustomPropertyCount(LONG* count) = 0;
    // An array of strings in file order; empty when there are none.
    virtual HRESULT STDMETHODCALLTYPE GetCustomPropertyNames(VARIANT* names) = 0;
    // Left alone when the document cannot be read.
    virtual HRESULT STDMETHODCALLTYPE GetVersion(LONG* modelVersion) = 0;
    // Lets go of the file. The object stays usable: a later call opens the file again.
    virtual HRESULT STDMETHODCALLTYPE CloseDoc() = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Title(BSTR* title) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Title(BSTR title) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Subject(BSTR* subject) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Subject(BSTR subject) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Author(BSTR* author) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Author(BSTR author) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Keywords(BSTR* keywords) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Keywords(BSTR keywords) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Comments(BSTR* comments) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Comments(BSTR comments) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_LastSavedBy(BSTR* lastSavedBy) = 0;
    // Long date and time in the user's locale; empty when the file has none.
    virtual HRESULT STDMETHODCALLTYPE get_CreationDate(BSTR* creationDate) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_LastSavedDate(BSTR* lastSavedDate) = 0;
    // Reads the links that GetHyperLinkAt and ModifyHyperLinkAt index. Call it once: each further call appends them again.
    virtual HRESULT STDMETHODCALLTYPE GetHyperLinksCount(LONG* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetHyperLinkAt(LONG at, BSTR* link) = 0;
    virtual HRESULT STDMETHODCALLTYPE ModifyHyperLinkAt(LONG at, BSTR newLink) = 0;
    // E_FAIL for documents below version 1281.
    virtual HRESULT STDMETHODCALLTYPE IsDetachedDrawing(VARIANT_BOOL* detached) = 0;
    // All or nothing; the outcome stands in error.
    virtual HRESULT STDMETHODCALLTYPE Save(KvDmDocumentSaveError* error) = 0;
    // The document goes on in the new file, open for writing; the old file is left as it is.
    virtual HRESULT STDMETHODCALLTYPE SaveAs(BSTR newName, KvDmDocumentSaveError* error) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ToolboxPart(KvDmToolboxPartType* type) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_ToolboxPart(KvDmToolboxPartType type) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetXmlStream(BSTR xmlFileName, KvDmXmlDataError* error) = 0;
};

// The same operations on the properties that no property page shows.
struct IKvDMDocument2 : IKvDMDocument
{
    virtual HRESULT STDMETHODCALLTYPE AddInvisibleCustomProperty(BSTR fieldName, KvDmCustomInfoType fieldType, BSTR fieldValue,
                                                                 VARIANT_BOOL* added) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetInvisibleCustomProperty(BSTR fieldName, KvDmCustomInfoType* fieldType, BSTR* fieldValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetInvisibleCustomProperty(BSTR fieldName, BSTR newValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeleteInvisibleCustomProperty(BSTR fieldName, VARIANT_BOOL* deleted) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetInvisibleCustomPropertyCount(LONG* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetInvisibleCustomPropertyNames(VARIANT* names) = 0;
};

// All custom properties in one call.
struct IKvDMDocument3 : IKvDMDocument2
{
    // Four arrays of one length: strings, longs (KvDmCustomInfoType), strings, strings.
    virtual HRESULT STDMETHODCALLTYPE GetAllCustomPropertyNamesAndValues(VARIANT* names, VARIANT* types, VARIANT* linkedTo, VARIANT* values) = 0;
};

// Sheets of a drawing.
struct IKvDMDocument4 : IKvDMDocument3
{
    // -1 when the document does not tell.
    virtual HRESULT STDMETHODCALLTYPE GetSheetCount(LONG* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetActiveSheetName(BSTR* name) = 0;
};

// Link texts beside values; linked attachments; broken references.
struct IKvDMDocument5 : IKvDMDocument4
{
    virtual HRESULT STDMETHODCALLTYPE GetCustomPropertyValues(BSTR fieldName, KvDmCustomInfoType* fieldType, BSTR* linkedTo, BSTR* fieldValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetLinkedAttachments(VARIANT* attachments) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetAllExternalReferences2(IKvDMSearchOption* option, VARIANT* brokenRefVar, VARIANT* listOfFiles) = 0;
};

// Names of all sheets.
struct IKvDMDocument6 : IKvDMDocument5
{
    virtual HRESULT STDMETHODCALLTYPE GetSheetNames(VARIANT* names) = 0;
};

// Smart components.
struct IKvDMDocument7 : IKvDMDocument6
{
    // E_FAIL for documents below version 2850.
    virtual HRESULT STDMETHODCALLTYPE IsSmartComponentDocument(VARIANT_BOOL* smart) = 0;
};

// Changed references, keywords as a file, the component count.
struct IKvDMDocument8 : IKvDMDocument7
{
    virtual HRESULT STDMETHODCALLTYPE GetChangedReferences(VARIANT* originalReferences, VARIANT* newReferences) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetKeyWordStream(BSTR xmlFileName, KvDmXmlDataError* error) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetComponentCount(LONG* count) = 0;
};

// Keywords as a DOM document.
struct IKvDMDocument9 : IKvDMDocument8
{
    virtual HRESULT STDMETHODCALLTYPE GetKeyWordStream2(IUnknown** xmlDocument, KvDmXmlDataError* error) = 0;
};

// Previews, tables, views, sheets, cut lists.
struct IKvDMDocument10 : IKvDMDocument9
{
    virtual HRESULT STDMETHODCALLTYPE get_PreviewStreamName(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetPreviewBitmap(KvDmPreviewError* error, IDispatch** picture) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_PreviewPNGStreamName(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetPreviewPNGBitmap(KvDmPreviewError* error, IDispatch** picture) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTableNames(KvDmTableType type, VARIANT* names) = 0;
    // The out-pointer is left alone when there is no such table.
    virtual HRESULT STDMETHODCALLTYPE GetTable(BSTR name, IKvDMTable** table) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetViews(VARIANT* views) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSheets(VARIANT* sheets) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCutListItems(VARIANT* items) = 0;
};

// References with their state and whether the target lives inside this document.
struct IKvDMDocument12 : IKvDMDocument10
{
    virtual HRESULT STDMETHODCALLTYPE GetAllExternalReferences3(IKvDMSearchOption* option, VARIANT* brokenRefVar, VARIANT* isVirtual,
                                                                VARIANT* listOfFiles) = 0;
};

// A branch of its own: previews as arrays of bytes.
struct IKvDMDocument11 : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE GetPreviewPNGBitmapBytes(KvDmPreviewError* error, VARIANT* bytes) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetPreviewBitmapBytes(KvDmPreviewError* error, VARIANT* bytes) = 0;
};

// The CAD-neutral branch.
struct ICommonCadDocument : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE GetKeyWordStream(IUnknown** xmlDocument) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDissectionListStream(IUnknown** xmlDocument) = 0;
    // The keywords of the summary.
    virtual HRESULT STDMETHODCALLTYPE GetTags(BSTR* tags) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCustomPropertyNames(VARIANT* names) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCustomProperty(BSTR fieldName, BSTR* fieldValue) = 0;
    // The status of the document's own getter; the out-pointer is never written. This is meant: no class answers for it.
    virtual HRESULT STDMETHODCALLTYPE get_ConfigurationManager(ICommonCADConfigurationMgr** manager) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetAllExternalReferences(ICommonCADSearchOption* option, VARIANT* brokenRefVar, VARIANT* listOfFiles) = 0;
    virtual HRESULT STDMETHODCALLTYPE SaveKeyWordStream(IUnknown* xmlStream, BSTR documentTags) = 0;
    // Always E_NOTIMPL.
    virtual HRESULT STDMETHODCALLTYPE DoDissectionToStore(IUnknown* store) = 0;
};
