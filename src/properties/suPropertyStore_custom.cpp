// Custom properties: the named, typed values that a user attaches to a document or a configuration.
#include "properties/suPropertyStore_c.h"

#include "platform/text/casing.h"
#include "properties/propertyText.h"

#include <algorithm>
#include <array>

namespace kvdm {

namespace {

constexpr std::array<std::u16string_view, 3> reservedNames = {u"_PID_HLINKS", u"_PID_LOCKPERSON", u"_PID_LOCK"};

// A number that is written with a point is stored as a real, and a real is reported as a number.
std::uint32_t storedType(std::uint32_t type, std::u16string_view text)
{
    return type == VT_I4 && text.find(u'.') != std::u16string_view::npos ? std::uint32_t{VT_R8} : type;
}
std::uint32_t reportedType(std::uint32_t type)
{
    return type == VT_R8 ? std::uint32_t{VT_I4} : type;
}

// Which ids the reserved names have, spelled exactly so: another spelling is a user's own name.
class ReservedIds
{
public:
    explicit ReservedIds(const suPropertyNames& names)
    {
        for (const std::u16string_view name : reservedNames)
            if (const suPropertyNames::Entry* entry = names.find(name); entry && entry->name == name)
                ids[count++] = entry->id;
    }
    bool has(std::uint32_t id) const { return std::find(ids.begin(), ids.begin() + count, id) != ids.begin() + count; }

private:
    std::array<std::uint32_t, reservedNames.size()> ids{};
    std::size_t count = 0;
};

// The name of a custom property, or null when the property is none.
const std::u16string* customNameOf(const suOleProperty& property, const suOlePropertySection& section, const ReservedIds& reserved)
{
    if (!isPlainUserId(property.id) || reserved.has(property.id))
        return nullptr;
    const std::u16string* name = section.FindNameById(property.id);
    return name && !name->empty() ? name : nullptr;
}

std::u16string linkText(const suOlePropertySection& section, const suOleProperty& property, unsigned codePage)
{
    const suOleProperty* companion = section.findById(property.id + companionOffset);
    return companion ? ValueToText(companion, codePage) : std::u16string();
}

// A damaged section may hold several companions of one id.
void cutLink(suOlePropertySection& section, std::uint32_t id)
{
    while (section.RemoveProperty(id + companionOffset))
        continue;
}

} // namespace

template <class Visitor> void suPropertyStore_c::iForEachCustom(Visitor&& visit) const
{
    const ReservedIds reserved(userSection->getNames());
    for (const suOleProperty& property : userSection->getProperties())
        if (const std::u16string* name = customNameOf(property, *userSection, reserved))
            visit(property, *name);
}

// A walk of the list that compares each property's own name comes to the same: the name leads to one id at most, and
// the id's property has to be listed under that name.
const suOleProperty* suPropertyStore_c::iFindCustom(std::u16string_view name) const
{
    const auto id = userSection->FindIdByName(name);
    const suOleProperty* property = id ? userSection->findById(*id) : nullptr;
    const std::u16string* own = property ? customNameOf(*property, *userSection, ReservedIds(userSection->getNames())) : nullptr;
    return own && equalNoCase(*own, name) ? property : nullptr;
}

bool suPropertyStore_c::AddCustomProperty(std::u16string_view name, std::uint32_t type, std::u16string_view text)
{
    if (userSection->FindIdByName(name))
        return false;
    const std::uint32_t id = userSection->NextFreeId();
    type = storedType(type, text);
    const auto value = TextToValue(text, type, userSection->CodePage());
    if (!value || userSection->findById(id)) // past the last plain id there is no free one: nothing may be overwritten
        return false;
    userSection->forgetNames(id); // the id may have been another's, which left names and a link
    cutLink(*userSection, id);
    return userSection->SetProperty(id, *value, type, name);
}

bool suPropertyStore_c::GetCustomProperty(std::u16string_view name, std::uint32_t& type, std::u16string& text) const
{
    std::u16string linkedTo;
    const bool found = GetCustomPropertyValues(name, type, linkedTo, text);
    if (!linkedTo.empty())
        text = std::move(linkedTo);
    return found;
}

bool suPropertyStore_c::GetCustomPropertyValues(std::u16string_view name, std::uint32_t& type, std::u16string& linkedTo, std::u16string& value) const
{
    linkedTo.clear();
    value.clear();
    const suOleProperty* property = iFindCustom(name);
    if (!property)
        return false;
    const unsigned codePage = userSection->CodePage();
    linkedTo = linkText(*userSection, *property, codePage);
    value = ValueToText(property, codePage);
    type = reportedType(property->type);
    return true;
}

bool suPropertyStore_c::SetCustomProperty(std::u16string_view name, std::u16string_view text)
{
    const suOleProperty* property = iFindCustom(name);
    if (!property)
        return false;
    const std::uint32_t type = storedType(property->type, text);
    const auto value = TextToValue(text, type, userSection->CodePage());
    if (!value || !userSection->SetProperty(property->id, *value, type, name))
        return false;
    cutLink(*userSection, property->id);
    dirty = true;
    return true;
}

bool suPropertyStore_c::DeleteCustomProperty(std::u16string_view name)
{
    const auto named = userSection->FindIdByName(name);
    const suOleProperty* property = named ? userSection->findById(*named) : nullptr;
    const std::u16string* own = property ? userSection->FindNameById(property->id) : nullptr;
    if (!own || !equalNoCase(*own, name))
        return false;
    const std::uint32_t id = property->id;
    if (id >= 2) {
        userSection->RemoveProperty(id);
        if ((id & 0x7FFFFFFF) < companionOffset)
            cutLink(*userSection, id);
    }
    return true;
}

std::size_t suPropertyStore_c::GetCustomPropertyCount() const
{
    std::size_t count = 0;
    iForEachCustom([&](const suOleProperty&, const std::u16string&) { ++count; });
    return count;
}

std::vector<std::u16string> suPropertyStore_c::GetCustomPropertyNames() const
{
    std::vector<std::u16string> all;
    iForEachCustom([&](const suOleProperty&, const std::u16string& name) { all.push_back(name); });
    return all;
}

std::vector<suCustomProperty> suPropertyStore_c::GetAllCustomPropertyNamesAndValues() const
{
    std::vector<suCustomProperty> all;
    const unsigned codePage = userSection->CodePage();
    iForEachCustom([&](const suOleProperty& property, const std::u16string& name) {
        all.push_back({name, reportedType(property.type), linkText(*userSection, property, codePage), ValueToText(&property, codePage)});
    });
    return all;
}

} // namespace kvdm
