#include "automation/propertyValues.h"

#include "automation/automationValues.h"
#include "properties/suPropertyStore_c.h"

namespace kvdm {

HRESULT addProperty(suPropertyStore_c* store, BSTR name, KvDmCustomInfoType type, BSTR value, VARIANT_BOOL* added)
{
    *added = VARIANT_FALSE;
    *added = toVariantBool(store && store->AddCustomProperty(OwnedBstr::viewOf(name), static_cast<std::uint32_t>(type), OwnedBstr::viewOf(value)));
    return S_OK;
}

HRESULT getProperty(const suPropertyStore_c* store, BSTR name, KvDmCustomInfoType* type, BSTR* value)
{
    *type = kvDmCustomInfoUnknown;
    *value = nullptr;
    std::u16string text;
    std::uint32_t stored = kvDmCustomInfoUnknown;
    const bool found = store && store->GetCustomProperty(OwnedBstr::viewOf(name), stored, text);
    giveText(text, value);
    *type = static_cast<KvDmCustomInfoType>(stored);
    return found ? S_OK : E_FAIL;
}

HRESULT givePropertyValues(const suPropertyStore_c* store, BSTR name, KvDmCustomInfoType* type, BSTR* linkedTo, BSTR* value)
{
    *type = kvDmCustomInfoUnknown;
    *value = nullptr;
    if (linkedTo)
        *linkedTo = nullptr;
    std::u16string link;
    std::u16string text;
    std::uint32_t stored = kvDmCustomInfoUnknown;
    const bool found = store && store->GetCustomPropertyValues(OwnedBstr::viewOf(name), stored, link, text);
    OwnedBstr linkText(link);
    giveText(text, value);
    if (linkedTo)
        *linkedTo = linkText.detach();
    *type = static_cast<KvDmCustomInfoType>(stored);
    return found ? S_OK : E_FAIL;
}

HRESULT setProperty(suPropertyStore_c* store, BSTR name, BSTR value)
{
    return store && store->SetCustomProperty(OwnedBstr::viewOf(name), OwnedBstr::viewOf(value)) ? S_OK : E_FAIL;
}

HRESULT deleteProperty(suPropertyStore_c* store, BSTR name, VARIANT_BOOL* deleted)
{
    *deleted = VARIANT_FALSE;
    *deleted = toVariantBool(store && store->DeleteCustomProperty(OwnedBstr::viewOf(name)));
    return S_OK;
}

HRESULT countProperties(const suPropertyStore_c* store, LONG* count)
{
    *count = 0;
    if (store)
        *count = static_cast<LONG>(store->GetCustomPropertyCount());
    return S_OK;
}

HRESULT givePropertyNames(const suPropertyStore_c* store, VARIANT* names)
{
    VariantInit(names);
    const std::vector<std::u16string> texts = store ? store->GetCustomPropertyNames() : std::vector<std::u16string>();
    if (!texts.empty())
        *names = arrayOfTexts(texts).detach();
    return S_OK;
}

HRESULT giveProperties(const suPropertyStore_c* store, VARIANT* names, VARIANT* types, VARIANT* linkedTo, VARIANT* values)
{
    for (VARIANT* out : {names, types, linkedTo, values})
        VariantInit(out);
    std::vector<suCustomProperty> all = store ? store->GetAllCustomPropertyNamesAndValues() : std::vector<suCustomProperty>();
    if (all.empty())
        return S_OK;
    std::vector<std::u16string> nameTexts, linkTexts, valueTexts;
    std::vector<LONG> numbers;
    for (suCustomProperty& property : all) {
        nameTexts.push_back(std::move(property.name));
        numbers.push_back(static_cast<LONG>(property.type));
        linkTexts.push_back(std::move(property.linkedTo));
        valueTexts.push_back(std::move(property.value));
    }
    OwnedVariant nameArray = arrayOfTexts(nameTexts);
    OwnedVariant typeArray = arrayOfLongs(numbers);
    OwnedVariant linkArray = arrayOfTexts(linkTexts);
    OwnedVariant valueArray = arrayOfTexts(valueTexts);
    *names = nameArray.detach(); // nothing can fail from here on
    *types = typeArray.detach();
    *linkedTo = linkArray.detach();
    *values = valueArray.detach();
    return S_OK;
}

} // namespace kvdm
