// The automation face of one configuration. It keeps the document's core alive.
#pragma once

#include "automation/module.h"

namespace kvdm {

class dmConfiguration_c;

class CKvDMConfiguration final : public ErrorInfoObject<IKvDMConfiguration9>
{
public:
    explicit CKvDMConfiguration(dmConfiguration_c& internal) noexcept : configuration(&internal) {}
    // The one wrapper of the internal object, made at first need.
    static HRESULT wrap(dmConfiguration_c& internal, IKvDMConfiguration** out);

    // IKvDMConfiguration
    HRESULT STDMETHODCALLTYPE get_Application(IKvDMApplication** application) noexcept override;
    HRESULT STDMETHODCALLTYPE get_Document(IKvDMDocument** document) noexcept override;
    HRESULT STDMETHODCALLTYPE get_Name(BSTR* name) noexcept override;
    HRESULT STDMETHODCALLTYPE get_StreamName(BSTR* name) noexcept override;
    HRESULT STDMETHODCALLTYPE GetLastUpdateStamp(LONG* stamp) noexcept override;
    HRESULT STDMETHODCALLTYPE GetMassProperties(KvDmMassPropError* error, VARIANT* properties) noexcept override;
    HRESULT STDMETHODCALLTYPE AddCustomProperty(BSTR fieldName, KvDmCustomInfoType fieldType, BSTR fieldValue, VARIANT_BOOL* added) noexcept override;
    HRESULT STDMETHODCALLTYPE GetCustomProperty(BSTR fieldName, KvDmCustomInfoType* fieldType, BSTR* fieldValue) noexcept override;
    HRESULT STDMETHODCALLTYPE SetCustomProperty(BSTR fieldName, BSTR newValue) noexcept override;
    HRESULT STDMETHODCALLTYPE DeleteCustomProperty(BSTR fieldName, VARIANT_BOOL* deleted) noexcept override;
    HRESULT STDMETHODCALLTYPE GetCustomPropertyCount(LONG* count) noexcept override;
    HRESULT STDMETHODCALLTYPE GetCustomPropertyNames(VARIANT* names) noexcept override;
    HRESULT STDMETHODCALLTYPE GetPreviewBitmap(KvDmPreviewError* error, IDispatch** picture) noexcept override;
    HRESULT STDMETHODCALLTYPE GetBodiesCount(LONG* count) noexcept override;
    HRESULT STDMETHODCALLTYPE GetBody(LONG index, BSTR fileName, KvDmBodyError* error) noexcept override;
    HRESULT STDMETHODCALLTYPE get_PreviewStreamName(BSTR* name) noexcept override;
    HRESULT STDMETHODCALLTYPE get_Description(BSTR* description) noexcept override;
    HRESULT STDMETHODCALLTYPE put_Description(BSTR description) noexcept override;
    HRESULT STDMETHODCALLTYPE GetParentConfigurationName(BSTR* name) noexcept override;

    // IKvDMConfiguration2
    HRESULT STDMETHODCALLTYPE get_PartitionStreamName(BSTR* name) noexcept override;
    HRESULT STDMETHODCALLTYPE GetPartitionStream(BSTR fileName, KvDmBodyError* error) noexcept override;
    HRESULT STDMETHODCALLTYPE GetComponents(VARIANT* components) noexcept override;

    // IKvDMConfiguration3
    HRESULT STDMETHODCALLTYPE GetImportedBodiesCount(LONG* count) noexcept override;
    HRESULT STDMETHODCALLTYPE GetImportedBody(LONG index, BSTR fileName, KvDmBodyError* error) noexcept override;

    // IKvDMConfiguration4
    HRESULT STDMETHODCALLTYPE GetAllCustomPropertyNamesAndValues(VARIANT* names, VARIANT* types, VARIANT* linkedTo,
                                                                 VARIANT* values) noexcept override;

    // IKvDMConfiguration5
    HRESULT STDMETHODCALLTYPE get_Comment(BSTR* comment) noexcept override;
    HRESULT STDMETHODCALLTYPE get_AlternateName(BSTR* name) noexcept override;
    HRESULT STDMETHODCALLTYPE GetCustomPropertyValues(BSTR fieldName, KvDmCustomInfoType* fieldType, BSTR* linkedTo,
                                                      BSTR* fieldValue) noexcept override;

    // IKvDMConfiguration6
    HRESULT STDMETHODCALLTYPE GetReferencesInformation(VARIANT* references, VARIANT* configurations, VARIANT* states) noexcept override;

    // IKvDMConfiguration7
    HRESULT STDMETHODCALLTYPE get_Name2(BSTR* name) noexcept override;
    HRESULT STDMETHODCALLTYPE put_Name2(BSTR name) noexcept override;
    HRESULT STDMETHODCALLTYPE get_Comment2(BSTR* comment) noexcept override;
    HRESULT STDMETHODCALLTYPE put_Comment2(BSTR comment) noexcept override;
    HRESULT STDMETHODCALLTYPE get_AlternateName2(BSTR* name) noexcept override;
    HRESULT STDMETHODCALLTYPE put_AlternateName2(BSTR name) noexcept override;
    HRESULT STDMETHODCALLTYPE get_Delete(VARIANT_BOOL* marked) noexcept override;
    HRESULT STDMETHODCALLTYPE put_Delete(VARIANT_BOOL mark) noexcept override;
    HRESULT STDMETHODCALLTYPE get_PreviewPNGStreamName(BSTR* name) noexcept override;
    HRESULT STDMETHODCALLTYPE GetPreviewPNGBitmap(KvDmPreviewError* error, IDispatch** picture) noexcept override;

    // IKvDMConfiguration8
    HRESULT STDMETHODCALLTYPE GetReferencesInformation2(VARIANT* references, VARIANT* configurations, VARIANT* states,
                                                        VARIANT* isVirtual) noexcept override;

    // IKvDMConfiguration9
    HRESULT STDMETHODCALLTYPE GetPreviewPNGBitmapBytes(KvDmPreviewError* error, VARIANT* bytes) noexcept override;
    HRESULT STDMETHODCALLTYPE GetPreviewBitmapBytes(KvDmPreviewError* error, VARIANT* bytes) noexcept override;

private:
    ~CKvDMConfiguration() override;

    dmConfiguration_c* configuration;
};

} // namespace kvdm
