// The document object: one chain of interfaces that only ever grows, and two branches of their own.
// Strings that come out are the caller's (SysFreeString), variants too (VariantClear), objects are counted for the caller
// (Release). Strings that go in stay the caller's; a null one is empty. A variant that comes out is taken as uninitialised.
// Booleans are -1 and 0. Every method: E_POINTER for an empty out-pointer unless the method says that it may be null,
// RPC_E_DISCONNECTED on an object without a document, E_OUTOFMEMORY when memory runs out, E_FAIL or the system's own status
// for what the file system refuses. A list of names is VT_ARRAY | VT_BSTR, from index 0, or VT_EMPTY when there is nothing.
// A document that cannot be read (damaged, newer than 3800) answers as one that holds nothing.
// The object belongs to the thread that made it. Where the data lie in the file: docs/document-file.md.
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
    // The path as it was opened or last saved under; empty for a document on a stream or storage.
    virtual HRESULT STDMETHODCALLTYPE get_FullName(BSTR* fullName) = 0;
    // Paths of the documents that this one refers to, resolved by the search rules; option may be null.
    // Not yet: always S_OK and VT_EMPTY.
    virtual HRESULT STDMETHODCALLTYPE GetAllExternalReferences(IKvDMSearchOption* option, VARIANT* listOfFiles) = 0;
    // Paths of the documents that refer to this one, in the folders of option: E_POINTER when it is null.
    // Not yet: always E_FAIL and VT_EMPTY.
    virtual HRESULT STDMETHODCALLTYPE WhereUsed(IKvDMSearchOption* option, VARIANT* listOfFiles) = 0;
    // The same object as long as a client holds it.
    virtual HRESULT STDMETHODCALLTYPE get_ConfigurationManager(IKvDMConfigurationMgr** manager) = 0;
    // Writes the decoded stream "eModel", the data of the Lumoview viewer in its own form, to a new file or over an old
    // one. error: NoData without the stream, FileCreation when the file cannot be made; left alone when the document cannot
    // be read or has no "Contents". A failure status when the stream does not decode.
    virtual HRESULT STDMETHODCALLTYPE GetLumoviewData(BSTR eModelFileName, KvDmLmvDataError* error) = 0;
    // To make a reference lead to another document. Not yet: always E_FAIL.
    virtual HRESULT STDMETHODCALLTYPE ReplaceReference(BSTR originalReference, BSTR replacementReference) = 0;
    // The number that the CAD system raises with each change; 0 when the header cannot be read.
    virtual HRESULT STDMETHODCALLTYPE GetLastUpdateStamp(LONG* stamp) = 0;
    // Custom properties are names with typed values, which cross as text:
    //   Text (30)     cut to 1023 bytes of the document's code page
    //   Number (3)    a whole number of 32 bits with or without a sign, the nearest one when it does not fit; a text with "."
    //                 is kept as a real, of digits and the point alone, and comes back with six places, as a Number still
    //   YesOrNo (11)  "Yes" in any case, all else is "No"
    //   Date (64)     a date as the user's locale writes it; comes back as its short date, or "Invalid DateTime"
    // Values of other types read as "Indeterminate". Names compare without regard to case. Changes reach the file with Save.
    // False, and nothing is changed, when the name is in use or the text does not fit the type.
    virtual HRESULT STDMETHODCALLTYPE AddCustomProperty(BSTR fieldName, KvDmCustomInfoType fieldType, BSTR fieldValue, VARIANT_BOOL* added) = 0;
    // The link text of a linked property, else its value; E_FAIL, type 0 and an empty text when there is no such property.
    virtual HRESULT STDMETHODCALLTYPE GetCustomProperty(BSTR fieldName, KvDmCustomInfoType* fieldType, BSTR* fieldValue) = 0;
    // Keeps the type and cuts the link. E_FAIL, and nothing is changed, when there is no such property or the text does not
    // fit the type.
    virtual HRESULT STDMETHODCALLTYPE SetCustomProperty(BSTR fieldName, BSTR newValue) = 0;
    // False when there is no such property.
    virtual HRESULT STDMETHODCALLTYPE DeleteCustomProperty(BSTR fieldName, VARIANT_BOOL* deleted) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCustomPropertyCount(LONG* count) = 0;
    // A list of names in file order, then in the order of adding.
    virtual HRESULT STDMETHODCALLTYPE GetCustomPropertyNames(VARIANT* names) = 0;
    // The version of the file format, 0 when the file does not tell it and for a document on a stream or storage. Left alone
    // when the document cannot be read.
    virtual HRESULT STDMETHODCALLTYPE GetVersion(LONG* modelVersion) = 0;
    // Lets go of the file. The object stays usable, with changes that are not saved: a later call opens the file again. A
    // document on a stream or storage has nothing to open again and answers from what was read. Always S_OK.
    virtual HRESULT STDMETHODCALLTYPE CloseDoc() = 0;
    // Summary fields: empty when the document has none. A put is E_FAIL when the document cannot be read; it cuts the text to
    // 1023 bytes of the summary's code page and reaches the file with Save.
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
    // The user of the last save; Save sets it.
    virtual HRESULT STDMETHODCALLTYPE get_LastSavedBy(BSTR* lastSavedBy) = 0;
    // Long date and time in the user's locale and zone; empty when the file has none.
    virtual HRESULT STDMETHODCALLTYPE get_CreationDate(BSTR* creationDate) = 0;
    // In the same form; Save sets it.
    virtual HRESULT STDMETHODCALLTYPE get_LastSavedDate(BSTR* lastSavedDate) = 0;
    // Reads the links that GetHyperLinkAt and ModifyHyperLinkAt index. Call it once: each further call appends them again.
    virtual HRESULT STDMETHODCALLTYPE GetHyperLinksCount(LONG* count) = 0;
    // The link as the file has it. at counts from 0: E_FAIL, link left alone, at or above the count or before any count;
    // E_INVALIDARG below 0.
    virtual HRESULT STDMETHODCALLTYPE GetHyperLinkAt(LONG at, BSTR* link) = 0;
    // Sets the link that the next Save writes; what GetHyperLinkAt gives stays. E_FAIL and E_INVALIDARG as there.
    virtual HRESULT STDMETHODCALLTYPE ModifyHyperLinkAt(LONG at, BSTR newLink) = 0;
    // True for a detached drawing. E_FAIL and false below version 1281, without a header, and for a document on a stream or
    // storage.
    virtual HRESULT STDMETHODCALLTYPE IsDetachedDrawing(VARIANT_BOOL* detached) = 0;
    // All or nothing: writes headers, properties and summary into the file. S_OK with None or Fail in error; Fail (never
    // ReadOnly) for a document that was opened read-only, cannot be read, was changed by another program meanwhile, or is too
    // damaged to be written without harm. After Fail the file is as it was.
    virtual HRESULT STDMETHODCALLTYPE Save(KvDmDocumentSaveError* error) = 0;
    // Copies the document with its changes to a new file, or over an old one, and goes on there, open for writing; the former
    // file is left as it is. S_OK; error is Fail when the new file could not be made or filled, and the document stays with its
    // former one; Fail too when only the changes could not be written, and the document goes on in the new file. None, and no
    // file, when the document cannot be read.
    virtual HRESULT STDMETHODCALLTYPE SaveAs(BSTR newName, KvDmDocumentSaveError* error) = 0;
    // Kept in an invisible property; NotAToolboxPart without it. A put reaches the file with Save.
    virtual HRESULT STDMETHODCALLTYPE get_ToolboxPart(KvDmToolboxPartType* type) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_ToolboxPart(KvDmToolboxPartType type) = 0;
    // Writes the decoded stream "COMPINSTANCETREE", the XML of an assembly's components, to a new file or over an old one.
    // error: NoData without the stream, FileCreation when the file cannot be made; left alone when the document cannot be
    // read. A failure status, and a file cut short, when the stream does not decode.
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
    // Four arrays of one length: strings, longs (VT_I4, KvDmCustomInfoType), strings, strings; a link text is empty where there
    // is none. All VT_EMPTY without a property.
    virtual HRESULT STDMETHODCALLTYPE GetAllCustomPropertyNamesAndValues(VARIANT* names, VARIANT* types, VARIANT* linkedTo, VARIANT* values) = 0;
};

