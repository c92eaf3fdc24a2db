// The power is cut at every write and every flush of many different saves. Whatever is left opens as a state that was committed,
// the one before or the one after, and is sound. KVDM_TEST_FULL=1 makes more images of each cut, and the large saves.
#include "faults/SaboteurLockBytes.h"
#include "platform/compoundfile/checker.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string_view>
#include <unordered_set>

namespace kvdm::test {
namespace {

using Edit = std::function<void(IStorage&)>;

struct Save
{
    std::string what;
    unsigned version;
    std::vector<Edit> edits; // each is followed by a commit
    bool isLarge = false;
    bool replaces = false; // a new file takes the place of the one that is there
};

void put(IStorage& root, const std::u16string& name, std::size_t size, std::uint32_t seed = 99)
{
    ASSERT_TRUE(writeStream(root, name, patternBytes(size, seed)));
}

ComPtr<IStream> openStream(IStorage& root, const std::u16string& name)
{
    ComPtr<IStream> stream;
    EXPECT_EQ(root.OpenStream(name.c_str(), nullptr, writeElement, 0, stream.put()), S_OK);
    return stream;
}

void resize(IStorage& root, const std::u16string& name, std::uint64_t size)
{
    EXPECT_EQ(openStream(root, name)->SetSize(wide(size)), S_OK);
}

void patch(IStorage& root, const std::u16string& name, std::int64_t position, std::size_t size)
{
    const auto stream = openStream(root, name);
    const Bytes bytes = patternBytes(size, 77);
    ULONG written = 0;
    EXPECT_EQ(stream->Seek(distance(position), STREAM_SEEK_SET, nullptr), S_OK);
    EXPECT_EQ(stream->Write(bytes.data(), static_cast<ULONG>(size), &written), S_OK);
}

void putMany(IStorage& root, int count, std::size_t size)
{
    for (int i = 0; i < count; ++i)
        put(root, u"new " + std::u16string(1, static_cast<char16_t>(0x4E00 + i)), size + i, i);
}

Bytes startingFile(unsigned version)
{
    CompoundFileBuilder builder(CompoundFileBuilder::Options{.version = version, .interleaved = true});
    BuilderNode& root = builder.root();
    for (const std::size_t size : {0, 63, 64, 65, 511, 512, 513, 4095, 4096, 4097, 30000}) {
        const std::string digits = std::to_string(size);
        root.stream(u"s" + std::u16string(digits.begin(), digits.end()), patternBytes(size, static_cast<std::uint32_t>(size)));
    }
    BuilderNode& inner = root.storage(u"Inner");
    for (char16_t i = 0; i < 30; ++i)
        inner.stream(u"n" + std::u16string(1, static_cast<char16_t>(0x4E00 + i)), patternBytes(i * 40, i));
    return builder.build();
}

std::vector<Save> allSaves()
{
    std::vector<Save> saves;
    for (const std::size_t size : {0, 63, 64, 65, 511, 512, 513, 4095, 4096, 4097}) {
        saves.push_back({"a stream of " + std::to_string(size), 3, {[=](IStorage& root) { put(root, u"s64", size); }}});
        saves.push_back({"a large one becomes " + std::to_string(size), 4, {[=](IStorage& root) { resize(root, u"s30000", size); }}});
    }
    for (const unsigned version : {3u, 4u}) {
        saves.push_back({"a small edit", version, {[](IStorage& root) { patch(root, u"s512", 100, 10); }}});
        saves.push_back({"a patch inside a large stream", version, {[](IStorage& root) { patch(root, u"s30000", 12345, 3000); }}});
        saves.push_back({"a large stream grows", version, {[](IStorage& root) { patch(root, u"s30000", 29990, 40000); }}});
        saves.push_back({"a new large stream", version, {[](IStorage& root) { put(root, u"new", 200000); }}});
        saves.push_back({"shrink, then grow",
                         version,
                         {[](IStorage& root) { resize(root, u"s30000", 70); }, [](IStorage& root) { resize(root, u"s30000", 50000); }}});
        saves.push_back({"the directory grows", version, {[](IStorage& root) { putMany(root, 60, 0); }}});
        saves.push_back({"many mini streams", version, {[](IStorage& root) { putMany(root, 50, 700); }}});
        saves.push_back({"a storage goes", version, {[](IStorage& root) { EXPECT_EQ(root.DestroyElement(u"Inner"), S_OK); }}});
        saves.push_back({"names change", version, {[](IStorage& root) { EXPECT_EQ(root.RenameElement(u"s4096", u"other"), S_OK); }}});
        saves.push_back({"everything goes, then something comes",
                         version,
                         {[](IStorage& root) {
                              for (const auto& [name, bytes] : readTree(root))
                                  EXPECT_TRUE(name.find(u'/') != name.npos || SUCCEEDED(root.DestroyElement(name.c_str())));
                          },
                          [](IStorage& root) { put(root, u"s1", 5000); }}});
        saves.push_back({"ten saves in a row", version, std::vector<Edit>(10, [](IStorage& root) { patch(root, u"s4095", 0, 4095); })});
        saves.push_back({"a nested transaction", version, {[](IStorage& root) {
                             ComPtr<IStorage> inner;
                             EXPECT_EQ(root.OpenStorage(u"Inner", nullptr, writeElement | STGM_TRANSACTED, nullptr, 0, inner.put()), S_OK);
                             put(*inner, u"large", 20000);
                             EXPECT_EQ(inner->Commit(STGC_ONLYIFCURRENT), S_OK);
                             put(*inner, u"never", 20000);
                         }}});
    }
    for (const unsigned version : {3u, 4u})
        saves.push_back({"another file in its place",
                         version,
                         {[](IStorage& root) { putMany(root, 30, 500); }, [](IStorage& root) { put(root, u"s", 90000); }},
                         false,
                         true});
    // The first sector of the table's index comes with 7,087,616 bytes or so, the second with 15 million.
    for (const std::size_t size : {6900000, 7087616, 15300000})
        saves.push_back({"a stream of " + std::to_string(size),
                         3,
                         {[=](IStorage& root) { put(root, u"huge", size); }, [](IStorage& root) { patch(root, u"huge", 5000000, 200000); },
                          [](IStorage& root) { resize(root, u"huge", 100); }},
                         true});
    return saves;
}

class Cuts
{
public:
    std::size_t images = 0; // that differ, over all saves

