// Damaged files: a clean answer, in time that the size of the file bounds.
#include "platform/compoundfile/compoundFile.h"
#include "support/StorageTools.h"

#include <gtest/gtest.h>

#include <functional>

namespace kvdm::test {
namespace {

CompoundFileBuilder sampleBuilder()
{
    CompoundFileBuilder builder;
    builder.root().stream(u"Alpha", patternBytes(300));
    builder.root().stream(u"Large", patternBytes(20000));
    BuilderNode& inner = builder.root().storage(u"Inner");
    inner.stream(u"Leaf", patternBytes(900, 3));
    inner.storage(u"Deeper").stream(u"Last", patternBytes(70, 4));
    return builder;
}

struct Damage
{
    const char* what;
    std::size_t offset;
    std::uint32_t value;
    std::size_t width = 4;
};

TEST(CompoundFileDamage, EveryPatchedFieldGivesACleanAnswer)
{
    const CompoundFileBuilder builder = sampleBuilder();
    const Bytes good = builder.build();
    const std::size_t directory = builder.sectorOffset(getLe32(good, 48));
    const std::size_t fat = builder.sectorOffset(getLe32(good, 76));
    const std::size_t miniFat = builder.sectorOffset(getLe32(good, 60));
    const auto entry = [&](const std::vector<std::u16string>& path) { return directory + 128 * builder.placeOf(path).directoryEntry; };
    const auto link = [&](const std::vector<std::u16string>& path) { return fat + 4 * builder.placeOf(path).startSector; };
    const std::size_t alpha = entry({u"Alpha"}), inner = entry({u"Inner"}), large = entry({u"Large"});
    const std::uint32_t innerId = builder.placeOf({u"Inner"}).directoryEntry, largeStart = builder.placeOf({u"Large"}).startSector;

    const Damage all[] = {
        {"minor words", 24, 0xFFFF, 2},
        {"version 9", 26, 9, 2},
        {"byte order", 28, 0xFEFF, 2},
        {"sector shift 0", 30, 0, 2},
        {"sector shift 31", 30, 31, 2},
        {"sector shift 12", 30, 12, 2},
        {"mini shift 0", 32, 0, 2},
        {"table count 0", 44, 0},
        {"table count huge", 44, 0xFFFFFFFF},
        {"directory nowhere", 48, 0x7FFFFFFF},
        {"directory at the end mark", 48, 0xFFFFFFFE},
        {"cutoff 0", 56, 0},
        {"mini table nowhere", 60, 0x12345678},
        {"index at 0", 68, 0},
        {"index count huge", 72, 0xFFFFFFFF},
        {"table nowhere", 76, 0x7FFFFFFF},
        {"table free", 76, 0xFFFFFFFF},
        {"directory chain in a circle", fat + 4 * getLe32(good, 48), getLe32(good, 48)},
        {"stream chain in a circle", link({u"Large"}), largeStart},
        {"stream chain into the table", link({u"Large"}), getLe32(good, 76)},
        {"stream chain nowhere", link({u"Large"}), 0x00FFFFFF},
        {"stream chain free", link({u"Large"}), 0xFFFFFFFF},
        {"stream chain ends", link({u"Large"}), 0xFFFFFFFE},
        {"mini chain in a circle", miniFat, 0},
        {"mini chain nowhere", miniFat, 0x00FFFFFF},
        {"left link to itself", inner + 68, innerId},
        {"right link to the root", inner + 72, 0},
        {"right link nowhere", inner + 72, 0x7FFFFFF0},
        {"child is the storage itself", inner + 76, innerId},
        {"child is the root", inner + 76, 0},
        {"child nowhere", inner + 76, 0x00FFFFFF},
        {"root's child is the root", directory + 76, 0},
        {"name length 0", alpha + 64, 0, 2},
        {"name length odd", alpha + 64, 7, 2},
        {"name length huge", alpha + 64, 0xFFFF, 2},
        {"type wild", alpha + 66, 0x0177, 2},
        {"root is a stream", directory + 66, 0x0102, 2},
        {"size huge", large + 120, 0xFFFFFFFF},
        {"small size huge", alpha + 120, 0x7FFFFFFF},
        {"start nowhere", large + 116, 0x7FFFFFFF},
        {"start free", large + 116, 0xFFFFFFFF},
        {"mini start nowhere", alpha + 116, 0x7FFFFFFF},
        {"mini stream nowhere", directory + 116, 0x7FFFFFFF},
        {"mini stream size huge", directory + 120, 0xFFFFFFFF},
        {"mini stream empty", directory + 120, 0},
    };
    const Tree sound = treeOf(builder.root());
    for (const Damage& damage : all) {
        SCOPED_TRACE(damage.what);
        Bytes bytes = good;
        if (damage.width == 2)
            putLe16(bytes, damage.offset, static_cast<std::uint16_t>(damage.value));
        else
            putLe32(bytes, damage.offset, damage.value);
        const auto storage = openStorageOf(bytes);
        if (!storage)
            continue;
        const Tree tree = readTree(*storage);
        EXPECT_LE(tree.size(), sound.size());
        for (const auto& [path, content] : tree) // what comes out without an error is no more than the file can hold
            EXPECT_LE(content.size(), good.size()) << std::string(path.begin(), path.end());
    }
}

TEST(CompoundFileDamage, WrongCountsAndMissingTailsDoNotHideWhatIsThere)
{
    const CompoundFileBuilder builder = sampleBuilder();
    const Bytes good = builder.build();
    for (const Damage& harmless : {Damage{"", 44, 0}, Damage{"", 44, 0xFFFFFFFF}, Damage{"", 56, 0}, Damage{"", 64, 0xFFFF}, Damage{"", 72, 9}}) {
        Bytes bytes = good;
        putLe32(bytes, harmless.offset, harmless.value);
        const auto storage = openStorageOf(bytes);
        ASSERT_TRUE(storage) << harmless.offset;
        EXPECT_EQ(differences(readTree(*storage), treeOf(builder.root())), "") << harmless.offset;
    }
}

TEST(CompoundFileDamage, EveryTruncationAndEveryFlippedByteIsSurvived)
{
    const Bytes good = sampleBuilder().build();
    for (std::size_t size = 0; size < good.size(); size += size < 1100 ? 13 : 307) {
        if (const auto storage = openStorageOf(Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size))))
            readTree(*storage);
    }
    for (std::size_t at = 0; at < good.size(); at += at < 2560 ? 1 : 41) {
        Bytes bytes = good;
        bytes[at] ^= 0x81;
        if (const auto storage = openStorageOf(bytes))
            readTree(*storage);
    }
}

