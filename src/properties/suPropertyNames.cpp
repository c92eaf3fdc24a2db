#include "properties/suPropertyNames.h"

#include "platform/text/casing.h"

namespace kvdm {

bool suPropertyNames::add(std::u16string_view name, std::uint32_t id)
{
    const auto [at, added] = byName.try_emplace(upperText(name), Entry{std::u16string(name), id});
    if (!added)
        return false;
    try {
        byId.insert({id, at});
    } catch (...) {
        byName.erase(at); // the two sides never differ
        throw;
    }
    return true;
}

void suPropertyNames::put(std::u16string_view name, std::uint32_t id)
{
    if (add(name, id))
        return;
    const auto at = byName.find(upperText(name));
    auto node = byId.extract({at->second.id, at});
    node.value().id = at->second.id = id;
    byId.insert(std::move(node));
}

const suPropertyNames::Entry* suPropertyNames::find(std::u16string_view name) const
{
    const auto at = byName.find(upperText(name));
    return at == byName.end() ? nullptr : &at->second;
}

const std::u16string* suPropertyNames::firstOf(std::uint32_t id) const
{
    const auto at = byId.lower_bound(id);
    return at == byId.end() || at->id != id ? nullptr : &at->at->second.name;
}

bool suPropertyNames::eraseFirstOf(std::uint32_t id)
{
    const auto at = byId.lower_bound(id);
    if (at == byId.end() || at->id != id)
        return false;
    const NameMap::iterator name = at->at;
    byId.erase(at);
    byName.erase(name);
    return true;
}

void suPropertyNames::moveTo(std::uint32_t oldId, std::uint32_t newId)
{
    for (auto at = byId.lower_bound(oldId); oldId != newId && at != byId.end() && at->id == oldId;) {
        auto node = byId.extract(at++);
        node.value().id = newId;
        node.value().at->second.id = newId;
        byId.insert(std::move(node));
    }
}

void suPropertyNames::clear() noexcept
{
    byId.clear();
    byName.clear();
}

} // namespace kvdm