    void run(const Save& save, unsigned imagesOfEach)
    {
        const auto array = ComPtr<SaboteurLockBytes>::adopt(new SaboteurLockBytes(startingFile(save.version)));
        const Bytes before = array->bytes;
        states = {iTreeOf(before)};
        seen.clear();
        ComPtr<IStorage> root;
        ASSERT_EQ(save.replaces ? StgCreateDocfileOnILockBytes(array.get(), 0x11022, 0, root.put())
                                : StgOpenStorageOnILockBytes(array.get(), nullptr, 0x10022, nullptr, 0, root.put()),
                  S_OK);
        std::vector<std::size_t> done; // events when each commit was done
        for (const Edit& edit : save.edits) {
            edit(*root);
            ASSERT_EQ(root->Commit(STGC_ONLYIFCURRENT), S_OK);
            done.push_back(array->events.size());
            states.push_back(iTreeOf(array->bytes));
        }
        root.reset();
        ASSERT_EQ(differences(iTreeOf(array->bytes), states.back()), "");

        Bytes flushed = before;
        std::vector<SaboteurLockBytes::Event> since;
        for (std::size_t cut = 0; cut <= array->events.size() && !::testing::Test::HasFatalFailure(); ++cut) {
            const auto committed = static_cast<std::size_t>(std::count_if(done.begin(), done.end(), [&](std::size_t at) { return at <= cut; }));
            iExpectState(imageAfterCut(flushed, since, random, 16), committed); // the clean cut
            for (unsigned i = 1; i < imagesOfEach && !since.empty(); ++i)
                iExpectState(imageAfterCut(flushed, since, random, random() % 17), committed);
            if (cut == array->events.size())
                break;
            const SaboteurLockBytes::Event& event = array->events[cut];
            for (unsigned i = 1; i < imagesOfEach && i * 512 < event.bytes.size(); ++i) { // torn: the first pieces of it alone
                std::vector<SaboteurLockBytes::Event> torn = since;
                torn.push_back(event);
                torn.back().bytes.resize(event.bytes.size() / 512 <= imagesOfEach ? i * 512 : random() % (event.bytes.size() / 512) * 512);
                iExpectState(imageAfterCut(flushed, torn, random, 16), committed);
            }
            if (event.kind == SaboteurLockBytes::Event::flush) {
                for (const auto& each : since)
                    SaboteurLockBytes::apply(each, flushed);
                since.clear();
            } else
                since.push_back(event);
        }
    }

private:
    static Tree iTreeOf(const Bytes& bytes)
    {
        const auto storage = openStorageOf(bytes);
        return storage ? readTree(*storage) : Tree{{u"does not open", {}}};
    }

