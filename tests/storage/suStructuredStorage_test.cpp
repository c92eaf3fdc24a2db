// Which element a node name leads to, what writing leaves behind, and how each failure shows. Storages are a client's own,
// so that every element and every mode can be seen.
#include "storage/suStructuredStorage.h"

#include "common/exceptions.h"
#include "common/trace.h"
#include "platform/ui/messageHook.h"
#include "storage/archive/suMemoryFile.h"
#include "storage/codecs/deferredCompression.h"
#include "support/DocumentBuilder.h"
#include "support/ForeignObjects.h"
#include "support/StorageTools.h"
#include "support/TemporaryFolder.h"

#include <kvdocmgr/text.h>

#include <filesystem>
#include <functional>
#include <set>

namespace kvdm::test {
namespace {

using Names = std::set<std::u16string>;

std::string textOf(const Bytes& bytes)
{
    return {bytes.begin(), bytes.end()};
}

class Gateway : public ::testing::Test
{
protected:
    // The elements of the builder as a client's storage, or in a compound file.
    void open(suStorageDocument* document = nullptr, bool compoundFile = false)
    {
        storage.reset();
        root = ForeignStorage::over(builder.root(), plan);
        if (compoundFile) {
            constexpr DWORD mode = STGM_TRANSACTED | writeElement;
            ASSERT_EQ(StgOpenStorageOnILockBytes(lockBytesOf(builder.build()).get(), nullptr, mode, nullptr, 0, root.put()), S_OK);
        }
        storage = std::make_unique<suStructuredStorage>(root.get(), document);
    }
    void add(const std::u16string& name)
    {
        if (name.ends_with(u"__ZLB"))
            builder.root().stream(name, zlbNode("packed"));
        else if (name.ends_with(u"__Zip"))
            builder.root().stream(name, readWholeFile(std::string(KVDM_TEST_CORPUS) + "/codecs/tables.imploded"));
        else
            builder.root().stream(name, "plain");
    }
    std::string read(const std::u16string& name)
    {
        if (!storage->attachToNode(false, name, true, 0))
            return "(none)";
        std::string text(100000, '\0');
        text.resize(storage->getArchive().Read(text.data(), text.size()));
        EXPECT_TRUE(storage->releaseStream());
        return text;
    }
    bool write(const std::u16string& name, std::string_view text, int wantCompress)
    {
        if (!storage->attachToNode(true, name, true, wantCompress))
            return false;
        storage->getArchive().Write(text.data(), text.size());
        return storage->releaseStream();
    }
    Names elements()
    {
        Names names;
        for (const auto& [path, bytes] : readTree(*root))
            names.insert(path.substr(0, path.find(u'/')));
        return names;
    }
    Bytes bytesOf(const std::u16string& name) { return readStream(*root, name).value_or(Bytes()); }

