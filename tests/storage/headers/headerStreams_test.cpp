#include "../codecs/codecSupport.h"
#include "headerTools.h"

#include "common/automationText.h"
#include "platform/files/files.h"
#include "storage/headers/headerStreams.h"
#include "storage/suStructuredStorage.h"
#include "support/CompoundFileBuilder.h"
#include "support/ForeignObjects.h"
#include "support/TemporaryFolder.h"

namespace kvdm::test {
namespace {

// A document on the disk; its root has enough elements for the version to be looked for.
class HeaderStreams : public ::testing::Test
{
protected:
    CompoundFileBuilder document(int version)
    {
        CompoundFileBuilder file;
        const std::string number = std::to_string(version);
        file.root().storage(u"_MO_VERSION_" + std::u16string(number.begin(), number.end()));
        for (const char16_t* name : {u"a", u"b", u"c"})
            file.root().storage(name);
        return file;
    }
    std::u16string write(const CompoundFileBuilder& file)
    {
        EXPECT_TRUE(file.write(folder / "document.kvdprt"));
        return pathFromNative(folder / "document.kvdprt");
    }
    static std::unique_ptr<suStructuredStorage> open(const std::u16string& path, bool readWrite = false)
    {
        return std::make_unique<suStructuredStorage>(path, readWrite, nullptr, nullptr, false, false);
    }
    // The content of a stream as it lies in the storage; empty when there is no such stream.
    static Bytes streamOf(IStorage* storage, const char16_t* name)
    {
        suStreamFile file;
        Bytes bytes;
        if (storage && file.openStream(*storage, name, STGM_READ | STGM_SHARE_EXCLUSIVE)) {
            bytes.resize(file.GetLength());
            file.Read(bytes.data(), bytes.size());
        }
        return bytes;
    }

