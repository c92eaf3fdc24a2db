// Summary fields and custom properties, visible and invisible.
#include "automation/automationValues.h"
#include "automation/callOnCore.h"
#include "automation/CKvDMDocument.h"
#include "automation/dmConfiguration_c.h"
#include "automation/dmDocument_c.h"
#include "automation/propertyValues.h"
#include "properties/suPropertyStore_c.h"
#include "properties/suSummaryInformation_c.h"

namespace kvdm {

// ---- summary --------------------------------------------------------------------------------------------------------

HRESULT CKvDMDocument::iGetSummary(int index, BSTR* out) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c& document) {
            const suSummaryInformation_c* summary = document.getSummary();
            giveText(summary ? summary->getField(static_cast<SummaryField>(index)) : std::u16string(), out);
            return S_OK;
        },
        out);
}

HRESULT CKvDMDocument::iPutSummary(int index, BSTR text) noexcept
{
    return callOnCore(core, [&](dmDocument_c& document) {
        suSummaryInformation_c* summary = document.getSummary();
        return summary && summary->setField(static_cast<SummaryField>(index), OwnedBstr::viewOf(text)) ? S_OK : E_FAIL;
    });
}

HRESULT CKvDMDocument::get_Title(BSTR* title) noexcept
{
    return iGetSummary(0, title);
}
HRESULT CKvDMDocument::put_Title(BSTR title) noexcept
{
    return iPutSummary(0, title);
}
HRESULT CKvDMDocument::get_Subject(BSTR* subject) noexcept
{
    return iGetSummary(1, subject);
}
HRESULT CKvDMDocument::put_Subject(BSTR subject) noexcept
{
    return iPutSummary(1, subject);
}
HRESULT CKvDMDocument::get_Author(BSTR* author) noexcept
{
    return iGetSummary(2, author);
}
HRESULT CKvDMDocument::put_Author(BSTR author) noexcept
{
    return iPutSummary(2, author);
}
HRESULT CKvDMDocument::get_Keywords(BSTR* keywords) noexcept
{
    return iGetSummary(3, keywords);
}
HRESULT CKvDMDocument::put_Keywords(BSTR keywords) noexcept
{
    return iPutSummary(3, keywords);
}
HRESULT CKvDMDocument::get_Comments(BSTR* comments) noexcept
{
    return iGetSummary(4, comments);
}
HRESULT CKvDMDocument::put_Comments(BSTR comments) noexcept
{
    return iPutSummary(4, comments);
}
HRESULT CKvDMDocument::get_LastSavedBy(BSTR* lastSavedBy) noexcept
{
    return iGetSummary(5, lastSavedBy);
}
HRESULT CKvDMDocument::get_CreationDate(BSTR* creationDate) noexcept
{
    return iGetSummary(6, creationDate);
}
HRESULT CKvDMDocument::get_LastSavedDate(BSTR* lastSavedDate) noexcept
{
    return iGetSummary(7, lastSavedDate);
}
HRESULT CKvDMDocument::GetTags(BSTR* tags) noexcept
{
    return get_Keywords(tags);
}

// ---- custom properties ----------------------------------------------------------------------------------------------

HRESULT CKvDMDocument::iAddProperty(bool visible, BSTR name, KvDmCustomInfoType type, BSTR value, VARIANT_BOOL* added) noexcept
{
    return callOnCore(
        core, [&](dmDocument_c& document) { return addProperty(document.getCustomProperties(visible), name, type, value, added); }, added);
}

HRESULT CKvDMDocument::iGetProperty(bool visible, BSTR name, KvDmCustomInfoType* type, BSTR* value) noexcept
{
    return callOnCore(
        core, [&](dmDocument_c& document) { return getProperty(document.getCustomProperties(visible), name, type, value); }, type, value);
}

HRESULT CKvDMDocument::iSetProperty(bool visible, BSTR name, BSTR value) noexcept
{
    return callOnCore(core, [&](dmDocument_c& document) { return setProperty(document.getCustomProperties(visible), name, value); });
}