    CompoundFileBuilder builder;
    ForeignPlan plan;
    ComPtr<IStorage> root;
    std::unique_ptr<suStructuredStorage> storage;
};

TEST_F(Gateway, FindsTheFormsOfANodeInTheirOrder)
{
    const std::string tables = textOf(readWholeFile(std::string(KVDM_TEST_CORPUS) + "/codecs/tables.xml"));
    ASSERT_FALSE(tables.empty());
    const std::u16string longest(31, u'n');
    for (const std::u16string name : {u"all", u"all__ZLB", u"all__Zip", u"old", u"old__Zip", u"packed__ZLB", u"zip__Zip", u"Plain"})
        add(name);
    add(longest);
    add(u"short");
    builder.root().stream(u"short__ZLB", "abc");
    builder.root().stream(u"cut__Zip", "abc");
    builder.root().storage(u"folder");
    open();
    struct Case
    {
        std::u16string name;
        int form;
        std::string content;
        std::u16string stored;
    };
    for (const Case& c : {Case{u"all", 4, "packed", u"all__ZLB"}, Case{u"old", 0, "plain", u"old"}, Case{u"packed", 4, "packed", u"packed__ZLB"},
                          Case{u"zip", 2, tables, u"zip__Zip"}, Case{u"pLAIN", 0, "plain", u"pLAIN"}, Case{longest, 0, "plain", longest},
                          Case{u"short", -1, "(none)", u"short"}, Case{u"cut", -1, "(none)", u"cut"}, Case{u"missing", -1, "(none)", u"missing"},
                          Case{u"folder", -1, "(none)", u"folder"}, Case{u"all__ZLB", 0, textOf(zlbNode("packed")), u"all__ZLB"}}) {
        EXPECT_EQ(storage->isNodeCompressed(c.name), c.form) << toUtf8(c.name);
        if (storage->attachToNode(false, c.name, true, 0)) {
            EXPECT_EQ(storage->iGetStreamName(c.name), c.stored);
            EXPECT_TRUE(storage->releaseStream());
        }
        EXPECT_EQ(read(c.name), c.content) << toUtf8(c.name);
    }
    for (const DWORD mode : plan.modes)
        EXPECT_EQ(mode, STGM_SHARE_EXCLUSIVE);
    EXPECT_FALSE(storage->releaseStream()) << "nothing is attached";
}

TEST_F(Gateway, ReadsTheVersionOfTheFirstMarker)
{
    const auto fill = [&](std::size_t count) {
        for (std::size_t i = 0; i < count; ++i)
            builder.root().stream(std::u16string{static_cast<char16_t>(u'a' + i / 26), static_cast<char16_t>(u'a' + i % 26)}, "");
    };
    struct Case
    {
        std::vector<std::u16string> markers;
        std::size_t fillers; // their names come before the markers
        int version;
    };
    for (const Case& c : {Case{{u"_MO_VERSION_1500"}, 2, 0}, Case{{u"_MO_VERSION_1500"}, 3, 1500}, Case{{u"_MO_VERSION_"}, 3, 0},
                          Case{{u"_MO_VERSION_", u"_MO_VERSION_9"}, 2, 0}, Case{{u"_MO_VERSION_12ab"}, 3, 12}, Case{{u"_MO_VERSION_-1"}, 3, -1},
                          Case{{u"_MO_VERSION_5_6"}, 3, 6}, Case{{u"_mo_version_7"}, 3, 0}, Case{{u"x_MO_VERSION_7"}, 3, 0},
                          Case{{u"_MO_VERSION_3800"}, 64, 3800}, Case{{u"_MO_VERSION_3800"}, 300, 3800}, Case{{}, 64, 0},
                          Case{{u"_MO_VERSION_", u"_MO_VERSION_8"}, 63, 8}, Case{{u"_MO_VERSION_", u"_MO_VERSION_8"}, 62, 0},
                          Case{{u"_MO_VERSION_7", u"_MO_VERSION_8"}, 63, 7}, Case{{u"_MO_VERSION_", u"_MO_VERSION_00"}, 127, 0}}) {
        builder.root().children.clear();
        fill(c.fillers);
        for (const std::u16string& marker : c.markers)
            builder.root().storage(marker);
        open();
        EXPECT_EQ(storage->loadVersion(), c.version) << c.fillers;
        EXPECT_EQ(suStructuredStorage::loadVersion(*root), c.version) << c.fillers;
        EXPECT_EQ(storage->loadDLVersion(), 0);
    }
}

TEST_F(Gateway, WritesTheVersionByRenamingTheMarker)
{
    struct Case
    {
        Names before;
        int version;
        Names after;
    };
    for (const Case& c :
         {Case{{u"_MO_VERSION_7", u"_DL_VERSION_1", u"a", u"b"}, 8, {u"_MO_VERSION_8", u"_DL_VERSION_1", u"a", u"b"}},
          Case{{u"_MO_VERSION_7", u"a", u"b", u"c"}, 7, {u"_MO_VERSION_7", u"a", u"b", u"c"}}, Case{{u"a"}, 8, {u"a", u"_MO_VERSION_8"}},
          Case{{u"_MO_VERSION_7", u"a", u"b"}, 8, {u"_MO_VERSION_7", u"_MO_VERSION_8", u"a", u"b"}}}) {
        builder.root().children.clear();
        for (const std::u16string& name : c.before)
            builder.root().storage(name);
        open();
        EXPECT_TRUE(storage->writeVersion(c.version));
        EXPECT_EQ(elements(), c.after);
    }
    EXPECT_TRUE(storage->writeDLVersion(3));
    EXPECT_EQ(storage->loadDLVersion(), 3);
    storage->knowVersion(5);
    EXPECT_EQ(storage->loadVersion(), 5) << "as it was told";
    EXPECT_TRUE(storage->writeVersion(6));
    EXPECT_EQ(storage->loadVersion(), 6);
}

TEST_F(Gateway, LeavesTheFormsThatWritingCallsFor)
{
    const std::u16string fits(25, u'f');
    const std::u16string tooLong(26, u't');
    struct Case
    {
        std::vector<std::u16string> before;
        std::u16string name;
        int wantCompress;
        Names after;
        std::string readBack;
    };
    for (const Case& c :
         {Case{{}, u"x", 0, {u"x"}, "new"}, Case{{u"x"}, u"x", 0, {u"x"}, "new"}, Case{{u"x__Zip"}, u"x", 0, {u"x"}, "new"},
          Case{{u"x__ZLB"}, u"x", 0, {u"x", u"x__ZLB"}, "packed"}, Case{{}, u"x", 3, {u"x__ZLB"}, "new"}, Case{{u"x"}, u"x", 3, {u"x__ZLB"}, "new"},
          Case{{u"x__ZLB"}, u"x", 3, {u"x__ZLB"}, "new"}, Case{{u"x__Zip"}, u"x", 3, {u"x__Zip", u"x__ZLB"}, "new"},
          Case{{}, fits, 3, {fits + u"__ZLB"}, "new"}, Case{{}, tooLong, 3, {tooLong}, "new"}}) {
        for (const auto& [deferred, compoundFile] :
             {std::pair(false, false), std::pair(true, false), std::pair(false, true), std::pair(true, true)}) {
            builder.root().children.clear();
            for (const std::u16string& name : c.before)
                add(name);
            open(nullptr, compoundFile);
            if (deferred)
                incrementDeferredCompression();
            EXPECT_TRUE(write(c.name, "new", c.wantCompress));
            if (deferred)
                decrementDeferredCompression();
            EXPECT_EQ(elements(), c.after);
            EXPECT_EQ(read(c.name), c.readBack);
        }
    }
    open();
    plan.modes.clear();
    write(u"x", "new", 3);
    write(u"y", "new", 0);
    for (const DWORD mode : plan.modes)
        EXPECT_TRUE(mode == 0x10 || mode == 0x12 || mode == 0x1012) << mode;
    EXPECT_TRUE(storage->attachToNode(true, u"y", true, 2)) << "a kind that is not written attaches nothing";
    EXPECT_THROW(storage->getArchive(), suArchiveException);
    storage->releaseStream();
    EXPECT_TRUE(write(u"large", std::string(300000, 'l'), 3));
    EXPECT_LT(bytesOf(u"large__ZLB").size(), 5000u);
    EXPECT_EQ(textOf(bytesOf(u"large__ZLB")).substr(0, 16), textOf(zlbNode("")).substr(0, 16));
}

TEST_F(Gateway, LooksNodesUpInTheChildStorageWhileOneIsAttached)
{
    builder.root().storage(u"Child").stream(u"inner", "in the child");
    add(u"outer");
    add(u"way");
    for (const bool compoundFile : {false, true}) {
        open(nullptr, compoundFile);
        EXPECT_FALSE(storage->attachToNode(false, u"None", false, 0));
        EXPECT_FALSE(storage->attachToNode(false, u"outer", false, 0)) << "a stream is no storage";
        ASSERT_TRUE(storage->attachToNode(true, u"Child", false, 0));
        EXPECT_EQ(read(u"inner"), "in the child");
        EXPECT_EQ(read(u"outer"), "(none)");
        EXPECT_TRUE(storage->renameNode(u"inner", u"moved"));
        EXPECT_FALSE(storage->renameNode(u"inner", u"moved"));
        storage->releaseChildStorage();
        EXPECT_EQ(read(u"outer"), "plain");
        ASSERT_TRUE(storage->attachToNode(true, u"way", false, 0)) << "the stream of that name gives way";
        EXPECT_TRUE(write(u"new", "text", 0));
        ASSERT_TRUE(storage->attachToNode(true, u"way", false, 0));
        EXPECT_EQ(read(u"new"), "text");
        EXPECT_TRUE(storage->destroyNode(u"new"));
        EXPECT_EQ(read(u"new"), "(none)");
    }
}

TEST_F(Gateway, RemovesWhicheverFormIsFoundFirst)
{
    const Names all{u"both", u"both__ZLB", u"zip__Zip", u"folder", u"Config-0", u"Config-0-Preview", u"other"};
    const auto reset = [&] {
        builder.root().children.clear();
        for (const std::u16string& name : all)
            name == u"folder" ? (void)builder.root().storage(name) : add(name);
        open(nullptr, true);
    };
    const auto without = [&](const Names& gone) {
        Names rest = all;
        for (const std::u16string& name : gone)
            rest.erase(name);
        return rest;
    };
    for (const auto& [name, gone] :
         std::vector<std::pair<std::u16string, Names>>{{u"both", {u"both__ZLB"}}, {u"zip", {u"zip__Zip"}}, {u"folder", {u"folder"}}, {u"none", {}}}) {
        reset();
        EXPECT_TRUE(storage->destroyNode(name));
        EXPECT_EQ(elements(), without(gone));
        EXPECT_EQ(read(u"other"), "plain") << "what was removed does not linger in the next attach";
    }
    reset();
    EXPECT_TRUE(storage->destroyAllStreams(u"CONFIG-0"));
    EXPECT_EQ(elements(), without({u"Config-0", u"Config-0-Preview"}));
    reset();
    const std::u16string keep[] = {u"config-0-", u"OTHER", u"both"};
    EXPECT_TRUE(storage->syncStreams(keep));
    EXPECT_EQ(elements(), (Names{u"both", u"both__ZLB", u"Config-0-Preview", u"other"}));
}

TEST_F(Gateway, TellsFailuresAsTheirCauses)
{
    add(u"x__ZLB");
    open();
    try {
        storage->getArchive();
        ADD_FAILURE() << "nothing is attached";
    } catch (const suArchiveException& failure) {
        EXPECT_EQ(failure.cause, suArchiveException::generic);
    }
    // The first look finds the compressed node; then it cannot be opened.
    const auto attach = [&](HRESULT status) {
        plan.failure = status;
        plan.failAt = plan.calls + 3;
        storage->attachToNode(false, u"x", true, 0);
    };
    try {
        attach(STG_E_ACCESSDENIED);
        ADD_FAILURE() << "the node cannot be opened";
    } catch (const suFileException& failure) {
        EXPECT_EQ(failure.cause, suFileException::accessDenied);
        EXPECT_EQ(failure.osError, 5) << "the system's number";
    }
    try {
        attach(STG_E_FILENOTFOUND);
        ADD_FAILURE() << "the node is gone";
    } catch (const suArchiveException& failure) {
        EXPECT_EQ(failure.cause, suArchiveException::badSchema);
    }
    plan.failAt = plan.calls + 2; // the look itself
    EXPECT_FALSE(storage->attachToNode(false, u"x", true, 0));
    EXPECT_EQ(read(u"x"), "packed") << "the gateway is as before";
}

// Fails the n-th call of a reader and writer for every n; it ends by an exception of ours or by false, and leaks nothing.
TEST_F(Gateway, EndsCleanlyWhicheverCallFails)
{
    add(u"packed__ZLB");
    builder.root().storage(u"Child");
    long n = 0;
    for (bool failed = true; failed && n < 1000;) {
        ++n;
        open();
        plan.calls = 0;
        plan.failAt = n;
        for (const auto& step : std::vector<std::function<void()>>{
                 [&] { read(u"packed"); }, [&] { write(u"plain", "text", 0); }, [&] { write(u"new", std::string(20000, 'n'), 3); },
                 [&] { storage->attachToNode(true, u"Child", false, 0); }, [&] { write(u"inner", "text", 0); }, [&] { storage->writeVersion(7); },
                 [&] { storage->destroyAllStreams(u"p"); }}) {
            try {
                step();
            } catch (const suException&) {
            }
        }
        failed = plan.calls >= n;
        plan.failAt = 0;
        EXPECT_EQ(read(u"none"), "(none)") << "usable after call " << n;
        storage.reset();
        root.reset();
        EXPECT_EQ(plan.live, 0) << "call " << n;
    }
    EXPECT_GT(n, 30);
    EXPECT_LT(n, 1000);
}

struct Holder final : suStorageDocument
{
    std::u16string getStorageName() const override { return u"holder"; }
    std::uint64_t getByteTotal() const override { return bytes; }
    void setByteTotal(std::uint64_t total) override { bytes = total; }
    IStorage* getTopStorage() const override { return top; }
    IStorage* getEmbeddedReferencesStorage() const override { return references; }
    IStorage* getEmbeddedStorage() const override { return embedded; }
    void setTopStorage(IStorage* storage) override { top = storage; }
    void setEmbeddedReferencesStorage(IStorage* storage) override { references = storage; }
    void setEmbeddedStorage(IStorage* storage) override { embedded = storage; }

