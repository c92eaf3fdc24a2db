#include "storage/versionCache.h"

namespace kvdm {

namespace {

suStorageInfoCache* cache = nullptr;

} // namespace

bool storageInfoCacheBypassed = false;
bool storageInfoCacheStale = false;

suStorageInfoCache* getStorageInfoCache(bool create, bool& outCreated)
{
    outCreated = create && !cache;
    if (outCreated)
        cache = new suStorageInfoCache;
    return cache;
}

void dropStorageInfoCache()
{
    delete cache;
    cache = nullptr;
}

} // namespace kvdm
