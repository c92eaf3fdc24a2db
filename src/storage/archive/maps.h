// Persistent maps. In the stream: the count, then each key with its value.
#pragma once

#include "storage/archive/su_CObject.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace kvdm {

// A map from strings that is stored in the order of the application framework's hash table: 17 buckets, in each the newest
// key first. Looking up takes the same time however many keys a stream brings.
template <class Value> class suStringKeyMap : public su_CObject
{
public:
    void serialize(su_CArchive& archive) override;
    void releaseReferences() noexcept override { entries.clear(); }

    std::size_t size() const noexcept { return entries.size(); }
    const Value* find(std::u16string_view key) const
    {
        const auto at = entries.find(std::u16string(key));
        return at == entries.end() ? nullptr : &at->second.value;
    }
    // A known key keeps its place.
    void set(std::u16string key, Value value)
    {
        const auto [at, isNew] = entries.try_emplace(std::move(key));
        if (isNew)
            at->second.age = nextAge++;
        at->second.value = std::move(value);
    }
    bool remove(std::u16string_view key) { return entries.erase(std::u16string(key)) != 0; }
    // The keys and values in the order of the stream.
    std::vector<std::pair<const std::u16string*, const Value*>> inOrder() const;

private:
    struct Entry
    {
        Value value{};
        std::uint64_t age = 0;
    };
    std::unordered_map<std::u16string, Entry> entries;
    std::uint64_t nextAge = 0;
};

class su_CMapStringToOb : public suPersistent<su_CMapStringToOb, suStringKeyMap<std::shared_ptr<su_CObject>>>
{
public:
    static constexpr std::string_view streamName = "su_CMapStringToOb";
};

class suMapStringToOb : public suPersistent<suMapStringToOb, su_CMapStringToOb>
{
public:
    static constexpr std::string_view streamName = "suMapStringToOb";
};

// The values are 64 bits as they lie in the stream: nothing here takes them for addresses.
class su_CMapStringToPtr : public suPersistent<su_CMapStringToPtr, suStringKeyMap<std::uint64_t>>
{
public:
    static constexpr std::string_view streamName = "su_CMapStringToPtr";
};

class su_CMapStringToString : public suPersistent<su_CMapStringToString, suStringKeyMap<std::u16string>>
{
public:
    static constexpr std::string_view streamName = "su_CMapStringToString";
};

class su_CMapStringToWord : public suPersistent<su_CMapStringToWord, suStringKeyMap<std::uint16_t>>
{
public:
    static constexpr std::string_view streamName = "su_CMapStringToWord";
};

// Maps from 16-bit numbers, stored in the order of the keys.
template <class Value> class suWordKeyMap : public su_CObject
{
public:
    void serialize(su_CArchive& archive) override;
    void releaseReferences() noexcept override { entries.clear(); }

    std::map<std::uint16_t, Value> entries;
};

class su_CMapWordToOb : public suPersistent<su_CMapWordToOb, suWordKeyMap<std::shared_ptr<su_CObject>>>
{
public:
    static constexpr std::string_view streamName = "su_CMapWordToOb";
};

class su_CMapWordToString : public suPersistent<su_CMapWordToString, suWordKeyMap<std::u16string>>
{
public:
    static constexpr std::string_view streamName = "su_CMapWordToString";
};

// Texts of objects, in the order in which they were entered.
class su_CMapObToString : public suPersistent<su_CMapObToString>
{
public:
    static constexpr std::string_view streamName = "su_CMapObToString";
    void serialize(su_CArchive& archive) override;
    void releaseReferences() noexcept override { entries.clear(); }

    std::vector<std::pair<std::shared_ptr<su_CObject>, std::u16string>> entries;
};

} // namespace kvdm