    void iExpectState(const Bytes& image, std::size_t committed)
    {
        const std::string_view bytes(reinterpret_cast<const char*>(image.data()), image.size());
        if (!seen.insert(std::hash<std::string_view>()(bytes) * 64 + committed).second)
            return;
        ++images;
        const Tree tree = iTreeOf(image);
        const bool known = tree == states[committed] || (committed + 1 < states.size() && tree == states[committed + 1]);
        ASSERT_TRUE(known) << "neither before nor after: " << differences(tree, states[committed]).substr(0, 300);
        const auto array = lockBytesOf(image);
        std::vector<std::string> faults = checkCompoundFile(*array);
        ASSERT_TRUE(faults.empty()) << faults.front();
        if (random() % 16 != 0)
            return;
        ComPtr<IStorage> root; // and the next save works on it
        ASSERT_EQ(StgOpenStorageOnILockBytes(array.get(), nullptr, 0x10022, nullptr, 0, root.put()), S_OK);
        put(*root, u"after the cut", 10000);
        ASSERT_EQ(root->Commit(STGC_DEFAULT), S_OK);
        faults = checkCompoundFile(*array);
        ASSERT_TRUE(faults.empty()) << faults.front();
    }

    std::vector<Tree> states;
    std::unordered_set<std::size_t> seen;
    std::mt19937 random{20231};
};

TEST(PowerCut, EverySaveLeavesTheOldOrTheNewState)
{
    const bool full = std::getenv("KVDM_TEST_FULL") != nullptr;
    Cuts cuts;
    std::size_t saves = 0;
    for (const Save& save : allSaves()) {
        if (save.isLarge && !full)
            continue;
        const std::size_t before = cuts.images;
        SCOPED_TRACE(save.what + ", version " + std::to_string(save.version));
        cuts.run(save, save.isLarge ? 30 : full ? 160 : 3);
        if (HasFatalFailure())
            return;
        ++saves;
        if (full)
            std::printf("%6zu  %s, version %u\n", cuts.images - before, save.what.c_str(), save.version);
    }
    RecordProperty("images", std::to_string(cuts.images));
    std::printf("%zu different images of %zu cut saves\n", cuts.images, saves);
    EXPECT_GE(saves, 20u);
    EXPECT_GE(cuts.images, full ? 20000u : 1000u);
}

TEST(PowerCut, AFullOrFailingMediumLeavesTheOldStateAndTheSaveCanBeRepeated)
{
    const Bytes before = startingFile(3);
    const auto edit = [](IStorage& root) {
        put(root, u"new", 40000);
        put(root, u"s513", 600);
        EXPECT_EQ(root.DestroyElement(u"s4097"), S_OK);
    };
    const Tree old = readTree(*openStorageOf(before));
    Tree after;
    bool failed = true;
    for (std::int64_t calls = 0; failed; ++calls) {
        const auto array = ComPtr<SaboteurLockBytes>::adopt(new SaboteurLockBytes(before));
        array->records = false;
        ComPtr<IStorage> root;
        ASSERT_EQ(StgOpenStorageOnILockBytes(array.get(), nullptr, 0x10022, nullptr, 0, root.put()), S_OK);
        edit(*root);
        array->callsLeft = calls;
        const HRESULT status = root->Commit(STGC_DEFAULT);
        failed = FAILED(status);
        array->callsLeft = -1;
        const Tree found = readTree(*openStorageOf(array->bytes));
        if (!failed)
            after = found;
        EXPECT_TRUE(checkCompoundFile(*lockBytesOf(array->bytes)).empty()) << calls;
        // Now the medium has room again: nothing that was written before the failed commit is lost.
        EXPECT_EQ(root->Commit(STGC_DEFAULT), S_OK) << calls;
        root.reset();
        const Tree repeated = readTree(*openStorageOf(array->bytes));
        EXPECT_TRUE(repeated.contains(u"new") && repeated.at(u"new").size() == 40000 && !repeated.contains(u"s4097")) << calls;
        EXPECT_TRUE(checkCompoundFile(*lockBytesOf(array->bytes)).empty()) << calls;
        EXPECT_TRUE(found == old || differences(found, repeated).empty()) << calls;
    }
    EXPECT_TRUE(after.contains(u"new"));
}

} // namespace
} // namespace kvdm::test