    std::uint64_t bytes = 0;
    IStorage* top = nullptr;
    IStorage* references = nullptr;
    IStorage* embedded = nullptr;
};

TEST_F(Gateway, AddsWhatIsWrittenPlainlyToTheDocumentsTotal)
{
    Holder holder;
    open(&holder);
    EXPECT_TRUE(write(u"x", "1234567", 0));
    EXPECT_TRUE(write(u"y", "packed", 3));
    EXPECT_EQ(read(u"x"), "1234567");
    EXPECT_EQ(holder.bytes, 7u);
    ASSERT_TRUE(storage->attachToNode(false, u"x", true, 0));
    EXPECT_EQ(storage->getArchive().m_strFileName, u"holder");
    EXPECT_EQ(storage->getArchive().m_pDocument, &holder);
}

TEST_F(Gateway, EnciphersThroughTheHooks)
{
    const auto turn = [](std::span<const std::uint8_t> in, std::span<std::uint8_t> out, std::u16string_view key) {
        for (std::size_t i = 0; i < in.size(); ++i)
            out[i] = in[i] ^ static_cast<std::uint8_t>(key[0]);
        return in.size();
    };
    const std::string clear(70000, 'c');
    open();
    for (const bool hooked : {true, false}) {
        suStructuredStorage::cipherHooks = hooked ? suCipherHooks{turn, turn} : suCipherHooks{};
        ASSERT_TRUE(storage->attachToNode(true, u"x", true, 0));
        storage->getArchive().Write(clear.data(), clear.size());
        EXPECT_TRUE(storage->encryptAndReleaseStream(u"!"));
        const Bytes stored = bytesOf(u"x");
        ASSERT_EQ(stored.size(), hooked ? 70004u : 4u);
        EXPECT_EQ(Bytes(stored.end() - 4, stored.end()), (Bytes{0x01, 0x11, 0x00, 0x70})) << "the clear length in its own order";
        EXPECT_TRUE(!hooked || stored[0] == ('c' ^ '!'));
        ASSERT_TRUE(storage->decryptAndAttachStream(u"x", u"!"));
        std::string back(100000, '\0');
        back.resize(storage->getArchive().Read(back.data(), back.size()));
        EXPECT_EQ(back, hooked ? clear : "");
        EXPECT_TRUE(storage->encryptAndReleaseStream(u"!")) << "a deciphered copy is let go as it is";
    }
    EXPECT_FALSE(storage->decryptAndAttachStream(u"none", u"!"));
    EXPECT_EQ(read(u"x").size(), 4u);
}

TEST_F(Gateway, ShowsTheDetailsOfCompression)
{
    static std::u16string shown;
    const MessageHook before = setMessageHook([](std::u16string_view text) { shown = text; });
    open();
    write(u"Node", "text", 3);
    storage->showDetailsOfCompression();
    EXPECT_EQ(toUtf8(shown), "The Compression details for Node\nRatio : 100 : 0\nTime  : 0secs");

    suMemoryFile clear(readWholeFile(std::string(KVDM_TEST_CORPUS) + "/codecs/tables.imploded")), packed, back; // hard to pack
    clear.Seek(0, suFile::Origin::end);                                                                         // both are taken from their start
    ASSERT_TRUE(storage->mem2stream(clear, packed));
    EXPECT_NE(packed.content(), clear.content());
    EXPECT_TRUE(storage->stream2mem(packed, back));
    EXPECT_EQ(back.content(), clear.content());
    storage->showDetailsOfCompression();
    EXPECT_EQ(shown.find(u"Ratio : 100 : 0\n"), std::u16string::npos) << "the ratio of the last conversion";
    suStreamFile closed;
    EXPECT_FALSE(storage->mem2stream(closed, back));
    EXPECT_FALSE(storage->stream2mem(closed, back));
    setMessageHook(before);
}

TEST_F(Gateway, PassesATraceLineOnEntry)
{
    static std::vector<std::string> lines;
    builder.root().storage(u"Child");
    open();
    traceSink = [](const std::string& line) { lines.push_back(line); };
    storage->attachToNode(false, u"Child", false, 3);
    storage->renameNode(u"a", u"b");
    traceSink = nullptr;
    storage->releaseChildStorage();
    const std::string begin = "suStructuredStorage::";
    const std::vector<std::string> expected{begin + "attachToNode(), isStoring : 0, inName : Child, isStream : 0, wantCompress : 3",
                                            begin + "iAttachToStorage(), isStoring : 0, inName : Child", begin + "releaseChildStorage()",
                                            begin + "renameNode(), inName : a, newName : b"};
    EXPECT_EQ(lines, expected);
}

class NamedGateway : public ::testing::Test
{
protected:
    std::u16string path(const std::string& name) const { return fromUtf8(folder / name); }