    TemporaryFolder folder;
};

TEST(HeaderVersions, OnlyTheReadableOnesPassTheGate)
{
    const std::tuple<int, int, bool> ranges[] = {
        {-1, 36, false},     {37, 38, true},     {39, 43, false},     {44, 44, true},     {45, 225, false},    {226, 300, true},
        {301, 421, false},   {422, 483, true},   {484, 628, false},   {629, 945, true},   {946, 946, false},   {947, 952, true},
        {953, 953, false},   {954, 2182, true},  {2183, 2183, false}, {2184, 2455, true}, {2456, 2456, false}, {2457, 2657, true},
        {2658, 2659, false}, {2660, 2853, true}, {2854, 2854, false}, {2855, 3264, true}, {3265, 3265, false}, {3266, 3539, true},
        {3540, 3540, false}, {3541, 3556, true}, {3557, 3559, false}, {3560, 3660, true}, {3661, 3663, false}, {3664, 3800, true},
        {3801, 4000, false}};
    int next = -1;
    for (const auto& [first, last, readable] : ranges) {
        EXPECT_EQ(first, next);
        for (int version = first; version <= last; ++version)
            EXPECT_EQ(isHeaderVersionReadable(version), readable) << version;
        next = last + 1;
    }
}

TEST_F(HeaderStreams, AreFoundUnderTheNamesOfTheirVersion)
{
    for (const auto& [version, header, configurations] : {std::tuple{2069, u"Header", u"CMgrHdr"}, std::tuple{2070, u"Header2", u"CMgrHdr2"}}) {
        CompoundFileBuilder file = document(version);
        file.root().stream(header, headerStream({.version = version}));
        file.root().stream(version == 2069 ? u"Header2" : u"Header", "not this one");
        file.root().storage(u"Contents").stream(configurations, configMgrHeaderStream(version));
        const auto storage = open(write(file));
        const auto read = readHeader(*storage);
        ASSERT_NE(read, nullptr) << version;
        EXPECT_EQ(read->lastUpdateStamp, 7u);
        const auto list = readConfigMgrHeader(*storage);
        ASSERT_NE(list, nullptr) << version;
        EXPECT_EQ(list->configurations().at(1)->name, u"Second");
        EXPECT_EQ(storage->getChildStorage(), nullptr);
        EXPECT_NE(readHeader(*storage), nullptr); // nothing stays attached
    }
}

TEST_F(HeaderStreams, WhatCannotBeReadIsNone)
{
    Bytes cut = headerStream({});
    cut.resize(cut.size() / 2);
    const std::tuple<const char*, int, Bytes> cases[] = {
        {"cut", 3800, cut},
        {"empty", 3800, {}},
        {"null", 3800, ArchiveBuilder().null().bytes},
        {"another object", 3800, configMgrHeaderStream(3800)},
        {"gate", 3540, headerStream({.version = 3540})},
        {"unknown class", 3800, ArchiveBuilder().newClass("moSketchBlockMgr_c").bytes},
    };
    for (const auto& [name, version, bytes] : cases) {
        CompoundFileBuilder file = document(version);
        file.root().stream(u"Header2", bytes);
        file.root().storage(u"Contents").stream(u"CMgrHdr2", Bytes{1, 2, 3});
        const auto storage = open(write(file));
        EXPECT_EQ(readHeader(*storage), nullptr) << name;
        EXPECT_EQ(readConfigMgrHeader(*storage), nullptr) << name;
    }
    const auto storage = open(write(document(3800)));
    EXPECT_EQ(readHeader(*storage), nullptr);
    EXPECT_EQ(readConfigMgrHeader(*storage), nullptr);
}

TEST_F(HeaderStreams, DamageBehindTheObjectIsDamageToo)
{
    const auto imploded = [](const Bytes& content) {
        ImplodedBits bits({0, 4});
        for (const std::uint8_t byte : content)
            bits.literal(byte);
        return bits.end().bytes;
    };
    for (const std::size_t cut : {0, 1, 2}) {
        Bytes header = imploded(headerStream({}));
        Bytes list = imploded(configMgrHeaderStream(3800));
        header.resize(header.size() - cut);
        list.resize(list.size() - cut);
        CompoundFileBuilder file = document(3800);
        file.root().stream(u"Header2__Zip", header);
        file.root().storage(u"Contents").stream(u"CMgrHdr2__Zip", list);
        const auto storage = open(write(file));
        EXPECT_EQ(readHeader(*storage) != nullptr, cut == 0) << cut;
        EXPECT_EQ(readConfigMgrHeader(*storage) != nullptr, cut == 0) << cut;
    }
}

// Whichever call the storage refuses, and whichever form the writer falls back to.
TEST_F(HeaderStreams, WhatIsSaidToBeWrittenIsWhatAReaderFinds)
{
    CompoundFileBuilder file = document(3800);
    file.root().stream(u"Header2", headerStream({}));
    file.root().stream(u"Header2__ZLB", blockForm({headerStream({})}));
    file.root().stream(u"Header2__Zip", "older");
    const auto changed = readObject<moHeader_c>(headerStream({.lastUpdateStamp = 9}), 3800);
    bool written = false;
    ForeignPlan plan;
    plan.failure = STG_E_ACCESSDENIED;
    for (long refused = 1; plan.calls >= plan.failAt; ++refused) {
        const auto foreign = ForeignStorage::over(file.root(), plan);
        suStructuredStorage storage(foreign.get());
        plan.calls = 0;
        plan.failAt = refused;
        written = false;
        EXPECT_EQ(writeHeader(*changed, storage, &written), 0);
        if (plan.calls < refused)
            break;
        plan.failAt = 0;
        const auto found = readHeader(storage);
        EXPECT_TRUE(!written || (found && found->lastUpdateStamp == 9)) << refused;
    }
    EXPECT_TRUE(written) << "nothing was refused";
}

TEST_F(HeaderStreams, WritingLeavesNoCompressedTwin)
{
    CompoundFileBuilder file = document(3000);
    file.root().stream(u"Header2", "old");
    file.root().stream(u"Header2__ZLB", "xyz"); // so short that a reader finds no node at all
    file.root().stream(u"Header2__Zip", "older");
    BuilderNode& contents = file.root().storage(u"Contents");
    contents.stream(u"CMgrHdr2__ZLB", "a compressed form");
    contents.stream(u"eModel", "kept");
    const auto storage = open(write(file), true);

    const FixedClock clock;
    const auto header = readObject<moHeader_c>(headerStream({.version = 3000}), 3000);
    const auto list = readObject<dmConfigMgrHeader_c>(configMgrHeaderStream(3000), 3000);
    bool written = false;
    EXPECT_EQ(writeHeader(*header, *storage, &written), 0);
    EXPECT_TRUE(written);
    written = false;
    EXPECT_EQ(writeConfigMgrHeader(*list, *storage, &written), 0);
    EXPECT_TRUE(written);

    EXPECT_EQ(streamOf(storage->getRootStorage(), u"Header2"), headerStream({.version = 3000}));
    EXPECT_EQ(storage->isNodeCompressed(u"Header2"), 0);
    EXPECT_TRUE(streamOf(storage->getRootStorage(), u"Header2__Zip").empty());
    ASSERT_TRUE(storage->attachToNode(false, u"Contents", false, 0));
    EXPECT_EQ(streamOf(storage->getChildStorage(), u"CMgrHdr2"), configMgrHeaderStream(3000));
    EXPECT_EQ(storage->isNodeCompressed(u"CMgrHdr2"), 0);
    EXPECT_EQ(streamOf(storage->getChildStorage(), u"eModel").size(), 4u);
}

TEST_F(HeaderStreams, AHeaderThatCannotBeStoredLeavesTheOldOne)
{
    CompoundFileBuilder file = document(3000);
    file.root().stream(u"Header2", headerStream({.version = 3000}));
    const auto storage = open(write(file), true);
    moHeader_c header;
    std::shared_ptr<su_CObList> at = header.logs = std::make_shared<su_CObList>();
    for (unsigned i = 0; i < su_CArchive::maximumDepth; ++i) {
        auto deeper = std::make_shared<su_CObList>();
        at->elements.push_back(deeper);
        at = std::move(deeper);
    }
    bool written = true;
    EXPECT_EQ(writeHeader(header, *storage, &written), 0);
    EXPECT_FALSE(written);
    EXPECT_NE(readHeader(*storage), nullptr);
}

TEST_F(HeaderStreams, ConfigurationHeaderIsCompressedAsTheSwitchSays)
{
    const auto list = readObject<dmConfigMgrHeader_c>(configMgrHeaderStream(3800), 3800);
    for (const auto& [mode, setting, form] : {std::tuple{0, 3, 0}, std::tuple{1, 0, 0}, std::tuple{1, 3, 4}, std::tuple{2, 3, 0}}) {
        const auto storage = open(write(document(3800)), true);
        setConfigMgrHeaderCompression(mode, setting);
        writeConfigMgrHeader(*list, *storage);
        setConfigMgrHeaderCompression(0, 0);
        ASSERT_TRUE(storage->attachToNode(false, u"Contents", false, 0));
        EXPECT_EQ(storage->isNodeCompressed(u"CMgrHdr2"), form) << mode << ' ' << setting;
        const auto back = readConfigMgrHeader(*storage);
        ASSERT_NE(back, nullptr);
        EXPECT_EQ(storeObject(*back, 3800), configMgrHeaderStream(3800));
    }
}

// Properties that the room above would supply: they note what they are asked for.
struct NotedProperties final : suConfigurationProperties
{
    void load(IStorage&, const std::u16string& name) override { loaded.push_back(name); }
    bool save(IStorage&, const std::u16string& name) override
    {
        saved.push_back(name);
        return isWritten;
    }
    bool hasAny() const override { return any; }

