#include "storage/versionCache.h"

#include "storage/suStructuredStorage.h"
#include "support/DocumentBuilder.h"
#include "support/TemporaryFolder.h"

#include <kvdocmgr/text.h>

namespace kvdm::test {
namespace {

TEST(VersionCache, AnswersForAStorageOfTheSameName)
{
    TemporaryFolder folder;
    const auto load = [&] { return suStructuredStorage(fromUtf8(folder / "a.kvdprt"), false, nullptr, nullptr, false, true).loadVersion(); };
    bool created = true;
    EXPECT_EQ(getStorageInfoCache(false, created), nullptr);
    EXPECT_FALSE(created);
    ASSERT_NE(getStorageInfoCache(true, created), nullptr);
    EXPECT_TRUE(created);
    DocumentBuilder(1000).write(folder / "a.kvdprt");
    EXPECT_EQ(load(), 1000);
    DocumentBuilder(2000).write(folder / "a.kvdprt");
    EXPECT_EQ(load(), 1000) << "as it was read first";
    storageInfoCacheBypassed = true;
    EXPECT_EQ(load(), 2000);
    storageInfoCacheBypassed = false;
    DocumentBuilder(3000).write(folder / "a.kvdprt");
    EXPECT_EQ(load(), 2000) << "what is read past the cache is stored there";
    getStorageInfoCache(true, created);
    EXPECT_FALSE(created);
    dropStorageInfoCache();
    EXPECT_EQ(load(), 3000);
}

} // namespace
} // namespace kvdm::test
