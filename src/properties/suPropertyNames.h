// The names of a section's properties.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace kvdm {

// An ordered map from name to property id. Names compare and are ordered upper-cased, unit by unit; several may have one
// id, of which the first in order is the one that the property is listed under.
class suPropertyNames
{
public:
    struct Entry
    {
        std::u16string name;
        std::uint32_t id;
    };

    // False, and nothing changed, when the name is there already in any case.
    bool add(std::u16string_view name, std::uint32_t id);
    // Gives a known name to the id, keeping its letters; else adds it.
    void put(std::u16string_view name, std::uint32_t id);
    // Null when the name is not there in any case.
    const Entry* find(std::u16string_view name) const;
    // The first name of the id, or null. The pointer holds until that name is erased.
    const std::u16string* firstOf(std::uint32_t id) const;
    bool eraseFirstOf(std::uint32_t id);
    // All names of one id go to another.
    void moveTo(std::uint32_t oldId, std::uint32_t newId);
    void clear() noexcept;

    std::size_t size() const noexcept { return byName.size(); }
    template <class Visitor> void forEach(Visitor&& visit) const
    {
        for (const auto& [key, entry] : byName)
            visit(entry);
    }

private:
    using NameMap = std::map<std::u16string, Entry, std::less<>>; // keys upper-cased

    struct OfId
    {
        std::uint32_t id;
        NameMap::iterator at;
    };
    struct ByIdThenName
    {
        using is_transparent = void;
        bool operator()(const OfId& left, const OfId& right) const
        {
            return left.id != right.id ? left.id < right.id : left.at->first < right.at->first;
        }
        bool operator()(const OfId& left, std::uint32_t id) const { return left.id < id; }
        bool operator()(std::uint32_t id, const OfId& right) const { return id < right.id; }
    };

    NameMap byName;
    std::set<OfId, ByIdThenName> byId;
};

} // namespace kvdm