// Sheets of a drawing, as the last save of the CAD system left them in the invisible properties.
struct IKvDMDocument4 : IKvDMDocument3
{
    // -1 when the document does not tell.
    virtual HRESULT STDMETHODCALLTYPE GetSheetCount(LONG* count) = 0;
    // Empty when the document does not tell.
    virtual HRESULT STDMETHODCALLTYPE GetActiveSheetName(BSTR* name) = 0;
};

// Link texts beside values; linked attachments; broken references.
struct IKvDMDocument5 : IKvDMDocument4
{
    // Link text and value apart; linkedTo may be null. E_FAIL, type 0 and empty texts when there is no such property.
    virtual HRESULT STDMETHODCALLTYPE GetCustomPropertyValues(BSTR fieldName, KvDmCustomInfoType* fieldType, BSTR* linkedTo, BSTR* fieldValue) = 0;
    // A list of texts, as the header has them.
    virtual HRESULT STDMETHODCALLTYPE GetLinkedAttachments(VARIANT* attachments) = 0;
    // As GetAllExternalReferences, with the state of each; option and brokenRefVar may be null.
    // Not yet: always S_OK and VT_EMPTY in both.
    virtual HRESULT STDMETHODCALLTYPE GetAllExternalReferences2(IKvDMSearchOption* option, VARIANT* brokenRefVar, VARIANT* listOfFiles) = 0;
};

