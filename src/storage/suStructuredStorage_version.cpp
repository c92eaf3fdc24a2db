// The version markers: empty storages in the root whose names end with a number.
#include "storage/suStructuredStorage.h"

#include "common/decimalNumber.h"
#include "common/trace.h"
#include "platform/text/casing.h"
#include "storage/elements.h"
#include "storage/versionCache.h"

#include <kvdocmgr/text.h>

namespace kvdm {

namespace {

constexpr ULONG batchSize = 64;
constexpr std::size_t fewestElements = 4; // a storage with fewer has no version
constexpr std::u16string_view versionPrefix = u"_MO_VERSION_";
constexpr std::u16string_view displayListPrefix = u"_DL_VERSION_";

// Calls visit with each name of a batch that the marker rule looks at, until visit returns false or a batch says that the
// search is over. goesOn(batch) tells after each full batch whether the next one is looked at.
template <class Visit, class GoesOn> void walkForMarker(IStorage& storage, Visit&& visit, GoesOn&& goesOn)
{
    const ComPtr<IEnumSTATSTG> enumerator = enumerateElements(storage);
    suElementBatch batch(batchSize);
    bool first = true;
    do {
        const std::size_t count = batch.fetch(*enumerator);
        if (!first || count >= fewestElements)
            for (std::size_t i = 0; i < count && visit(batch.name(i)); ++i)
                ;
        first = false;
    } while (batch.isFull() && goesOn());
}

int loadMarker(IStorage& storage, std::u16string_view prefix)
{
    int number = 0;
    walkForMarker(
        storage,
        [&](std::u16string_view name) {
            if (!name.starts_with(prefix))
                return true;
            number = decimalNumber(name.substr(name.rfind(u'_') + 1));
            return false;
        },
        [&] { return number == 0; });
    return number;
}

int loadCachedVersion(IStorage& storage, const std::u16string& storageName)
{
    bool created = false;
    suStorageInfoCache* cache = storageName.empty() ? nullptr : getStorageInfoCache(false, created);
    if (cache && !storageInfoCacheBypassed && !storageInfoCacheStale)
        if (const auto known = cache->versions.find(storageName); known != cache->versions.end())
            return known->second;
    const int version = loadMarker(storage, versionPrefix);
    if (cache)
        cache->versions[storageName] = version;
    return version;
}

} // namespace

int suStructuredStorage::loadVersion()
{
    trace("suStructuredStorage::loadVersion()");
    if (!rootStorage)
        return 0;
    return knownVersion != 0 ? knownVersion : loadCachedVersion(*rootStorage, storageName);
}

int suStructuredStorage::loadVersion(IStorage& storage)
{
    trace("suStructuredStorage::loadVersion()");
    bool created = false;
    if (!getStorageInfoCache(false, created))
        return loadMarker(storage, versionPrefix); // no cache, so the name is not needed
    STATSTG statistics{};
    std::u16string name;
    if (SUCCEEDED(storage.Stat(&statistics, STATFLAG_DEFAULT))) {
        name = fromOle(statistics.pwcsName);
        CoTaskMemFree(statistics.pwcsName);
    }
    return loadCachedVersion(storage, name);
}

int suStructuredStorage::loadDLVersion()
{
    trace("suStructuredStorage::loadDLVersion()");
    return rootStorage ? loadMarker(*rootStorage, displayListPrefix) : 0;
}

bool suStructuredStorage::writeVersion(int version)
{
    trace([=] { return "suStructuredStorage::writeVersion(), moVersionIn : " + std::to_string(version); });
    knownVersion = 0;
    return iWriteVersionNode(versionPrefix, version);
}

bool suStructuredStorage::writeDLVersion(int version)
{
    trace([=] { return "suStructuredStorage::writeDLVersion(), dlVersionIn : " + std::to_string(version); });
    return iWriteVersionNode(displayListPrefix, version);
}

bool suStructuredStorage::iWriteVersionNode(std::u16string_view prefix, int version)
{
    trace([&] { return "suStructuredStorage::iWriteVersionNode(), nodeNameIn : " + toUtf8(prefix) + ", versionNumIn : " + std::to_string(version); });
    if (!rootStorage)
        return true;
    const std::u16string target = std::u16string(prefix) + decimalText(version);
    std::u16string present;
    walkForMarker(
        *rootStorage,
        [&](std::u16string_view name) {
            if (name.starts_with(prefix))
                present = name;
            return present.empty();
        },
        [&] { return present.empty(); });
    if (present.empty()) {
        iAttachToStorage(true, target);
        releaseChildStorage();
    } else if (!equalNoCase(present, target)) {
        renameNode(present, target);
    }
    return true;
}

} // namespace kvdm