HRESULT CKvDMDocument::iDeleteProperty(bool visible, BSTR name, VARIANT_BOOL* deleted) noexcept
{
    return callOnCore(
        core, [&](dmDocument_c& document) { return deleteProperty(document.getCustomProperties(visible), name, deleted); }, deleted);
}

HRESULT CKvDMDocument::iGetPropertyCount(bool visible, LONG* count) noexcept
{
    return callOnCore(
        core, [&](dmDocument_c& document) { return countProperties(document.getCustomProperties(visible), count); }, count);
}

HRESULT CKvDMDocument::iGetPropertyNames(bool visible, VARIANT* names) noexcept
{
    return callOnCore(
        core, [&](dmDocument_c& document) { return givePropertyNames(document.getCustomProperties(visible), names); }, names);
}

HRESULT CKvDMDocument::AddCustomProperty(BSTR fieldName, KvDmCustomInfoType fieldType, BSTR fieldValue, VARIANT_BOOL* added) noexcept
{
    return iAddProperty(true, fieldName, fieldType, fieldValue, added);
}
HRESULT CKvDMDocument::GetCustomProperty(BSTR fieldName, KvDmCustomInfoType* fieldType, BSTR* fieldValue) noexcept
{
    return iGetProperty(true, fieldName, fieldType, fieldValue);
}
HRESULT CKvDMDocument::SetCustomProperty(BSTR fieldName, BSTR newValue) noexcept
{
    return iSetProperty(true, fieldName, newValue);
}
HRESULT CKvDMDocument::DeleteCustomProperty(BSTR fieldName, VARIANT_BOOL* deleted) noexcept
{
    return iDeleteProperty(true, fieldName, deleted);
}
HRESULT CKvDMDocument::GetCustomPropertyCount(LONG* count) noexcept
{
    return iGetPropertyCount(true, count);
}
HRESULT CKvDMDocument::GetCustomPropertyNames(VARIANT* names) noexcept
{
    return iGetPropertyNames(true, names);
}
HRESULT CKvDMDocument::AddInvisibleCustomProperty(BSTR fieldName, KvDmCustomInfoType fieldType, BSTR fieldValue, VARIANT_BOOL* added) noexcept
{
    return iAddProperty(false, fieldName, fieldType, fieldValue, added);
}
HRESULT CKvDMDocument::GetInvisibleCustomProperty(BSTR fieldName, KvDmCustomInfoType* fieldType, BSTR* fieldValue) noexcept
{
    return iGetProperty(false, fieldName, fieldType, fieldValue);
}
HRESULT CKvDMDocument::SetInvisibleCustomProperty(BSTR fieldName, BSTR newValue) noexcept
{
    return iSetProperty(false, fieldName, newValue);
}
HRESULT CKvDMDocument::DeleteInvisibleCustomProperty(BSTR fieldName, VARIANT_BOOL* deleted) noexcept
{
    return iDeleteProperty(false, fieldName, deleted);
}
HRESULT CKvDMDocument::GetInvisibleCustomPropertyCount(LONG* count) noexcept
{
    return iGetPropertyCount(false, count);
}
HRESULT CKvDMDocument::GetInvisibleCustomPropertyNames(VARIANT* names) noexcept
{
    return iGetPropertyNames(false, names);
}

HRESULT CKvDMDocument::GetCustomProperty(BSTR fieldName, BSTR* fieldValue) noexcept
{
    KvDmCustomInfoType type = kvDmCustomInfoUnknown;
    return GetCustomProperty(fieldName, &type, fieldValue);
}

HRESULT CKvDMDocument::GetAllCustomPropertyNamesAndValues(VARIANT* names, VARIANT* types, VARIANT* linkedTo, VARIANT* values) noexcept
{
    return callOnCore(
        core, [&](dmDocument_c& document) { return giveProperties(document.getCustomProperties(true), names, types, linkedTo, values); }, names,
        types, linkedTo, values);
}

HRESULT CKvDMDocument::GetCustomPropertyValues(BSTR fieldName, KvDmCustomInfoType* fieldType, BSTR* linkedTo, BSTR* fieldValue) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c& document) { return givePropertyValues(document.getCustomProperties(true), fieldName, fieldType, linkedTo, fieldValue); },
        fieldType, fieldValue);
}

} // namespace kvdm