    std::vector<std::u16string> loaded, saved;
    bool any = true, isWritten = true;
};

TEST_F(HeaderStreams, PropertiesOfAConfigurationAreReadWrittenAndRemoved)
{
    CompoundFileBuilder file = document(3800);
    file.root().stream(u"Config-7-Properties", "steel");
    const auto storage = open(write(file), true);
    dmConfigHeader_c configuration;
    configuration.configurationId = 7;
    configuration.saveProperties(*storage); // nothing in hand: nothing happens
    configuration.loadProperties(*storage);
    EXPECT_EQ(configuration.getProperties(), nullptr);

    setConfigurationPropertiesFactory([]() -> std::unique_ptr<suConfigurationProperties> { return std::make_unique<NotedProperties>(); });
    configuration.loadProperties(*storage);
    configuration.loadProperties(*storage); // once
    setConfigurationPropertiesFactory(nullptr);
    auto* properties = static_cast<NotedProperties*>(configuration.getProperties());
    ASSERT_NE(properties, nullptr);
    configuration.saveProperties(*storage);
    EXPECT_EQ(properties->loaded, std::vector<std::u16string>{u"Config-7-Properties"});
    EXPECT_EQ(properties->saved, properties->loaded);
    EXPECT_EQ(storage->isNodeCompressed(u"Config-7-Properties"), 0);
    properties->isWritten = false;
    EXPECT_THROW(configuration.saveProperties(*storage), suFileException);
    properties->any = false;
    EXPECT_THROW(configuration.saveProperties(*open(write(file), false)), suFileException) << "a reader removes nothing";
    configuration.saveProperties(*storage);
    EXPECT_EQ(properties->saved.size(), 2u);
    EXPECT_EQ(storage->isNodeCompressed(u"Config-7-Properties"), -1);
}

TEST_F(HeaderStreams, TheAuxiliaryHeaderIsFoundByItsPresence)
{
    CompoundFileBuilder file = document(3800);
    EXPECT_FALSE(hasAuxiliaryHeader(write(file)));
    file.root().stream(u"AuxiliaryHeader", "");
    EXPECT_TRUE(hasAuxiliaryHeader(write(file)));
    EXPECT_FALSE(hasAuxiliaryHeader(pathFromNative(folder / "missing.kvdprt")));
}

} // namespace
} // namespace kvdm::test
