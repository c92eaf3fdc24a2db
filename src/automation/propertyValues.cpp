#include "automation/propertyValues.h"

#include "automation/automationValues.h"
#include "properties/suPropertyStore_c.h"

namespace kvdm {

HRESULT giveProperties(suPropertyStore_c& store, VARIANT* names, VARIANT* types, VARIANT* linkedTo, VARIANT* values)
{
    std::vector<suCustomProperty> all = store.GetAllCustomPropertyNamesAndValues();
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

HRESULT givePropertyValues(suPropertyStore_c* store, BSTR name, KvDmCustomInfoType* type, BSTR* linkedTo, BSTR* value)
{
    *type = kvDmCustomInfoUnknown;
    *value = nullptr;
    if (linkedTo)
        *linkedTo = nullptr;
    std::u16string link;
    std::u16string text;
    std::uint32_t stored = kvDmCustomInfoUnknown;
    const bool found = store && store->GetCustomPropertyValues(OwnedBstr::viewOf(name), stored, link, text);
    OwnedBstr linkString(link);
    giveText(text, value);
    if (linkedTo)
        *linkedTo = linkString.detach();
    *type = static_cast<KvDmCustomInfoType>(stored);
    return found ? S_OK : E_FAIL;
}

} // namespace kvdm