    TemporaryFolder folder;
};

TEST_F(NamedGateway, OpensFilesAndToleratesWhatIsNone)
{
    DocumentBuilder(1234).write(folder / "a.kvdprt");
    writeWholeFile(folder / "text", patternBytes(2000));
    EXPECT_EQ(suStructuredStorage(path("a.kvdprt"), false, nullptr, nullptr, false, true).loadVersion(), 1234);
    EXPECT_EQ(suStructuredStorage(path("a.kvdprt"), false, nullptr, nullptr, true, false).loadVersion(), 1234);
    EXPECT_EQ(suStructuredStorage(path("a.kvdprt"), true, nullptr, nullptr, false, true).loadVersion(), 1234);
    const suStructuredStorage none(path("text"), true, nullptr, nullptr, false, true);
    EXPECT_EQ(none.getRootStorage(), nullptr);
    EXPECT_FALSE(none.topStorageIsPresent());
    EXPECT_THROW(suStructuredStorage(path("text"), false, nullptr, nullptr, false, false), suOleException);
    EXPECT_THROW(suStructuredStorage(path("missing"), false, nullptr, nullptr, false, true), suOleException);
    EXPECT_THROW(suStructuredStorage(path("<missing>a"), false, nullptr, nullptr, false, true), suOleException);
    EXPECT_EQ(suStructuredStorage(u"", true, nullptr, nullptr, false, true).loadVersion(), 0) << "without a name nothing is opened";
}

TEST_F(NamedGateway, FindsADocumentInsideAnother)
{
    CompoundFileBuilder outer;
    auto& inner = outer.root().storage(u"Embedded References").storage(u"inner.kvdprt");
    for (const std::u16string name : {u"_MO_VERSION_99", u"a", u"b", u"c"})
        inner.storage(name);
    outer.write(folder / "outer.kvdasm");
    outer.write(folder / "a<b>c");
    Holder holder;
    {
        suStructuredStorage first(path("<outer.kvdasm>INNER.kvdprt"), false, &holder, nullptr, false, true);
        EXPECT_EQ(first.loadVersion(), 99);
        EXPECT_TRUE(first.topStorageIsPresent());
        EXPECT_NE(first.getRootStorage(), first.getTopStorage());
        EXPECT_EQ(holder.top, first.getTopStorage());
        EXPECT_EQ(holder.embedded, first.getRootStorage());
        std::filesystem::remove(folder / "outer.kvdasm"); // the second one does not open the file again
        suStructuredStorage second(path("<outer.kvdasm>inner.kvdprt"), false, &holder, holder.top, false, true);
        EXPECT_EQ(second.getRootStorage(), first.getRootStorage());
        EXPECT_EQ(second.loadVersion(), 99);
    }
    EXPECT_EQ(holder.top, nullptr) << "what was lent goes with the gateway that opened the file";
    EXPECT_EQ(holder.embedded, nullptr);
    outer.write(folder / "outer.kvdasm");
    const Bytes before = readWholeFile(folder / "outer.kvdasm");
    EXPECT_EQ(suStructuredStorage(path("<outer.kvdasm>none"), false, nullptr, nullptr, false, true).loadVersion(), 0) << "made for the moment";
    EXPECT_EQ(readWholeFile(folder / "outer.kvdasm"), before);
    EXPECT_NE(suStructuredStorage(path("<outer.kvdasm>"), false, nullptr, nullptr, false, true).getRootStorage(), nullptr) << "the outer file itself";
    {
        suStructuredStorage made(path("<outer.kvdasm>made.kvdprt"), true, &holder, nullptr, false, true);
        EXPECT_TRUE(made.writeVersion(5));
        for (const char16_t* name : {u"a", u"b", u"c"}) {
            ASSERT_TRUE(made.attachToNode(true, name, true, 0));
            EXPECT_TRUE(made.releaseStream());
        }
        EXPECT_EQ(made.getRootStorage()->Commit(STGC_DEFAULT), S_OK);
        EXPECT_EQ(made.getTopStorage()->Commit(STGC_DEFAULT), S_OK);
    }
    EXPECT_EQ(suStructuredStorage(path("<outer.kvdasm>made.kvdprt"), false, nullptr, nullptr, false, true).loadVersion(), 5);
    EXPECT_EQ(suStructuredStorage(path("<outer.kvdasm>inner.kvdprt"), false, nullptr, nullptr, false, true).loadVersion(), 99);
    EXPECT_FALSE(suStructuredStorage(path("a<b>c"), false, nullptr, nullptr, false, true).topStorageIsPresent()) << "no sign at the beginning";
}

} // namespace
} // namespace kvdm::test
