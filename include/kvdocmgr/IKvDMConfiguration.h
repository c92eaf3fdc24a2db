// Configurations: the variants of a model, each with properties, previews, bodies and components of its own.
// Strings that come out are the caller's (SysFreeString), variants too (VariantClear), objects are counted for the caller
// (Release). Strings that go in stay the caller's; a null one is empty. A variant that comes out is taken as uninitialised.
// Booleans are -1 and 0. Every method: E_POINTER for an empty out-pointer unless the method says that it may be null,
// RPC_E_DISCONNECTED on an object without a document, E_OUTOFMEMORY when memory runs out, E_FAIL or the system's own status
// for what the file system refuses. Changes reach the file with the document's Save. An object keeps its document alive and
// belongs to its thread. Where the data lie in the file: docs/document-file.md.
#pragma once

#include <kvdocmgr/enumerations.h>
#include <kvdocmgr/identifiers.h>
#include <kvdocmgr/oletypes.h>

struct IKvDMApplication;
struct IKvDMConfiguration;
struct IKvDMDocument;

// The configurations of one document, in the order of the file. Those marked as deleted are not counted, listed or found.
struct IKvDMConfigurationMgr : IUnknown
{
    // A new application object at each call.
    virtual HRESULT STDMETHODCALLTYPE get_Application(IKvDMApplication** application) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Document(IKvDMDocument** document) = 0;
    // -1 when the document has no readable list.
    virtual HRESULT STDMETHODCALLTYPE GetConfigurationCount(LONG* count) = 0;
    // Exact in case; E_FAIL and null when there is none. The same object as long as a client holds it.
    virtual HRESULT STDMETHODCALLTYPE GetConfigurationByName(BSTR name, IKvDMConfiguration** configuration) = 0;
    // VT_ARRAY | VT_BSTR; E_FAIL and VT_EMPTY when the document has no readable list.
    virtual HRESULT STDMETHODCALLTYPE GetConfigurationNames(VARIANT* names) = 0;
    // Empty when none is active.
    virtual HRESULT STDMETHODCALLTYPE GetActiveConfigurationName(BSTR* name) = 0;
};

// Declared for clients; no class answers for it.
struct ICommonCADConfigurationMgr : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE GetConfigurationCount(LONG* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetConfigurationNames(VARIANT* names) = 0;
};

