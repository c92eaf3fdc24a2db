#include "storage/archive/maps.h"

#include "common/stringMap.h"
#include "storage/archive/su_CArchive.h"

namespace kvdm {

namespace {

void store(su_CArchive& archive, const std::shared_ptr<su_CObject>& value)
{
    archive.WriteObject(value);
}
template <class Value> void store(su_CArchive& archive, const Value& value)
{
    archive << value;
}

void load(su_CArchive& archive, std::shared_ptr<su_CObject>& value)
{
    value = archive.ReadObject();
}
template <class Value> void load(su_CArchive& archive, Value& value)
{
    archive >> value;
}

} // namespace

template <class Value> std::vector<std::pair<const std::u16string*, const Value*>> suStringKeyMap<Value>::inOrder() const
{
    struct Place
    {
        std::size_t bucket;
        std::uint64_t age;
        const std::u16string* key;
        const Value* value;
    };
    std::vector<Place> places;
    places.reserve(entries.size());
    for (const auto& [key, entry] : entries)
        places.push_back({frameworkBucketOf(key), entry.age, &key, &entry.value});
    std::sort(places.begin(), places.end(),
              [](const Place& left, const Place& right) { return left.bucket != right.bucket ? left.bucket < right.bucket : left.age > right.age; });
    std::vector<std::pair<const std::u16string*, const Value*>> ordered;
    ordered.reserve(places.size());
    for (const Place& place : places)
        ordered.emplace_back(place.key, place.value);
    return ordered;
}

template <class Value> void suStringKeyMap<Value>::serialize(su_CArchive& archive)
{
    if (archive.IsStoring()) {
        archive.WriteCount(entries.size());
        for (const auto& [key, value] : inOrder()) {
            archive << *key;
            store(archive, *value);
        }
        return;
    }
    const std::uint32_t count = archive.ReadCount();
    archive.requireBytes(count, 2);
    entries.clear();
    for (std::uint32_t i = 0; i < count; ++i) {
        archive.countParts(3); // a node of the table
        std::u16string key = archive.ReadString();
        Value value{};
        load(archive, value);
        set(std::move(key), std::move(value));
    }
}

template <class Value> void suWordKeyMap<Value>::serialize(su_CArchive& archive)
{
    if (archive.IsStoring()) {
        archive.WriteCount(entries.size());
        for (const auto& [key, value] : entries) {
            archive << key;
            store(archive, value);
        }
        return;
    }
    const std::uint32_t count = archive.ReadCount();
    archive.requireBytes(count, 3);
    entries.clear();
    for (std::uint32_t i = 0; i < count; ++i) {
        const auto key = archive.read<std::uint16_t>();
        load(archive, entries[key]);
    }
}

void su_CMapObToString::serialize(su_CArchive& archive)
{
    if (archive.IsStoring()) {
        archive.WriteCount(entries.size());
        for (const auto& [object, text] : entries) {
            archive.WriteObject(object);
            archive << text;
        }
        return;
    }
    const std::uint32_t count = archive.ReadCount();
    archive.requireBytes(count, 3);
    entries.clear();
    for (std::uint32_t i = 0; i < count; ++i) {
        archive.countParts();
        std::shared_ptr<su_CObject> object = archive.ReadObject();
        entries.emplace_back(std::move(object), archive.ReadString());
    }
}

template class suStringKeyMap<std::shared_ptr<su_CObject>>;
template class suStringKeyMap<std::uint64_t>;
template class suStringKeyMap<std::u16string>;
template class suStringKeyMap<std::uint16_t>;
template class suWordKeyMap<std::shared_ptr<su_CObject>>;
template class suWordKeyMap<std::u16string>;

} // namespace kvdm
