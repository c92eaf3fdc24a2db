#include "properties/suOlePropertySection.h"

#include <algorithm>
#include <iterator>

namespace kvdm {

namespace {

constexpr std::uint32_t topBit = 0x80000000;
constexpr std::u16string_view computedPrefix = u"KV-";

// The parts of a name "KV-stem(alias)". The alias is there only with its closing bracket.
struct AliasParts
{
    std::u16string_view stem;
    std::optional<std::u16string> alias;
};

std::optional<AliasParts> aliasPartsOf(std::u16string_view name)
{
    if (!name.starts_with(computedPrefix))
        return std::nullopt;
    const std::size_t open = name.find(u'(');
    if (open == std::u16string_view::npos)
        return std::nullopt;
    AliasParts parts{name.substr(0, open), std::nullopt};
    const std::size_t close = name.find(u')', open);
    if (close != std::u16string_view::npos)
        parts.alias = std::u16string(computedPrefix).append(name.substr(open + 1, close - open - 1));
    return parts;
}

} // namespace

bool suOlePropertySection::SetProperty(std::uint32_t id, std::string_view value, std::uint32_t type, std::optional<std::u16string_view> name)
{
    std::optional<std::string> payload = olePayloadOf(type, value);
    if (!payload)
        return false;
    if (suOleProperty* known = iFind(id)) {
        known->setPayload(type, std::move(*payload));
    } else {
        iAppend(id, type, {});
        properties.back().setPayload(type, std::move(*payload));
        try {
            if (name)
                AddName(id, *name);
        } catch (...) { // a property that lacks its name would be lost at the next read
            forgetNames(id);
            RemoveProperty(id);
            throw;
        }
    }
    changed = true;
    return true;
}

std::optional<std::string> suOlePropertySection::GetPropertyValue(std::uint32_t id) const
{
    const suOleProperty* property = findById(id);
    return property ? oleValueOf(property->type, property->payload()) : std::nullopt;
}

bool suOlePropertySection::RemoveProperty(std::uint32_t id)
{
    const auto at = byId.lower_bound(id);
    if (at == byId.end() || at->first != id)
        return false;
    names.eraseFirstOf(id);
    properties.erase(at->second);
    byId.erase(at);
    changed = true;
    return true;
}

std::uint32_t suOlePropertySection::NextFreeId(std::uint32_t flags) const
{
    std::uint32_t largest = iLargestBelowCompanions(0);
    if (flags & topBit)
        largest = std::max(largest, iLargestBelowCompanions(topBit));
    return largest > 2 ? largest + 1 : 3;
}

bool suOlePropertySection::AddName(std::uint32_t id, std::u16string_view name)
{
    const bool added = names.add(name, id);
    if (const auto parts = aliasPartsOf(name)) {
        names.put(parts->stem, id);
        if (parts->alias)
            names.put(*parts->alias, id);
    }
    changed = true;
    return added;
}

void suOlePropertySection::forgetNames(std::uint32_t id)
{
    while (names.eraseFirstOf(id))
        changed = true;
}

std::optional<std::uint32_t> suOlePropertySection::FindIdByName(std::u16string_view name) const
{
    const suPropertyNames::Entry* entry = names.find(name);
    return entry ? std::optional(entry->id) : std::nullopt;
}

const suOleProperty* suOlePropertySection::FindPropertyByName(std::u16string_view name) const
{
    std::optional<std::uint32_t> id = FindIdByName(name);
    if (const auto parts = id ? std::nullopt : aliasPartsOf(name)) {
        if (parts->alias)
            id = FindIdByName(*parts->alias);
        if (!id)
            id = FindIdByName(parts->stem);
    }
    return id ? findById(*id) : nullptr;
}

const suOleProperty* suOlePropertySection::findById(std::uint32_t id) const
{
    const auto at = byId.lower_bound(id);
    return at == byId.end() || at->first != id ? nullptr : &*at->second;
}

suOleProperty* suOlePropertySection::iFind(std::uint32_t id)
{
    return const_cast<suOleProperty*>(findById(id));
}

void suOlePropertySection::iAppend(std::uint32_t id, std::uint32_t type, std::string_view stored)
{
    properties.emplace_back(id, type, stored);
    try {
        byId.emplace(id, std::prev(properties.end()));
    } catch (...) {
        properties.pop_back(); // the list and its index never differ
        throw;
    }
}

std::uint32_t suOlePropertySection::iLargestBelowCompanions(std::uint32_t firstId) const
{
    const auto after = byId.lower_bound(firstId + companionOffset);
    if (after == byId.begin())
        return 0;
    const std::uint32_t id = std::prev(after)->first;
    return id < firstId ? 0 : id - firstId;
}

unsigned suOlePropertySection::iCodePageFor(std::int32_t version) const
{
    constexpr std::int32_t firstWithCodePage = 3321;
    if (version < firstWithCodePage)
        return 0;
    const suOleProperty* property = findById(codePageId);
    return property && property->type == VT_I2 ? oleNumber<std::uint16_t>(property->payload().data()) : 0;
}

void suOlePropertySection::iClear() noexcept
{
    byId.clear();
    properties.clear();
    names.clear();
    dictionaryEntries.clear();
    sectionName.clear();
    changed = unknownTexts = false;
}

} // namespace kvdm