// One configuration.
struct IKvDMConfiguration : IUnknown
{
    // A new application object at each call.
    virtual HRESULT STDMETHODCALLTYPE get_Application(IKvDMApplication** application) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Document(IKvDMDocument** document) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Name(BSTR* name) = 0;
    // "Config-" and the number of the configuration.
    virtual HRESULT STDMETHODCALLTYPE get_StreamName(BSTR* name) = 0;
    // The number that the CAD system raises with each change of it.
    virtual HRESULT STDMETHODCALLTYPE GetLastUpdateStamp(LONG* stamp) = 0;
    // The figures of the CAD system's last save: VT_ARRAY | VT_R8 of 13 numbers in stored order. Their meaning and unit are the
    // CAD system's; one that is missing is 0. S_OK with error EarlierVersion below version 2286, NoData when there are no
    // figures, Unknown when the document cannot be read; VT_EMPTY then. error is set to Unknown before properties is tested.
    virtual HRESULT STDMETHODCALLTYPE GetMassProperties(KvDmMassPropError* error, VARIANT* properties) = 0;
    // Custom properties of the configuration. Types, text forms and answers are those of the document (IKvDMDocument.h).
    // False when the name is in use or the text does not fit the type.
    virtual HRESULT STDMETHODCALLTYPE AddCustomProperty(BSTR fieldName, KvDmCustomInfoType fieldType, BSTR fieldValue, VARIANT_BOOL* added) = 0;
    // The link text of a linked property, else its value; E_FAIL, type 0 and an empty text when there is no such property.
    virtual HRESULT STDMETHODCALLTYPE GetCustomProperty(BSTR fieldName, KvDmCustomInfoType* fieldType, BSTR* fieldValue) = 0;
    // Keeps the type and cuts the link. E_FAIL, and nothing is changed, when there is no such property or the text does not
    // fit the type.
    virtual HRESULT STDMETHODCALLTYPE SetCustomProperty(BSTR fieldName, BSTR newValue) = 0;
    // False when there is no such property.
    virtual HRESULT STDMETHODCALLTYPE DeleteCustomProperty(BSTR fieldName, VARIANT_BOOL* deleted) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCustomPropertyCount(LONG* count) = 0;
    // VT_ARRAY | VT_BSTR in file order, then in the order of adding; VT_EMPTY when there are none.
    virtual HRESULT STDMETHODCALLTYPE GetCustomPropertyNames(VARIANT* names) = 0;
    // The preview as a picture object (IKvPicture, picture.h). S_OK with error NoPreview when there is none that can be read,
    // MakeBmpFail when it does not decode; picture is null then.
    virtual HRESULT STDMETHODCALLTYPE GetPreviewBitmap(KvDmPreviewError* error, IDispatch** picture) = 0;
    // Lists the bodies that GetBody indexes.
    virtual HRESULT STDMETHODCALLTYPE GetBodiesCount(LONG* count) = 0;
    // Writes a body, decompressed, in the modelling kernel's own binary form to a new file or over an old one. index counts from
    // 0, in the reverse of the name order of the streams. S_OK with error GetCountNotCalled without GetBodiesCount, NoData for
    // an index without a body, FileCreation when the file cannot be made, Decompression when the data do not decode. None,
    // and no file, when none were counted.
    virtual HRESULT STDMETHODCALLTYPE GetBody(LONG index, BSTR fileName, KvDmBodyError* error) = 0;
    // The stream that the preview lies in; E_FAIL and empty when there can be none: below version 2037 the active
    // configuration alone has one.
    virtual HRESULT STDMETHODCALLTYPE get_PreviewStreamName(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Description(BSTR* description) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Description(BSTR description) = 0;
    // The configuration that this one is derived from; empty without one.
    virtual HRESULT STDMETHODCALLTYPE GetParentConfigurationName(BSTR* name) = 0;
};

// The partition and, in an assembly, the components.
struct IKvDMConfiguration2 : IKvDMConfiguration
{
    // "Config-", the number and "-Partition"; E_FAIL and empty below version 2270. Whether it is there is not asked.
    virtual HRESULT STDMETHODCALLTYPE get_PartitionStreamName(BSTR* name) = 0;
    // Writes the partition, decompressed, in the modelling kernel's own binary form. File and error as GetBody.
    virtual HRESULT STDMETHODCALLTYPE GetPartitionStream(BSTR fileName, KvDmBodyError* error) = 0;
    // VT_ARRAY | VT_UNKNOWN of IKvDMComponent, one an instance; VT_EMPTY without one. Not yet: always S_OK and VT_EMPTY.
    virtual HRESULT STDMETHODCALLTYPE GetComponents(VARIANT* components) = 0;
};

// Imported bodies.
struct IKvDMConfiguration3 : IKvDMConfiguration2
{
    // As many as the file tells of; 0 when it cannot be read.
    virtual HRESULT STDMETHODCALLTYPE GetImportedBodiesCount(LONG* count) = 0;
    // As GetBody, in the order of the file; the count need not be asked before.
    virtual HRESULT STDMETHODCALLTYPE GetImportedBody(LONG index, BSTR fileName, KvDmBodyError* error) = 0;
};

// All custom properties in one call.
struct IKvDMConfiguration4 : IKvDMConfiguration3
{
    // Four arrays of one length: strings, longs (VT_I4, KvDmCustomInfoType), strings, strings; a link text is empty where there
    // is none. All VT_EMPTY without a property.
    virtual HRESULT STDMETHODCALLTYPE GetAllCustomPropertyNamesAndValues(VARIANT* names, VARIANT* types, VARIANT* linkedTo, VARIANT* values) = 0;
};

// Comment, alternate name, link texts beside values.
struct IKvDMConfiguration5 : IKvDMConfiguration4
{
    virtual HRESULT STDMETHODCALLTYPE get_Comment(BSTR* comment) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_AlternateName(BSTR* name) = 0;
    // Link text and value apart; linkedTo may be null. E_FAIL, type 0 and empty texts when there is no such property.
    virtual HRESULT STDMETHODCALLTYPE GetCustomPropertyValues(BSTR fieldName, KvDmCustomInfoType* fieldType, BSTR* linkedTo, BSTR* fieldValue) = 0;
};

// What an assembly's configuration refers to.
struct IKvDMConfiguration6 : IKvDMConfiguration5
{
    // Arrays of one length, an element a reference: paths (VT_BSTR), names of configurations (VT_BSTR), whether it is
    // suppressed (VT_BOOL, 1 and 0). Not yet: always S_OK and VT_EMPTY in all.
    virtual HRESULT STDMETHODCALLTYPE GetReferencesInformation(VARIANT* references, VARIANT* configurations, VARIANT* states) = 0;
};

// Changes to the list.
struct IKvDMConfiguration7 : IKvDMConfiguration6
{
    // As get_Name.
    virtual HRESULT STDMETHODCALLTYPE get_Name2(BSTR* name) = 0;
    // A name that is empty, in use (case aside, deleted ones too), or holds "@" or "/" changes nothing, with S_OK.
    virtual HRESULT STDMETHODCALLTYPE put_Name2(BSTR name) = 0;
    // As get_Comment.
    virtual HRESULT STDMETHODCALLTYPE get_Comment2(BSTR* comment) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Comment2(BSTR comment) = 0;
    // As get_AlternateName.
    virtual HRESULT STDMETHODCALLTYPE get_AlternateName2(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_AlternateName2(BSTR name) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Delete(VARIANT_BOOL* marked) = 0;
    // Marks for deletion or takes the mark away; the active configuration ignores it, with S_OK. A marked one leaves the lists
    // at once; its data stay in the file, with the mark.
    virtual HRESULT STDMETHODCALLTYPE put_Delete(VARIANT_BOOL mark) = 0;
    // The stream of the preview that is a PNG file; E_FAIL and empty when the document cannot be read.
    virtual HRESULT STDMETHODCALLTYPE get_PreviewPNGStreamName(BSTR* name) = 0;
    // As GetPreviewBitmap.
    virtual HRESULT STDMETHODCALLTYPE GetPreviewPNGBitmap(KvDmPreviewError* error, IDispatch** picture) = 0;
};

// References with the flag of virtual components.
struct IKvDMConfiguration8 : IKvDMConfiguration7
{
    // As GetReferencesInformation; isVirtual (VT_BOOL, 1 and 0) tells which documents are stored inside this one.
    // Not yet: always S_OK and VT_EMPTY in all.
    virtual HRESULT STDMETHODCALLTYPE GetReferencesInformation2(VARIANT* references, VARIANT* configurations, VARIANT* states,
                                                                VARIANT* isVirtual) = 0;
};

// Previews as arrays of bytes (VT_ARRAY | VT_UI1). S_OK with error as GetPreviewBitmap; VT_EMPTY then.
struct IKvDMConfiguration9 : IKvDMConfiguration8
{
    // A PNG file as the document holds it: it is not decoded, so that it may be damaged.
    virtual HRESULT STDMETHODCALLTYPE GetPreviewPNGBitmapBytes(KvDmPreviewError* error, VARIANT* bytes) = 0;
    // A BMP file, made of the bitmap.
    virtual HRESULT STDMETHODCALLTYPE GetPreviewBitmapBytes(KvDmPreviewError* error, VARIANT* bytes) = 0;
};