// Names of all sheets.
struct IKvDMDocument6 : IKvDMDocument5
{
    // A list of names; VT_EMPTY when the document does not tell, an array without elements when it tells that there are none.
    virtual HRESULT STDMETHODCALLTYPE GetSheetNames(VARIANT* names) = 0;
};

// Smart components.
struct IKvDMDocument7 : IKvDMDocument6
{
    // E_FAIL and false below version 2850, without a header, and for a document on a stream or storage.
    virtual HRESULT STDMETHODCALLTYPE IsSmartComponentDocument(VARIANT_BOOL* smart) = 0;
};

// Changed references, keywords as a file, the component count.
struct IKvDMDocument8 : IKvDMDocument7
{
    // Old and new paths of the references that were replaced. Not yet: always S_OK and VT_EMPTY in both.
    virtual HRESULT STDMETHODCALLTYPE GetChangedReferences(VARIANT* originalReferences, VARIANT* newReferences) = 0;
    // To write the keywords of the document as XML to a file. Not yet: always S_OK without a file; error as GetKeyWordStream2.
    virtual HRESULT STDMETHODCALLTYPE GetKeyWordStream(BSTR xmlFileName, KvDmXmlDataError* error) = 0;
    // Of an assembly below version 3800, from its header. -1 for every other document. Not yet: the count of later assemblies.
    virtual HRESULT STDMETHODCALLTYPE GetComponentCount(LONG* count) = 0;
};

// Keywords as a DOM document.
struct IKvDMDocument9 : IKvDMDocument8
{
    // xmlDocument may be null. Not yet: always S_OK and a null document; error is FileCreation when the document has keywords,
    // NoData when it has none, left alone when it cannot be read.
    virtual HRESULT STDMETHODCALLTYPE GetKeyWordStream2(IUnknown** xmlDocument, KvDmXmlDataError* error) = 0;
};

