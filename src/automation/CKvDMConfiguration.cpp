#include "automation/CKvDMConfiguration.h"

#include "automation/automationValues.h"
#include "automation/callOnCore.h"
#include "automation/CKvDMApplication.h"
#include "automation/dmConfiguration_c.h"
#include "automation/dmDocument_c.h"
#include "automation/previews.h"
#include "automation/propertyValues.h"

#include <algorithm>

namespace kvdm {

HRESULT CKvDMConfiguration::wrap(dmConfiguration_c& internal, IKvDMConfiguration** out)
{
    if (internal.wrapper)
        return internal.wrapper->QueryInterface(IID_IKvDMConfiguration, reinterpret_cast<void**>(out));
    ComPtr<CKvDMConfiguration> made;
    try {
        made = makeObject<CKvDMConfiguration>(internal);
    } catch (const std::bad_alloc&) {
        internal.getDocumentCore().releaseConfiguration(internal); // one that is live without a wrapper keeps the core for ever
        throw;
    }
    internal.wrapper = made.get();
    return made->QueryInterface(IID_IKvDMConfiguration, reinterpret_cast<void**>(out));
}

CKvDMConfiguration::~CKvDMConfiguration()
{
    configuration->getDocumentCore().releaseConfiguration(*configuration); // may end the core: touch nothing after this
}

namespace {

// A text field of the record; empty when there is none.
HRESULT getText(dmConfiguration_c* configuration, std::u16string dmConfigHeader_c::*field, BSTR* out) noexcept
{
    return callOnCore(
        configuration,
        [&](dmConfiguration_c& internal) {
            const dmConfigHeader_c* header = internal.getHeader();
            giveText(header ? header->*field : std::u16string(), out);
            return S_OK;
        },
        out);
}

HRESULT putText(dmConfiguration_c* configuration, std::u16string dmConfigHeader_c::*field, BSTR text) noexcept
{
    return callOnCore(configuration, [&](dmConfiguration_c& internal) {
        if (dmConfigHeader_c* header = internal.getHeader())
            header->*field = OwnedBstr::viewOf(text);
        return S_OK;
    });
}

// A stream name that there may not be: empty and E_FAIL then.
HRESULT getStreamName(dmConfiguration_c* configuration, bool (dmConfiguration_c::*get)(std::u16string&) const, BSTR* out) noexcept
{
    return callOnCore(
        configuration,
        [&](dmConfiguration_c& internal) {
            std::u16string name;
            const bool exists = (internal.*get)(name);
            giveText(exists ? name : std::u16string(), out);
            return exists ? S_OK : E_FAIL;
        },
        out);
}

} // namespace

// ---- the record -----------------------------------------------------------------------------------------------------

HRESULT CKvDMConfiguration::get_Application(IKvDMApplication** application) noexcept
{
    return makeApplication(application);
}

HRESULT CKvDMConfiguration::get_Document(IKvDMDocument** document) noexcept
{
    return callOnCore(
        configuration, [&](dmConfiguration_c& internal) { return internal.getDocumentCore().wrapDocument(document); }, document);
}

HRESULT CKvDMConfiguration::get_Name(BSTR* name) noexcept
{
    return getText(configuration, &dmConfigHeader_c::name, name);
}

HRESULT CKvDMConfiguration::get_Name2(BSTR* name) noexcept
{
    return get_Name(name);
}

HRESULT CKvDMConfiguration::put_Name2(BSTR name) noexcept
{
    return callOnCore(configuration, [&](dmConfiguration_c& internal) {
        const std::u16string_view wanted = OwnedBstr::viewOf(name);
        if (internal.getHeader() && internal.getDocumentCore().isNewConfigurationName(wanted))
            internal.getHeader()->name = wanted;
        return S_OK;
    });
}

HRESULT CKvDMConfiguration::get_StreamName(BSTR* name) noexcept
{
    return callOnCore(
        configuration,
        [&](dmConfiguration_c& internal) {
            giveText(internal.getStreamName(), name);
            return S_OK;
        },
        name);
}

HRESULT CKvDMConfiguration::GetLastUpdateStamp(LONG* stamp) noexcept
{
    return callOnCore(
        configuration,
        [&](dmConfiguration_c& internal) {
            *stamp = internal.getStamp();
            return S_OK;
        },
        stamp);
}

HRESULT CKvDMConfiguration::get_Description(BSTR* description) noexcept
{
    return getText(configuration, &dmConfigHeader_c::description, description);
}

HRESULT CKvDMConfiguration::put_Description(BSTR description) noexcept
{
    return putText(configuration, &dmConfigHeader_c::description, description);
}

HRESULT CKvDMConfiguration::get_Comment(BSTR* comment) noexcept
{
    return getText(configuration, &dmConfigHeader_c::comment, comment);
}

HRESULT CKvDMConfiguration::get_Comment2(BSTR* comment) noexcept
{
    return get_Comment(comment);
}

HRESULT CKvDMConfiguration::put_Comment2(BSTR comment) noexcept
{
    return putText(configuration, &dmConfigHeader_c::comment, comment);
}

HRESULT CKvDMConfiguration::get_AlternateName(BSTR* name) noexcept
{
    return getText(configuration, &dmConfigHeader_c::alternateName, name);
}

HRESULT CKvDMConfiguration::get_AlternateName2(BSTR* name) noexcept
{
    return get_AlternateName(name);
}

HRESULT CKvDMConfiguration::put_AlternateName2(BSTR name) noexcept
{
    return putText(configuration, &dmConfigHeader_c::alternateName, name);
}

HRESULT CKvDMConfiguration::GetParentConfigurationName(BSTR* name) noexcept
{
    return callOnCore(
        configuration,
        [&](dmConfiguration_c& internal) {
            giveText(internal.getParentName(), name);
            return S_OK;
        },
        name);
}

HRESULT CKvDMConfiguration::get_Delete(VARIANT_BOOL* marked) noexcept
{
    return callOnCore(
        configuration,
        [&](dmConfiguration_c& internal) {
            *marked = toVariantBool(internal.isDeleted());
            return S_OK;
        },
        marked);
}

HRESULT CKvDMConfiguration::put_Delete(VARIANT_BOOL mark) noexcept
{
    return callOnCore(configuration, [&](dmConfiguration_c& internal) {
        internal.setDeleted(mark != VARIANT_FALSE);
        return S_OK;
    });
}

// ---- custom properties ----------------------------------------------------------------------------------------------

HRESULT CKvDMConfiguration::AddCustomProperty(BSTR fieldName, KvDmCustomInfoType fieldType, BSTR fieldValue, VARIANT_BOOL* added) noexcept
{
    return callOnCore(
        configuration,
        [&](dmConfiguration_c& internal) { return addProperty(internal.getCustomProperties(), fieldName, fieldType, fieldValue, added); }, added);
}

HRESULT CKvDMConfiguration::GetCustomProperty(BSTR fieldName, KvDmCustomInfoType* fieldType, BSTR* fieldValue) noexcept
{
    return callOnCore(
        configuration, [&](dmConfiguration_c& internal) { return getProperty(internal.getCustomProperties(), fieldName, fieldType, fieldValue); },
        fieldType, fieldValue);
}

HRESULT CKvDMConfiguration::SetCustomProperty(BSTR fieldName, BSTR newValue) noexcept
{
    return callOnCore(configuration, [&](dmConfiguration_c& internal) { return setProperty(internal.getCustomProperties(), fieldName, newValue); });
}

HRESULT CKvDMConfiguration::DeleteCustomProperty(BSTR fieldName, VARIANT_BOOL* deleted) noexcept
{
    return callOnCore(
        configuration, [&](dmConfiguration_c& internal) { return deleteProperty(internal.getCustomProperties(), fieldName, deleted); }, deleted);
}

HRESULT CKvDMConfiguration::GetCustomPropertyCount(LONG* count) noexcept
{
    return callOnCore(
        configuration, [&](dmConfiguration_c& internal) { return countProperties(internal.getCustomProperties(), count); }, count);
}

HRESULT CKvDMConfiguration::GetCustomPropertyNames(VARIANT* names) noexcept
{
    return callOnCore(
        configuration, [&](dmConfiguration_c& internal) { return givePropertyNames(internal.getCustomProperties(), names); }, names);
}

HRESULT CKvDMConfiguration::GetAllCustomPropertyNamesAndValues(VARIANT* names, VARIANT* types, VARIANT* linkedTo, VARIANT* values) noexcept
{
    return callOnCore(
        configuration, [&](dmConfiguration_c& internal) { return giveProperties(internal.getCustomProperties(), names, types, linkedTo, values); },
        names, types, linkedTo, values);
}

HRESULT CKvDMConfiguration::GetCustomPropertyValues(BSTR fieldName, KvDmCustomInfoType* fieldType, BSTR* linkedTo, BSTR* fieldValue) noexcept
{
    return callOnCore(
        configuration,
        [&](dmConfiguration_c& internal) { return givePropertyValues(internal.getCustomProperties(), fieldName, fieldType, linkedTo, fieldValue); },
        fieldType, fieldValue);
}

// ---- mass properties ------------------------------------------------------------------------------------------------

HRESULT CKvDMConfiguration::GetMassProperties(KvDmMassPropError* error, VARIANT* properties) noexcept
{
    if (!error)
        return E_POINTER;
    *error = kvDmMassPropErrorUnknown;
    return callOnCore(
        configuration,
        [&](dmConfiguration_c& internal) {
            VariantInit(properties);
            std::array<double, 13> figures;
            const KvDmMassPropError outcome = internal.getMassProperties(figures);
            if (outcome == kvDmMassPropErrorNone)
                *properties = arrayOfDoubles(figures).detach();
            *error = outcome;
            return S_OK;
        },
        properties);
}

// ---- previews -------------------------------------------------------------------------------------------------------

HRESULT CKvDMConfiguration::get_PreviewStreamName(BSTR* name) noexcept
{
    return getStreamName(configuration, &dmConfiguration_c::getPreviewStreamName, name);
}

HRESULT CKvDMConfiguration::get_PreviewPNGStreamName(BSTR* name) noexcept
{
    return getStreamName(configuration, &dmConfiguration_c::getPNGPreviewStreamName, name);
}

HRESULT CKvDMConfiguration::get_PartitionStreamName(BSTR* name) noexcept
{
    return getStreamName(configuration, &dmConfiguration_c::getPartitionStreamName, name);
}

HRESULT CKvDMConfiguration::GetPreviewBitmap(KvDmPreviewError* error, IDispatch** picture) noexcept
{
    return callOnCore(
        configuration,
        [&](dmConfiguration_c& internal) {
            return givePicture(internal.getDocumentCore(), internal.getHeader(), PreviewForm::bitmap, error, picture);
        },
        error, picture);
}

HRESULT CKvDMConfiguration::GetPreviewPNGBitmap(KvDmPreviewError* error, IDispatch** picture) noexcept
{
    return callOnCore(
        configuration,
        [&](dmConfiguration_c& internal) { return givePicture(internal.getDocumentCore(), internal.getHeader(), PreviewForm::png, error, picture); },
        error, picture);
}

HRESULT CKvDMConfiguration::GetPreviewBitmapBytes(KvDmPreviewError* error, VARIANT* bytes) noexcept
{
    return callOnCore(
        configuration,
        [&](dmConfiguration_c& internal) {
            return givePreviewBytes(internal.getDocumentCore(), internal.getHeader(), PreviewForm::bitmap, error, bytes);
        },
        bytes, error);
}

HRESULT CKvDMConfiguration::GetPreviewPNGBitmapBytes(KvDmPreviewError* error, VARIANT* bytes) noexcept
{
    return callOnCore(
        configuration,
        [&](dmConfiguration_c& internal) {
            return givePreviewBytes(internal.getDocumentCore(), internal.getHeader(), PreviewForm::png, error, bytes);
        },
        bytes, error);
}

// ---- bodies and the partition as files ------------------------------------------------------------------------------

HRESULT CKvDMConfiguration::GetBodiesCount(LONG* count) noexcept
{
    return callOnCore(
        configuration,
        [&](dmConfiguration_c& internal) {
            *count = 0;
            *count = internal.getBodiesCount();
            return S_OK;
        },
        count);
}

HRESULT CKvDMConfiguration::GetImportedBodiesCount(LONG* count) noexcept
{
    return callOnCore(
        configuration,
        [&](dmConfiguration_c& internal) {
            *count = 0;
            *count = internal.getImportedBodiesCount();
            return S_OK;
        },
        count);
}

HRESULT CKvDMConfiguration::GetBody(LONG index, BSTR fileName, KvDmBodyError* error) noexcept
{
    return callOnCore(
        configuration,
        [&](dmConfiguration_c& internal) {
            *error = kvDmBodyErrorNone;
            *error = internal.getBody(index, OwnedBstr::viewOf(fileName));
            return S_OK;
        },
        error);
}

HRESULT CKvDMConfiguration::GetImportedBody(LONG index, BSTR fileName, KvDmBodyError* error) noexcept
{
    return callOnCore(
        configuration,
        [&](dmConfiguration_c& internal) {
            *error = kvDmBodyErrorNone;
            *error = internal.getImportedBody(index, OwnedBstr::viewOf(fileName));
            return S_OK;
        },
        error);
}

HRESULT CKvDMConfiguration::GetPartitionStream(BSTR fileName, KvDmBodyError* error) noexcept
{
    return callOnCore(
        configuration,
        [&](dmConfiguration_c& internal) {
            *error = kvDmBodyErrorNone;
            *error = internal.getPartitionStream(OwnedBstr::viewOf(fileName));
            return S_OK;
        },
        error);
}

// ---- components: there is nothing to be told without the instance tree ----------------------------------------------

HRESULT CKvDMConfiguration::GetComponents(VARIANT* components) noexcept
{
    return callOnCore(
        configuration,
        [&](dmConfiguration_c&) {
            VariantInit(components);
            return S_OK;
        },
        components);
}

HRESULT CKvDMConfiguration::GetReferencesInformation(VARIANT* references, VARIANT* configurations, VARIANT* states) noexcept
{
    VARIANT isVirtual;
    return GetReferencesInformation2(references, configurations, states, &isVirtual);
}

HRESULT CKvDMConfiguration::GetReferencesInformation2(VARIANT* references, VARIANT* configurations, VARIANT* states, VARIANT* isVirtual) noexcept
{
    return callOnCore(
        configuration,
        [&](dmConfiguration_c&) {
            for (VARIANT* out : {references, configurations, states, isVirtual})
                VariantInit(out);
            return S_OK;
        },
        references, configurations, states, isVirtual);
}

} // namespace kvdm