TEST(CompoundFileDamage, ADamagedFileIsSavedOrRefusedCleanly)
{
    const Bytes good = sampleBuilder().build();
    for (std::size_t at = 0; at < good.size(); at += at < 2560 ? 3 : 149) {
        for (const std::uint8_t flip : {0x01, 0x80, 0xFF}) {
            Bytes bytes = good;
            bytes[at] ^= flip;
            const auto array = lockBytesOf(bytes);
            ComPtr<IStorage> root, inner;
            if (FAILED(StgOpenStorageOnILockBytes(array.get(), nullptr, 0x10022, nullptr, 0, root.put())))
                continue;
            const Tree before = readTree(*root);
            writeStream(*root, u"Alpha", patternBytes(6000));
            writeStream(*root, u"New", patternBytes(100));
            root->RenameElement(u"Large", u"Larger");
            root->DestroyElement(u"Inner");
            const HRESULT status = root->Commit(STGC_DEFAULT);
            root.reset();
            root = openStorageOf(bytesOf(*array));
            ASSERT_TRUE(root) << at << " " << status;
            const Tree after = readTree(*root);
            if (FAILED(status)) {
                EXPECT_EQ(differences(after, before), "") << at;
            } else {
                EXPECT_EQ(after.at(u"Alpha"), patternBytes(6000)) << at;
                EXPECT_EQ(after.at(u"New"), patternBytes(100)) << at;
            }
        }
    }
}

