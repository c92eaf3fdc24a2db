// Configurations: the variants of a model, each with properties, previews, bodies and components of its own.
#pragma once

#include <kvdocmgr/enumerations.h>
#include <kvdocmgr/identifiers.h>
#include <kvdocmgr/oletypes.h>

struct IKvDMApplication;
struct IKvDMConfiguration;
struct IKvDMDocument;

// The configurations of one document.
struct IKvDMConfigurationMgr : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE get_Application(IKvDMApplication** application) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Document(IKvDMDocument** document) = 0;
    // -1 when the document has no readable list.
    virtual HRESULT STDMETHODCALLTYPE GetConfigurationCount(LONG* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetConfigurationByName(BSTR name, IKvDMConfiguration** configuration) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetConfigurationNames(VARIANT* names) = 0;
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
    virtual HRESULT STDMETHODCALLTYPE get_Application(IKvDMApplication** application) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Document(IKvDMDocument** document) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Name(BSTR* name) = 0;
    // "Config-" and the number of the configuration.
    virtual HRESULT STDMETHODCALLTYPE get_StreamName(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetLastUpdateStamp(LONG* stamp) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetMassProperties(KvDmMassPropError* error, VARIANT* properties) = 0;
    // False when the name is in use or the text does not fit the type.
    virtual HRESULT STDMETHODCALLTYPE AddCustomProperty(BSTR fieldName, KvDmCustomInfoType fieldType, BSTR fieldValue, VARIANT_BOOL* added) = 0;
    // The link text of a linked property, else its value; E_FAIL when there is no such property.
    virtual HRESULT STDMETHODCALLTYPE GetCustomProperty(BSTR fieldName, KvDmCustomInfoType* fieldType, BSTR* fieldValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetCustomProperty(BSTR fieldName, BSTR newValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeleteCustomProperty(BSTR fieldName, VARIANT_BOOL* deleted) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCustomPropertyCount(LONG* count) = 0;
    // An array of strings in file order; empty when there are none.
    virtual HRESULT STDMETHODCALLTYPE GetCustomPropertyNames(VARIANT* names) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetPreviewBitmap(KvDmPreviewError* error, IDispatch** picture) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetBodiesCount(LONG* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetBody(LONG index, BSTR fileName, KvDmBodyError* error) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_PreviewStreamName(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Description(BSTR* description) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Description(BSTR description) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetParentConfigurationName(BSTR* name) = 0;
};

// The partition and, in an assembly, the components.
struct IKvDMConfiguration2 : IKvDMConfiguration
{
    virtual HRESULT STDMETHODCALLTYPE get_PartitionStreamName(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetPartitionStream(BSTR fileName, KvDmBodyError* error) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetComponents(VARIANT* components) = 0;
};

// Imported bodies.
struct IKvDMConfiguration3 : IKvDMConfiguration2
{
    virtual HRESULT STDMETHODCALLTYPE GetImportedBodiesCount(LONG* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetImportedBody(LONG index, BSTR fileName, KvDmBodyError* error) = 0;
};

// All custom properties in one call.
struct IKvDMConfiguration4 : IKvDMConfiguration3
{
    virtual HRESULT STDMETHODCALLTYPE GetAllCustomPropertyNamesAndValues(VARIANT* names, VARIANT* types, VARIANT* linkedTo, VARIANT* values) = 0;
};

// Comment, alternate name, link texts beside values.
struct IKvDMConfiguration5 : IKvDMConfiguration4
{
    virtual HRESULT STDMETHODCALLTYPE get_Comment(BSTR* comment) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_AlternateName(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCustomPropertyValues(BSTR fieldName, KvDmCustomInfoType* fieldType, BSTR* linkedTo, BSTR* fieldValue) = 0;
};

// What an assembly's configuration refers to.
struct IKvDMConfiguration6 : IKvDMConfiguration5
{
    virtual HRESULT STDMETHODCALLTYPE GetReferencesInformation(VARIANT* references, VARIANT* configurations, VARIANT* states) = 0;
};

// Changes to the list.
struct IKvDMConfiguration7 : IKvDMConfiguration6
{
    virtual HRESULT STDMETHODCALLTYPE get_Name2(BSTR* name) = 0;
    // A name that is empty, in use, or holds "@" or "/" changes nothing.
    virtual HRESULT STDMETHODCALLTYPE put_Name2(BSTR name) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Comment2(BSTR* comment) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Comment2(BSTR comment) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_AlternateName2(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_AlternateName2(BSTR name) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Delete(VARIANT_BOOL* marked) = 0;
    // Marks for deletion; the active configuration ignores it.
    virtual HRESULT STDMETHODCALLTYPE put_Delete(VARIANT_BOOL mark) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_PreviewPNGStreamName(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetPreviewPNGBitmap(KvDmPreviewError* error, IDispatch** picture) = 0;
};

// References with the flag of virtual components.
struct IKvDMConfiguration8 : IKvDMConfiguration7
{
    virtual HRESULT STDMETHODCALLTYPE GetReferencesInformation2(VARIANT* references, VARIANT* configurations, VARIANT* states,
                                                                VARIANT* isVirtual) = 0;
};

// Previews as arrays of bytes.
struct IKvDMConfiguration9 : IKvDMConfiguration8
{
    virtual HRESULT STDMETHODCALLTYPE GetPreviewPNGBitmapBytes(KvDmPreviewError* error, VARIANT* bytes) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetPreviewBitmapBytes(KvDmPreviewError* error, VARIANT* bytes) = 0;
};
