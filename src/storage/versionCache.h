// The version markers of storages by name. A host that opens the same documents again and again may ask for it; nothing in
// the library does. For one thread.
#pragma once

#include <map>
#include <string>

namespace kvdm {

struct suStorageInfoCache
{
    std::map<std::u16string, int, std::less<>> versions; // storage name to "_MO_VERSION_" number
};

// The process's cache, null when there is none and create is false. outCreated tells whether this call made it.
suStorageInfoCache* getStorageInfoCache(bool create, bool& outCreated);
void dropStorageInfoCache();

// When either is set a cached number is not trusted; what is read is still stored.
extern bool storageInfoCacheBypassed;
extern bool storageInfoCacheStale;

} // namespace kvdm
