// The checker finds what is wrong, and nothing in what is right.
#include "platform/compoundfile/checker.h"
#include "support/StorageTools.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace kvdm::test {
namespace {

std::vector<std::string> faultsOf(const Bytes& bytes)
{
    return checkCompoundFile(*lockBytesOf(bytes));
}

CompoundFileBuilder sampleBuilder(unsigned version)
{
    CompoundFileBuilder builder(CompoundFileBuilder::Options{.version = version, .spareFatSectors = 200});
    for (const char16_t* name : {u"a", u"b", u"c", u"d", u"e"})
        builder.root().stream(name, patternBytes(700));
    builder.root().stream(u"large", patternBytes(20000));
    builder.root().storage(u"store").stream(u"leaf", patternBytes(9));
    return builder;
}

TEST(StructureChecker, SoundFilesPass)
{
    for (const unsigned version : {3u, 4u}) {
        const auto faults = faultsOf(sampleBuilder(version).build());
        EXPECT_TRUE(faults.empty()) << faults.front();
    }
}

TEST(StructureChecker, EveryBrokenRuleIsNamed)
{
    const CompoundFileBuilder builder = sampleBuilder(3);
    const Bytes good = builder.build();
    const std::size_t directory = builder.sectorOffset(getLe32(good, 48)), fat = builder.sectorOffset(getLe32(good, 76));
    const std::size_t miniFat = builder.sectorOffset(getLe32(good, 60));
    const auto entry = [&](const char16_t* name) { return directory + 128 * builder.placeOf({name}).directoryEntry; };
    const std::uint32_t large = builder.placeOf({u"large"}).startSector;
    const std::uint32_t top = getLe32(good, directory + 76);
    struct Rule
    {
        const char* words; // in the fault
        std::size_t offset;
        std::uint32_t value;
    };
    const Rule rules[] = {
        {"reserved bytes", 8, 1},
        {"cutoff", 56, 512},
        {"table sectors told", 44, 3},
        {"index sectors told", 72, 9},
        {"named twice", 80, getLe32(good, 76)},
        {"not marked as one", fat + 4 * getLe32(good, 76), 0xFFFFFFFF},
        {"is marked as a table sector", fat + 4 * large, 0xFFFFFFFD},
        {"sectors in the chain", fat + 4 * large, 0xFFFFFFFE},
        {"belongs to something else", fat + 4 * large, getLe32(good, 48)},
        {"which is not there", fat + 4 * large, 0x00FFFFFF},
        {"but nothing uses it", fat + 4 * (large + 5), 0xFFFFFFFE},
        {"mini sectors in the chain", miniFat, 0xFFFFFFFE},
        {"not there or used already", entry(u"b") + 116, getLe32(good, entry(u"a") + 116)},
        {"name order", entry(u"a"), u'z'},
        {"do not agree", entry(u"a") + 64, 0x01020007},
        {"separator", entry(u"c"), u'/'},
        {"no storage leads to it", directory + 128 * top + 68, 0xFFFFFFFF},
        {"more than one link", directory + 128 * top + 68, top},
        {"which is no element", directory + 128 * top + 68, 5000},
        {"a stream has children", entry(u"b") + 76, 1},
        {"class or times", entry(u"b") + 80, 1},
        {"tells of bytes", entry(u"store") + 116, 3},
        {"the root has siblings", directory + 68, 1},
        {"not the root", directory + 66, 0x0101},
        {"time of creation", directory + 100, 1},
        {"unused but not empty", directory + 128 * 9 + 96, 1},
    };
    for (const Rule& rule : rules) {
        Bytes bytes = good;
        putLe32(bytes, rule.offset, rule.value);
        const auto faults = faultsOf(bytes);
        const bool named = std::any_of(faults.begin(), faults.end(), [&](const std::string& fault) { return fault.find(rule.words) != fault.npos; });
        EXPECT_TRUE(named) << rule.words << ": " << (faults.empty() ? "nothing was found" : faults.front());
    }
    Bytes red = good; // a red entry below a red one: all of the tree is made red
    for (const char16_t* name : {u"a", u"b", u"c", u"d", u"e", u"large", u"store"})
        red[entry(name) + 67] = 0;
    EXPECT_GE(faultsOf(red).size(), 2u);
    EXPECT_EQ(faultsOf({}).size(), 1u);
    EXPECT_EQ(faultsOf(Bytes(600, 1)).size(), 1u);
}

} // namespace
} // namespace kvdm::test
