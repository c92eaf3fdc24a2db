// What a large file that is saved again and again comes to: a steady size, whatever it holds besides.
#include "platform/compoundfile/checker.h"
#include "platform/compoundfile/lockBytes.h"
#include "support/StorageTools.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace kvdm::test {
namespace {

// As a program that stamps a property does it: open, change, commit, close.
void saveOnce(const std::u16string& name, std::uint32_t turn)
{
    ComPtr<IStorage> root;
    ASSERT_EQ(StgOpenStorage(name.c_str(), nullptr, 0x10022, nullptr, 0, root.put()), S_OK);
    ASSERT_TRUE(writeStream(*root, u"property", patternBytes(700 + turn % 5 * 100, turn)));
    ASSERT_TRUE(writeStream(*root, u"table", patternBytes(5000 + turn % 3 * 2000, turn)));
    ASSERT_EQ(root->Commit(STGC_DANGEROUSLYCOMMITMERELYTODISKCACHE), S_OK);
}

TEST(SavedOften, AFileReachesASteadySize)
{
    for (const bool tablesLast : {false, true}) {
        SCOPED_TRACE(tablesLast);
        const TemporaryFolder folder;
        const std::string path = folder / "large";
        CompoundFileBuilder builder(CompoundFileBuilder::Options{.version = 3, .tablesLast = tablesLast});
        for (char16_t i = 0; i < 40; ++i)
            builder.root().stream(u"small " + std::u16string(1, static_cast<char16_t>(0x4E00 + i)), patternBytes(300, i));
        builder.root().filled(u"large", 1u << 30); // a hole, and as many sectors of the table's index as one table sector tells of
        ASSERT_TRUE(builder.write(path));
        const std::uintmax_t first = std::filesystem::file_size(path);
        std::uintmax_t after50 = 0;
        for (std::uint32_t turn = 0; turn < 300; ++turn) {
            ASSERT_NO_FATAL_FAILURE(saveOnce({path.begin(), path.end()}, turn));
            if (turn == 50)
                after50 = std::filesystem::file_size(path);
        }
        EXPECT_LE(std::filesystem::file_size(path), after50 + 8 * 512) << "what a save frees a later one uses";
        EXPECT_LE(after50, first + (256 << 10));
        HRESULT status = S_OK;
        const auto bytes = openFileLockBytes(std::u16string(path.begin(), path.end()), FileAccess::read, FileCreation::openExisting, status);
        ASSERT_TRUE(bytes);
        const std::vector<std::string> faults = checkCompoundFile(*bytes);
        EXPECT_TRUE(faults.empty()) << faults.front();
    }
}

} // namespace
} // namespace kvdm::test
