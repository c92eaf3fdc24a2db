// The string-to-pointer map of the application framework, whose order of enumeration clients can see: 17 buckets, a new key
// goes to the head of its bucket, enumeration runs bucket 0 to 16, each from its head. Keys compare exactly.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace kvdm {

constexpr std::size_t frameworkBuckets = 17;

// The bucket of a key in the framework's maps, stored ones as well.
constexpr std::size_t frameworkBucketOf(std::u16string_view key) noexcept
{
    std::uint32_t hash = 0;
    for (const char16_t unit : key)
        hash = hash * 33 + unit;
    return hash % frameworkBuckets;
}

template <class Value> class StringMap
{
public:
    Value* find(std::u16string_view key) noexcept
    {
        for (auto& [name, value] : buckets[frameworkBucketOf(key)])
            if (name == key)
                return &value;
        return nullptr;
    }
    const Value* find(std::u16string_view key) const noexcept { return const_cast<StringMap*>(this)->find(key); }

    // Replaces the value of a known key in its place; a new key goes to the head of its bucket.
    Value& set(std::u16string_view key, Value value)
    {
        if (Value* known = find(key)) {
            *known = std::move(value);
            return *known;
        }
        auto& bucket = buckets[frameworkBucketOf(key)];
        bucket.emplace_front(std::u16string(key), std::move(value));
        ++entries;
        return bucket.front().second;
    }

    bool remove(std::u16string_view key)
    {
        auto& bucket = buckets[frameworkBucketOf(key)];
        for (auto at = bucket.begin(); at != bucket.end(); ++at) {
            if (at->first == key) {
                bucket.erase(at);
                --entries;
                return true;
            }
        }
        return false;
    }

    // Gives the entry to another map as set does, under its key or a new one; takes no memory. False without such an entry.
    bool moveTo(StringMap& other, std::u16string_view key, std::optional<std::u16string> newKey = std::nullopt) noexcept
    {
        auto& bucket = buckets[frameworkBucketOf(key)];
        const auto at = std::find_if(bucket.begin(), bucket.end(), [&](const auto& entry) { return entry.first == key; });
        if (at == bucket.end())
            return false;
        if (newKey)
            at->first = std::move(*newKey);
        if (Value* known = other.find(at->first)) {
            *known = std::move(at->second);
            bucket.erase(at);
        } else {
            auto& target = other.buckets[frameworkBucketOf(at->first)];
            target.splice(target.begin(), bucket, at);
            ++other.entries;
        }
        --entries;
        return true;
    }

    void clear() noexcept
    {
        for (auto& bucket : buckets)
            bucket.clear();
        entries = 0;
    }

    std::size_t size() const noexcept { return entries; }
    bool empty() const noexcept { return entries == 0; }

    // Calls visit(key, value) in the order of enumeration.
    template <class Visitor> void forEach(Visitor&& visit)
    {
        for (auto& bucket : buckets)
            for (auto& [name, value] : bucket)
                visit(name, value);
    }
    template <class Visitor> void forEach(Visitor&& visit) const
    {
        for (const auto& bucket : buckets)
            for (const auto& [name, value] : bucket)
                visit(name, value);
    }

private:
    std::array<std::list<std::pair<std::u16string, Value>>, frameworkBuckets> buckets;
    std::size_t entries = 0;
};

} // namespace kvdm