TEST(CompoundFileDamage, ATreeInTheWrongOrderIsStillSearched)
{
    CompoundFileBuilder builder;
    for (char16_t letter = u'A'; letter <= u'Z'; ++letter)
        builder.root().stream(std::u16string(1, letter), patternBytes(10, letter));
    Bytes bytes = builder.build();
    const std::size_t directory = builder.sectorOffset(getLe32(bytes, 48));
    for (char16_t letter = u'A'; letter < u'Z'; letter += 2) { // neighbours swap their names
        const std::size_t first = directory + 128 * builder.placeOf({std::u16string(1, letter)}).directoryEntry;
        const std::size_t second = directory + 128 * builder.placeOf({std::u16string(1, static_cast<char16_t>(letter + 1))}).directoryEntry;
        std::swap(bytes[first], bytes[second]);
    }
    const auto storage = openStorageOf(bytes);
    ASSERT_TRUE(storage);
    for (char16_t letter = u'A'; letter <= u'Z'; ++letter)
        EXPECT_EQ(readStream(*storage, std::u16string(1, letter)), patternBytes(10, ((letter - u'A') ^ 1) + u'A'));
    EXPECT_FALSE(readStream(*storage, u"AA"));
}

TEST(CompoundFileDamage, StoragesThatShareChildrenDoNotMultiply)
{
    // Twenty storages, each of which leads to the next two: two to the twentieth paths, if links were just followed.
    CompoundFileBuilder builder;
    BuilderNode* node = &builder.root();
    std::vector<std::u16string> path;
    for (int depth = 0; depth < 20; ++depth) {
        node->storage(u"L");
        node = &node->storage(u"R");
        path.push_back(u"R");
    }
    std::vector<std::uint32_t> left(20), right(20);
    for (int depth = 0; depth < 20; ++depth) {
        std::vector<std::u16string> at(path.begin(), path.begin() + depth);
        at.push_back(u"L");
        left[depth] = builder.placeOf(at).directoryEntry;
        at.back().assign(1, u'R');
        right[depth] = builder.placeOf(at).directoryEntry;
    }
    Bytes bytes = builder.build();
    const std::size_t directory = builder.sectorOffset(getLe32(bytes, 48));
    for (int depth = 0; depth + 1 < 20; ++depth)
        putLe32(bytes, directory + 128 * left[depth] + 76, getLe32(bytes, directory + 128 * right[depth] + 76));
    const auto storage = openStorageOf(bytes);
    ASSERT_TRUE(storage);
    EXPECT_LE(readTree(*storage).size(), 60u);
}

// Followed for each of them, the one tree would take minutes.
TEST(CompoundFileDamage, ManyStoragesThatLeadIntoOneTreeCostItOnce)
{
    constexpr int many = 20000;
    CompoundFileBuilder builder;
    const auto numbered = [](char16_t letter, int i) {
        const std::string digits = std::to_string(i);
        return letter + std::u16string(digits.begin(), digits.end());
    };
    BuilderNode& first = builder.root().storage(u"A");
    for (int i = 0; i < many; ++i) {
        first.stream(numbered(u's', i), Bytes());
        builder.root().storage(numbered(u'S', i));
    }
    Bytes bytes = builder.build();
    const std::size_t entries = builder.sectorOffset(getLe32(bytes, 48)); // its sectors follow one another
    const std::uint32_t tree = getLe32(bytes, entries + 128 * builder.placeOf({u"A"}).directoryEntry + 76);
    for (std::size_t entry = entries; entry < entries + 128u * (2 * many + 2); entry += 128) {
        if (bytes[entry] == 'S' && bytes[entry + 66] == 1)
            putLe32(bytes, entry + 76, tree);
    }
    const auto storage = openStorageOf(bytes);
    ASSERT_TRUE(storage);
    EXPECT_EQ(readTree(*storage).size(), 2u * many + 1);
}

TEST(CompoundFileDamage, NamesWithZeroUnitsOpenByWhatIsBeforeThem)
{
    CompoundFileBuilder builder;
    builder.root().stream(u"abcdef", "text");
    Bytes bytes = builder.build();
    const std::size_t entry = builder.sectorOffset(getLe32(bytes, 48)) + 128;
    putLe16(bytes, entry + 6, 0);
    const auto storage = openStorageOf(bytes);
    ASSERT_TRUE(storage);
    EXPECT_TRUE(readStream(*storage, u"abc"));
    CompoundFile file(lockBytesOf(bytes));
    file.open(readElement);
    EXPECT_EQ(file.info(1).name, std::u16string(u"abc\0ef", 6));
    EXPECT_EQ(file.find(CompoundFile::rootId, std::u16string_view(u"ABC\0ef", 6)), 1u);
    EXPECT_EQ(file.find(CompoundFile::rootId, u"abc"), 1u);
}

} // namespace
} // namespace kvdm::test