// Previews, tables, views, sheets, cut lists.
struct IKvDMDocument10 : IKvDMDocument9
{
    // The name of the stream with the preview of the active configuration: a bitmap. E_FAIL and empty when the document cannot
    // be read; whether the stream is there is not asked.
    virtual HRESULT STDMETHODCALLTYPE get_PreviewStreamName(BSTR* name) = 0;
    // The preview as a picture object (IKvPicture, picture.h). S_OK with error NoPreview when there is none that can be read,
    // MakeBmpFail when it does not decode; picture is null then.
    virtual HRESULT STDMETHODCALLTYPE GetPreviewBitmap(KvDmPreviewError* error, IDispatch** picture) = 0;
    // The same for the preview that is a PNG file.
    virtual HRESULT STDMETHODCALLTYPE get_PreviewPNGStreamName(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetPreviewPNGBitmap(KvDmPreviewError* error, IDispatch** picture) = 0;
    // The names of the tables of that type. Not yet: always S_OK and VT_EMPTY.
    virtual HRESULT STDMETHODCALLTYPE GetTableNames(KvDmTableType type, VARIANT* names) = 0;
    // The out-pointer is left alone when there is no such table, and may be null. Not yet: always S_OK without a table.
    virtual HRESULT STDMETHODCALLTYPE GetTable(BSTR name, IKvDMTable** table) = 0;
    // VT_ARRAY | VT_UNKNOWN of IKvDMView, of IKvDMSheet, of IKvDMCutListItem. Not yet: always S_OK and an array without elements.
    virtual HRESULT STDMETHODCALLTYPE GetViews(VARIANT* views) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSheets(VARIANT* sheets) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCutListItems(VARIANT* items) = 0;
};

// References with their state and whether the target lives inside this document.
struct IKvDMDocument12 : IKvDMDocument10
{
    // option, brokenRefVar and isVirtual may be null. Not yet: always S_OK and VT_EMPTY in all three.
    virtual HRESULT STDMETHODCALLTYPE GetAllExternalReferences3(IKvDMSearchOption* option, VARIANT* brokenRefVar, VARIANT* isVirtual,
                                                                VARIANT* listOfFiles) = 0;
};

// A branch of its own: previews as arrays of bytes (VT_ARRAY | VT_UI1). S_OK with error as GetPreviewBitmap; VT_EMPTY then.
struct IKvDMDocument11 : IUnknown
{
    // A PNG file as the document holds it: it is not decoded, so that it may be damaged.
    virtual HRESULT STDMETHODCALLTYPE GetPreviewPNGBitmapBytes(KvDmPreviewError* error, VARIANT* bytes) = 0;
    // A BMP file, made of the bitmap.
    virtual HRESULT STDMETHODCALLTYPE GetPreviewBitmapBytes(KvDmPreviewError* error, VARIANT* bytes) = 0;
};

// The CAD-neutral branch. Methods without a word of their own are those of the chain.
struct ICommonCadDocument : IUnknown
{
    // The keywords as a DOM document; xmlDocument may be null. Not yet: always S_OK and a null document.
    virtual HRESULT STDMETHODCALLTYPE GetKeyWordStream(IUnknown** xmlDocument) = 0;
    // As GetKeyWordStream.
    virtual HRESULT STDMETHODCALLTYPE GetDissectionListStream(IUnknown** xmlDocument) = 0;
    // The keywords of the summary.
    virtual HRESULT STDMETHODCALLTYPE GetTags(BSTR* tags) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCustomPropertyNames(VARIANT* names) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCustomProperty(BSTR fieldName, BSTR* fieldValue) = 0;
    // The status of the document's own getter; the out-pointer is never written and may be null. This is meant: no class
    // answers for it.
    virtual HRESULT STDMETHODCALLTYPE get_ConfigurationManager(ICommonCADConfigurationMgr** manager) = 0;
    // As IKvDMDocument5::GetAllExternalReferences2.
    virtual HRESULT STDMETHODCALLTYPE GetAllExternalReferences(ICommonCADSearchOption* option, VARIANT* brokenRefVar, VARIANT* listOfFiles) = 0;
    // Stores the tags as keywords of the summary and saves. Always S_OK: whether it was saved is not told.
    // Not yet: xmlStream, which may be null, is not kept.
    virtual HRESULT STDMETHODCALLTYPE SaveKeyWordStream(IUnknown* xmlStream, BSTR documentTags) = 0;
    // Always E_NOTIMPL.
    virtual HRESULT STDMETHODCALLTYPE DoDissectionToStore(IUnknown* store) = 0;
};
